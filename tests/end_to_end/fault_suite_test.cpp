// Faults of the conversion library in the real program: what each row says, and what is left behind.
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

#include "tests/end_to_end/window.h"
#include "win/profile.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryCall;
using test::LibraryLog;
using test::OpenWindow;
using test::Program;

constexpr wchar_t kStep[] = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";

// Real files in a folder of the program's, and a window that has them in its list.
class ListedFiles {
  public:
    explicit ListedFiles(const std::vector<std::wstring>& names, const std::wstring& general = L"")
        : names_(names) {
        Program::Formats(nullptr, nullptr);
        WriteTextFile(program_.Settings(),
                      L"[General]\nLoadLastState=1\n" + general +
                          L"\n[P]\nZEL_INPUT_FORMAT=STEP\nZEL_OUTPUT_FORMAT=STL\nZEL_CONFIG_FILE=p.zel\n");
        CreateDirectoryW(Folder().c_str(), nullptr);
        std::wstring list = std::wstring(L"morvex_list\n") + kStep + L"\nSTL (*.stl)\n";
        for (const std::wstring& name : names) {
            test::WriteFileBytes(Input(name), "source");
            list += Input(name) + L"\n";
        }
        WriteTextFile(program_.UserFolder() + L"\\zel_last_state.ini", list);
    }

    const Program& InProgram() const { return program_; }
    std::wstring Folder() const { return program_.Folder() + L"\\in"; }
    std::wstring Input(const std::wstring& name) const { return Folder() + L"\\" + name; }
    std::wstring Output(const std::wstring& name) const {
        return Folder() + L"\\" + name.substr(0, name.rfind(L'.')) + L".stl";
    }
    // Everything in the folder but the sources, which must be as they were.
    std::set<std::wstring> FilesBeside() const {
        std::set<std::wstring> files;
        for (const auto& entry : std::filesystem::directory_iterator(Folder()))
            files.insert(entry.path().wstring());
        for (const std::wstring& name : names_) {
            EXPECT_EQ(test::ReadFileBytes(Input(name)), "source") << testing::PrintToString(name);
            files.erase(Input(name));
        }
        return files;
    }

  private:
    Program program_;
    std::vector<std::wstring> names_;
};

void ExpectGone(const std::vector<LibraryCall>& calls) {
    for (const LibraryCall& call : calls) {
        const UniqueHandle child(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(call.process)));
        if (child) {
            EXPECT_EQ(WaitForSingleObject(child.get(), 20000), WAIT_OBJECT_0);
        }
    }
}

struct FaultCase {
    const wchar_t* commands;
    const wchar_t* status;
    bool inChildOnly = false;  // it ends the process, whatever that does
};
constexpr FaultCase kFaults[] = {
    {L"{output,read}", L"KO"},
    {L"{output}first", L"OK"},
    {L"{output,write}", L"KO"},
    {L"{output,overflow=40}", L"KO"},
    {L"{output,overflow=300}", L"KO"},
    {L"{output,overflow=900}", L"KO"},
    {L"{output,overflow=3000}", L"KO"},
    {L"{output,overflow=9000}", L"KO"},
    {L"{output,throw}", L"KO"},
    {L"{output,raise}", L"KO"},
    {L"{output,exitthread}", L"KO"},
    {L"{stdio=200,spew=200,output}", L"OK"},
    {L"{result=-32}", L"Empty File"},
    {L"{output,smash}", L"KO", true},
    {L"{output,abort}", L"KO", true},
    {L"{output,fastfail}", L"KO", true},
    {L"{output,kill}", L"KO", true},
    {L"{output,exit=0}", L"KO", true},
    {L"{output,exit=259}", L"KO", true},
    {L"{output,exit=7}", L"KO", true},
    {L"{output}last", L"OK"},
};

class FaultSuite : public testing::TestWithParam<bool> {};

// In a run of the window, its standard output an unread pipe: each row has its final status, the others were
// converted, and of the failed ones nothing is left.
TEST_P(FaultSuite, EveryRowSaysWhatBecameOfIt) {
    const bool multiprocess = GetParam();
    std::vector<std::wstring> names, statuses;
    for (const FaultCase& fault : kFaults) {
        if (fault.inChildOnly && !multiprocess) continue;
        names.push_back(std::wstring(fault.commands) + L".stp");
        statuses.push_back(fault.status);
    }
    const ListedFiles files(names, multiprocess ? L"Multiprocess=1" : L"");
    const std::wstring failed = files.Output(names.front());
    test::WriteFileBytes(failed + L"-zel.xml", "an earlier success");
    const LibraryLog log;
    HANDLE read = nullptr, write = nullptr;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    ASSERT_TRUE(CreatePipe(&read, &write, &inherited, 4096));
    const UniqueHandle reader(read), writer(write);
    const OpenWindow window(files.InProgram(), writer.get());
    ASSERT_TRUE(window.Handle());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == names.size() && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), statuses);
    std::set<std::wstring> converted;
    for (size_t row = 0; row < names.size(); ++row) {
        if (statuses[row] == L"OK") converted.insert(files.Output(names[row]));
    }
    EXPECT_EQ(files.FilesBeside(), converted);
    EXPECT_EQ(log.Calls().size(), names.size());
    if (multiprocess) ExpectGone(log.Calls());
}

INSTANTIATE_TEST_SUITE_P(Runs, FaultSuite, testing::Bool(), [](const auto& chosen) {
    return std::string(chosen.param ? "InChildren" : "InProcess");
});

// A failure leaves the output of an earlier success, but not its report.
TEST(Faults, LeaveTheOldOutput) {
    const std::wstring name = L"{result=-5}.stp";
    const ListedFiles files({name});
    const LibraryLog log;
    test::WriteFileBytes(files.Output(name), "old");
    test::WriteFileBytes(files.Output(name) + L"-zel.xml", "old");
    Program::Formats(L"STEP", L"STL");
    EXPECT_EQ(static_cast<int>(files.InProgram().Run(L"\"" + files.Input(name) + L"\"").exitCode), -5);
    EXPECT_EQ(test::ReadFileBytes(files.Output(name)), "old");
    EXPECT_EQ(files.FilesBeside(), std::set<std::wstring>{files.Output(name)});
}

TEST(Faults, ALateChildIsEnded) {
    const std::wstring late = L"{spew=1,output,sleep=600000}.stp", quick = L"{output}.stp";
    const ListedFiles files({late, quick}, L"Multiprocess=1\nSecondsPerFile=5\n");
    const LibraryLog log;
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 2 && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"Took too long", L"OK"}));
    EXPECT_EQ(files.FilesBeside(), std::set<std::wstring>{files.Output(quick)});
    ExpectGone(log.Calls());
}

TEST(Faults, AFaultInTheVersionQueryLeavesTheWindow) {
    const Program program;
    const LibraryLog log(L"version");
    const OpenWindow window(program);
    wchar_t title[64] = L"";
    GetWindowTextW(window.Handle(), title, 64);
    EXPECT_STREQ(title, L"Morvex 2024 64-bit        (24.4)");
}

TEST(Faults, AMissingLibraryIsSaidOnceByChildrenToo) {
    const ListedFiles files({L"a.stp", L"b.stp", L"c.stp"}, L"Multiprocess=1");
    DeleteFileW(files.InProgram().Library().c_str());
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 3 && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), std::vector<std::wstring>(3, L"Not converted"));
    ASSERT_TRUE(test::Eventually([&] { return window.Message() != nullptr; }));
    PostMessageW(window.Message(), WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(test::Eventually([&] { return IsWindowEnabled(window.Handle()) && !window.Message(); }));
}

// Each finds the settings missing or half made by the others.
TEST(FirstStart, ManyAtOnceDamageNothing) {
    const Program program;
    const LibraryLog log;
    const std::wstring settings = program.UserFolder() + L"\\zel_morvex.ini";
    WriteTextFile(program.Settings(),
                  L"[P]\nZEL_INPUT_FORMAT=STEP\nZEL_OUTPUT_FORMAT=STL\nZEL_CONFIG_FILE=p.zel\n");
    std::vector<UniqueHandle> processes;
    for (int i = 0; i < 16; ++i) {
        DWORD id = 0;
        processes.push_back(program.Start(L"C:\\in\\" + std::to_wstring(i) + L".stp", id));
    }
    for (const UniqueHandle& process : processes) {
        DWORD code = 1;
        EXPECT_EQ(WaitForSingleObject(process.get(), 60000), WAIT_OBJECT_0);
        GetExitCodeProcess(process.get(), &code);
        EXPECT_EQ(code, 0u);
    }
    ASSERT_EQ(log.Calls().size(), processes.size());
    for (const LibraryCall& call : log.Calls()) EXPECT_EQ(call.inputFormat * 100 + call.outputFormat, 422);
    EXPECT_EQ(profile::ReadInt(settings, L"General", L"FirstLaunch", 1), 0);
    EXPECT_EQ(profile::ReadText(program.UserFolder() + L"\\p.zel", L"TOLERANCE", L"TOL_CONTINUITE", L""),
              L"0.01");
    size_t left = 0;
    for (const auto& entry : std::filesystem::directory_iterator(program.UserFolder()))
        left += entry.path().extension() == L".tmp";
    EXPECT_EQ(left, 0u);
}

// Children of a run, while somebody changes the settings: the formats stay those of their run.
TEST(FirstStart, ChildrenBesideAWriterOfTheSettings) {
    std::vector<std::wstring> names;
    for (int i = 0; i < 20; ++i) names.push_back(std::to_wstring(i) + L".stp");
    const ListedFiles files(names, L"Multiprocess=1");
    const LibraryLog log;
    const std::wstring settings = files.InProgram().UserFolder() + L"\\zel_morvex.ini";
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == names.size() && !window.Converting(); }));
    window.Command(1005);
    ASSERT_TRUE(test::Eventually([&] {
        profile::WriteText(settings, L"General", L"Format_out", L"IGES 3D (*.igs)");
        profile::WriteText(settings, L"General", L"Input_folder_GUI", std::to_wstring(GetTickCount64()));
        return log.Calls().size() == names.size();
    }));
    ASSERT_TRUE(test::Eventually([&] { return !window.Converting(); }));
    EXPECT_EQ(window.Statuses(), std::vector<std::wstring>(names.size(), L"OK"));
    for (const LibraryCall& call : log.Calls()) EXPECT_EQ(call.inputFormat * 100 + call.outputFormat, 422);
    EXPECT_EQ(profile::ReadText(settings, L"General", L"Format_out", L""), L"IGES 3D (*.igs)");
}

}  // namespace
}  // namespace morvex
