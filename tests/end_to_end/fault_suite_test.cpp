// Faults of the conversion library in the real program: what each row says, and what is left behind.
#include "tests/end_to_end/listed_files.h"

namespace morvex {
namespace {

using test::ExpectGone;
using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;
using test::Program;

struct FaultCase {
    const wchar_t* commands;
    const wchar_t* status;
    bool inChildOnly = false;  // it ends the process, whatever that does
};
constexpr FaultCase kFaults[] = {
    {L"{output,read}", L"KO"},
    {L"{output}first", L"OK"},
    {L"{output,praise,write}", L"KO"},
    {L"{output,overflow=40}", L"KO"},
    {L"{output,overflow=300}", L"KO"},
    {L"{output,overflow=900}", L"KO"},
    {L"{output,overflow=3000}", L"KO"},
    {L"{output,overflow=9000}", L"KO"},
    {L"{output,throw}", L"KO"},
    {L"{output,raise}", L"KO"},
    {L"{output,exitthread}", L"KO"},
    {L"{output,disturb}", L"OK"},
    {L"{output,divide}", L"OK"},
    {L"{output,handles}", L"OK", true},
    {L"{output,detach}", L"OK", true},
    {L"{output,unload}", L"KO", true},
    {L"{output,otherthread}", L"KO", true},
    {L"{output,hoard}", L"KO", true},
    {L"{stdio=200,spew=200,output}", L"OK"},
    {L"{result=-32}", L"Empty File"},
    {L"{output,praise,smash}", L"KO", true},
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
    const ListedFiles files(names, multiprocess ? L"Multiprocess=1\nMegabytesPerFile=1500\n" : L"");
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

// Each has all the time of the machine: they run at once.
TEST(Faults, LateChildrenAreEnded) {
    const std::vector<std::wstring> names = {L"{spew=1,output,praise,sleep=600000}.stp", L"{output,loop}.stp",
                                             L"{attach}.stp", L"{output}.stp"};
    const ListedFiles files(names, L"Multiprocess=1\nSecondsPerFile=10\n");
    const LibraryLog log;
    SetEnvironmentVariableW(L"OMP_NUM_THREADS", L"4");
    const OpenWindow window(files.InProgram());
    SetEnvironmentVariableW(L"OMP_NUM_THREADS", nullptr);
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == names.size() && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(),
              (std::vector<std::wstring>{L"Took too long", L"Took too long", L"Took too long", L"OK"}));
    EXPECT_EQ(files.FilesBeside(), std::set<std::wstring>{files.Output(names.back())});
    ExpectGone(log.Calls());
}

// The run itself is gone with its thread: it is ended with an error, and the window can be used again.
TEST(Faults, ARunThatVanishesIsNoticed) {
    const std::vector<std::wstring> names = {L"first.stp", L"{lonely}.stp", L"last.stp"};
    const ListedFiles files(names);
    const LibraryLog log;
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == names.size() && !window.Converting(); }));
    ASSERT_TRUE(window.Convert());
    EXPECT_EQ(window.Statuses(), (std::vector<std::wstring>{L"OK", L"Not converted", L"Not converted"}));
    ASSERT_TRUE(test::Eventually([&] { return window.Message() != nullptr; }));
    PostMessageW(window.Message(), WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(test::Eventually([&] { return IsWindowEnabled(window.Handle()) && !window.Message(); }));
}

TEST(Faults, AFaultInTheVersionQueryLeavesTheWindow) {
    const Program program;
    const LibraryLog log(L"version");
    const OpenWindow window(program);
    wchar_t title[64] = L"";
    GetWindowTextW(window.Handle(), title, 64);
    EXPECT_STREQ(title, L"Morvex 2024 64-bit        (24.4)");
}

// The text with every occurrence of a part replaced by one of the same length.
std::string With(std::string bytes, const std::string& part, const std::string& instead) {
    for (size_t at = 0; (at = bytes.find(part, at)) != bytes.npos; at += part.size())
        bytes.replace(at, part.size(), instead);
    return bytes;
}

// No row is called converted, it is said once where there is something to say, and the window goes on.
TEST(Faults, AnUnusableLibraryAbandonsTheRun) {
    const std::string good = test::ReadFileBytes(LibraryLog::LibraryPath());
    const struct {
        const char* what;
        std::string bytes;
        bool message;
    } cases[] = {
        {"missing", "", true},
        {"no library", "MZ, but no library", true},
        {"for 32 bits", With(good, std::string("PE\0\0\x64\x86", 6), std::string("PE\0\0\x4C\x01", 6)), true},
        {"needs a missing one", With(good, "msvcrt.dll", "absent.dll"), true},
        {"without entries", test::ReadFileBytes(LibraryLog::LibraryPath(L"without_entries")), false},
    };
    for (const wchar_t* mode : {L"", L"Multiprocess=1"}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            const ListedFiles files({L"a.stp", L"b.stp", L"c.stp"}, mode);
            ASSERT_NE(c.bytes, good);
            test::WriteFileBytes(files.InProgram().Library(), c.bytes);
            if (c.bytes.empty()) DeleteFileW(files.InProgram().Library().c_str());
            const OpenWindow window(files.InProgram());
            ASSERT_TRUE(test::Eventually([&] { return window.Rows() == 3 && !window.Converting(); }));
            ASSERT_TRUE(window.Convert());
            EXPECT_EQ(window.Statuses(), std::vector<std::wstring>(3, L"Not converted"));
            EXPECT_TRUE(files.FilesBeside().empty());
            if (c.message) {
                ASSERT_TRUE(test::Eventually([&] { return window.Message() != nullptr; }));
                PostMessageW(window.Message(), WM_COMMAND, IDOK, 0);
            }
            EXPECT_TRUE(
                test::Eventually([&] { return IsWindowEnabled(window.Handle()) && !window.Message(); }));
        }
    }
}

}  // namespace
}  // namespace morvex
