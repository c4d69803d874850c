// Many processes of the program on the same settings at once.
#include "tests/end_to_end/listed_files.h"
#include "win/profile.h"

namespace morvex {
namespace {

using test::LibraryCall;
using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;
using test::Program;

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
    for (int i = 0; i < 60; ++i) names.push_back(std::to_wstring(i) + L".stp");
    const ListedFiles files(names, L"Multiprocess=1");
    const LibraryLog log;
    const std::wstring settings = files.InProgram().UserFolder() + L"\\zel_morvex.ini";
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == names.size() && !window.Converting(); }));
    profile::WriteText(settings, L"General", L"Format_out", L"IGES 3D (*.igs)");  // which is on offer nowhere
    window.Begin();
    ASSERT_TRUE(test::Eventually([&] {
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
