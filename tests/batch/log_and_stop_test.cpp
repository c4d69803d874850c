#include <chrono>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <thread>

#include "tests/batch/batch_program.h"

// What a batch says and remembers, and how it ends.
namespace morvex {
namespace {

using test::BatchEnd;
using test::BatchProgram;
using test::LibraryLog;
using test::Names;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

size_t LinesOf(const std::string& text) {
    return static_cast<size_t>(std::ranges::count(text, '\n'));
}

// The file names that the library was called for, in the order of their ends.
Names CalledFor(const LibraryLog& log) {
    Names names;
    for (const auto& call : log.Calls()) names.emplace_back(FileNameOf(call.input));
    return names;
}

// Waits until the condition holds, for half a minute at most.
template <class Condition>
bool Comes(Condition condition) {
    for (int i = 0; i < 600 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return condition();
}

TEST(BatchLog, ExitCodeCountsFailuresAndEveryRoadTellsThem) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"good.stp", L"{result=-5}.stp", L"{result=-22,report}.stp"});
    const BatchEnd plain = program.Run(L"-t STL --log l.tsv --report r.html . --from STEP");
    EXPECT_EQ(plain.exitCode, 2u);
    EXPECT_THAT(plain.output, HasSubstr("{result=-5}.stp (Corrupted File)\n"));
    EXPECT_THAT(plain.output, HasSubstr("1 converted, 2 failed, 0 skipped"));
    const std::string lines = program.Read(L"l.tsv");
    EXPECT_EQ(LinesOf(lines), 3u);
    EXPECT_THAT(lines, HasSubstr("\t0\t\t4\t7\t"));
    EXPECT_THAT(lines, HasSubstr("\t-22\t1 < 2 &amp;\t4\t0\t"));
    const std::string page = program.Read(L"r.html");
    EXPECT_THAT(page, HasSubstr("<td>1 &lt; 2 &amp;amp;</td>"));
    EXPECT_THAT(page, HasSubstr("<p>1 converted, 2 failed"));
    const BatchEnd json = program.Run(L"-t STL --json good.stp");
    EXPECT_THAT(json.output, HasSubstr("\"state\":\"converted\""));
    EXPECT_THAT(json.output, HasSubstr("\\\\good.stl\"}\n"));
    EXPECT_EQ(LinesOf(json.output), 1u);
    const BatchEnd quiet = program.Run(L"-t STL --quiet . --from STEP");
    EXPECT_EQ(LinesOf(quiet.output), 2u) << quiet.output;
    std::string many;
    for (int i = 0; i < 120; ++i) many += "gone" + std::to_string(i) + ".stp\n";
    EXPECT_EQ(program.Run(L"-t STL --files-from -", many).exitCode, 100u);
}

TEST(BatchLog, AwkwardNamesPassThroughListAndLog) {
    const Names names = {L"100% %41 %25%09.stp", L"a\u00E9\u90E8 '&^!.stp", L"-r.stp",        L"--log.stp",
                         L" lead.stp",           L"semi;colon, comma.stp",  L"\U0001F600.stp"};
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make(names);
    std::string list;
    for (const std::wstring& name : names) {
        std::string bytes(name.size() * 3, '\0');
        bytes.resize(static_cast<size_t>(
            WideCharToMultiByte(CP_UTF8, 0, name.data(), static_cast<int>(name.size()), bytes.data(),
                                static_cast<int>(bytes.size()), nullptr, nullptr)));
        list += bytes + '\0';
    }
    EXPECT_EQ(program.Run(L"-t STL -0 --files-from - --log l.tsv", list).exitCode, 0u);
    EXPECT_THAT(CalledFor(log), testing::UnorderedElementsAreArray(names));
    const BatchEnd again = program.Run(L"-t STL -0 --files-from - --resume l.tsv", list);
    EXPECT_THAT(again.output, HasSubstr("7 done before"));
    EXPECT_EQ(log.Calls().size(), names.size());
}

TEST(BatchLog, ResumeDoesWhatIsLeftAndRetryWhatFailed) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"a.stp", L"b.step", L"b.stp", L"c{result=-5}.stp", L"d.stp"});
    const std::wstring command = L"-j1 -t STL . --from STEP";
    EXPECT_EQ(program.Run(command + L" --log l.tsv").exitCode, 1u);
    const size_t all = log.Calls().size();
    EXPECT_EQ(all, 5u);

    EXPECT_EQ(program.Run(command + L" --resume l.tsv").exitCode, 1u);  // what failed before counts
    EXPECT_EQ(log.Calls().size(), all);
    // A result has gone, another is cut, the log's last line is incomplete: they are made again, each under
    // the name that it had.
    const std::string lines = program.Read(L"l.tsv");
    program.Make({L"l.tsv"}, lines.substr(0, lines.size() - 3));
    std::filesystem::remove(program.In(L"b (2).stl"));
    program.Make({L"a.stl"}, "wri");
    EXPECT_EQ(program.Run(command + L" --resume l.tsv").exitCode, 1u);
    Names called = CalledFor(log);
    EXPECT_THAT(Names(called.begin() + 5, called.end()), UnorderedElementsAre(L"a.stp", L"b.stp", L"d.stp"));
    EXPECT_EQ(program.Read(L"b (2).stl"), "written");
    EXPECT_EQ(program.Files().size(), 5u + 5u + 1u);
    const std::string whole = program.Read(L"l.tsv");
    EXPECT_EQ(LinesOf(whole), 4u + 3u);
    EXPECT_EQ(std::ranges::count(whole, '\t'), 7 * (4 + 3)) << whole;  // no line has grown into another

    EXPECT_EQ(program.Run(L"-t STL --retry-failed l.tsv").exitCode, 1u);
    called = CalledFor(log);
    EXPECT_EQ(called.size(), 9u);
    EXPECT_EQ(called.back(), L"c{result=-5}.stp");
    // Another folder's results say nothing, however the folder is spelled.
    const std::wstring into = command + L" --retry-failed l.tsv --out ";
    EXPECT_THAT(program.Run(into + L"new -n").output, HasSubstr("5 to convert"));
    EXPECT_THAT(program.Run(into + L"new\\..\\. -n").output, HasSubstr("4 done before, 1 to convert"));
    // The input is another file, of a newer or an older time.
    program.Make({L"d.stp"}, "other part");
    std::filesystem::last_write_time(program.In(L"d.stp"),
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(9));
    program.Run(command + L" --resume l.tsv");
    EXPECT_EQ(CalledFor(log).back(), L"d.stp");
    std::filesystem::last_write_time(program.In(L"a.stp"),
                                     std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    program.Run(command + L" --resume l.tsv");
    EXPECT_EQ(CalledFor(log).back(), L"a.stp");
}

TEST(BatchLog, ALongLogWithDamageIsRead) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"a.stp", L"b.stp"});
    std::string lines = "\xEF\xBB\xBF nonsense\n\n\t\t\t\t\t\t\t\n2026-01-01T00:00:00.000Z\t1\t0\t\t4\t0\n";
    for (int i = 0; i < 100000; ++i)
        lines += "2026-01-01T00:00:00.000Z\t0.1\t0\t\t4\t0\tC:\\in\\p" + std::to_string(i) +
                 ".stp\tC:\\in\\p" + std::to_string(i) + ".stl\n";
    const std::wstring input = program.In(L"a.stp");
    lines += "2099-01-01T00:00:00.000Z\t0.1\t0\t\t4\t0\t" + std::string(input.begin(), input.end()) +
             "\t\n2026-01";
    program.Make({L"l.tsv"}, lines);
    const BatchEnd end = program.Run(L"-t STL . --from STEP --resume l.tsv");
    EXPECT_EQ(end.exitCode, 0u) << end.errors;
    EXPECT_EQ(CalledFor(log), Names{L"b.stp"});
    EXPECT_EQ(LinesOf(program.Read(L"l.tsv")), LinesOf(lines) + 1);
}

// The log is read for the list and for the plan at once.
TEST(BatchLog, RetriesManyEachUnderItsName) {
    const BatchProgram program;
    constexpr int kFiles = 20000;
    std::ostringstream records;
    for (int i = 0; i < kFiles; ++i)
        records << "2026-01-01T00:00:00.000Z\t1\t-5\tbad\t4\t0\tC:\\in\\" << i << ".stp\tC:\\out\\" << i
                << "x.stl\n";
    program.Make({L"l.tsv"}, records.str());
    const BatchEnd end = program.Run(L"-t STL --dry-run --json --retry-failed l.tsv");
    EXPECT_EQ(end.exitCode, 100u);
    int lines = 0, wrong = 0;
    std::istringstream told(end.output);
    for (std::string line; std::getline(told, line); ++lines) {
        const auto numberAfter = [&](const char* text) {
            return std::stoi(line.substr(line.find(text) + std::strlen(text)));
        };
        wrong += numberAfter("C:\\\\in\\\\") != numberAfter("C:\\\\out\\\\");
    }
    EXPECT_EQ(lines, kFiles);
    EXPECT_EQ(wrong, 0);
}

TEST(BatchRun, RetriesCrashesAndTimeOutsOnly) {
    const struct {
        const wchar_t *name, *options;
        size_t calls;
        const char* reason;
    } cases[] = {
        {L"{read}.stp", L"--retries 2", 3, "library crashed"},
        {L"{abort}.stp", L"--retries 1", 2, "ended without a result (code 3)"},
        {L"{kill}.stp", L"", 1, "ended without a result (code 0)"},
        {L"{result=1}.stp", L"--retries 2", 1, "answered 1 and gave no reason"},
        {L"{abort,sleep=60000}.stp", L"--retries 1 --seconds-per-file 4", 2, "too long"},
    };
    for (const auto& test : cases) {
        const BatchProgram program;
        const LibraryLog log;
        program.Make({test.name});
        const BatchEnd end = program.Run(std::wstring(L"-t STL . --log l.tsv ") + test.options);
        EXPECT_EQ(end.exitCode, 1u) << end.output;
        EXPECT_EQ(log.Calls().size(), test.calls) << end.output;
        EXPECT_THAT(end.output, HasSubstr(test.reason));
        EXPECT_EQ(LinesOf(program.Read(L"l.tsv")), 1u);
    }
}

TEST(BatchRun, SettingsAndFormatsReachTheLibrary) {
    const BatchProgram program;
    const LibraryLog log;
    program.Make({L"a.stp", L"b.igs", L"c{company=7}.stp"});
    program.Make({L"own.zel"}, "[STL CONF]\r\nLINEAR_TOL=7\r\n");
    EXPECT_EQ(program.Run(L"-t STL --config own.zel a.stp b.igs").exitCode, 0u);
    EXPECT_EQ(
        program.Run(L"-t \"glTF Binary\" --config own.zel --set \"STL CONF/LINEAR_TOL=a=b\" a.stp").exitCode,
        0u);
    const auto calls = log.Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].config, program.In(L"own.zel"));
    EXPECT_EQ(calls[0].inputFormat + calls[1].inputFormat, 4 + 6);
    EXPECT_EQ(calls[2].outputFormat, 54);
    EXPECT_NE(calls[2].config, program.In(L"own.zel"));
    EXPECT_FALSE(std::filesystem::exists(calls[2].config));
    EXPECT_EQ(program.Read(L"own.zel"), "[STL CONF]\r\nLINEAR_TOL=7\r\n");
    EXPECT_EQ(program.Run(L"-j7 -t STL c{company=7}.stp").exitCode, 0u);
}

TEST(BatchRun, TwoIntoOneFolderKeepBothResults) {
    const BatchProgram program;
    const LibraryLog log;
    const std::wstring slow = L"one{output,sleep=15000}", quick = L"two{output}";
    program.Make({slow + L"/a.stp", slow + L"/b.stp", quick + L"/a.stp", quick + L"/b.stp"});
    DWORD id = 0;
    const UniqueHandle first = program.Start(L"-j2 --retries 1 -t STL -o out --log l.tsv " + slow, id);
    EXPECT_TRUE(Comes([&] {
        return std::filesystem::exists(program.In(L"out\\a.stl")) &&
               std::filesystem::exists(program.In(L"out\\b.stl"));
    }));
    const BatchEnd refused = program.Run(L"-t STL -o out --log l.tsv " + quick);
    EXPECT_EQ(refused.exitCode, 101u);
    EXPECT_THAT(refused.errors, HasSubstr("belongs to another batch"));
    EXPECT_EQ(program.Run(L"--retries 1 -t STL -o out " + quick).exitCode, 0u);
    EXPECT_EQ(WaitForSingleObject(first.get(), 60000), WAIT_OBJECT_0);
    std::set<std::wstring> outputs;
    for (const auto& call : log.Calls()) outputs.insert(call.output);
    EXPECT_EQ(outputs.size(), 4u);
}

TEST(BatchRun, CtrlCBeginsNoMoreAndTwiceEndsAll) {
    for (const bool twice : {false, true}) {
        const BatchProgram program;
        const LibraryLog log(twice ? L"output,sleep=20000" : L"output,sleep=4000");
        program.Make({L"a.stp", L"b.stp", L"c.stp"});
        DWORD id = 0;
        const UniqueHandle process = program.Start(L"-j1 -t STL --log l.tsv a.stp b.stp c.stp", id);
        ASSERT_TRUE(Comes([&] { return std::filesystem::exists(program.In(L"a.stl")); }));
        FreeConsole();
        ASSERT_TRUE(AttachConsole(id)) << GetLastError();
        SetConsoleCtrlHandler(nullptr, TRUE);  // for this process
        EXPECT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
        if (twice) {
            std::this_thread::sleep_for(std::chrono::seconds(1));  // two at once may count as one
            EXPECT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
        }
        FreeConsole();
        EXPECT_EQ(WaitForSingleObject(process.get(), 15000), WAIT_OBJECT_0);
        TerminateProcess(process.get(), 99);
        SetConsoleCtrlHandler(nullptr, FALSE);
        DWORD exitCode = 0;
        GetExitCodeProcess(process.get(), &exitCode);
        EXPECT_EQ(exitCode, 102u);
        EXPECT_EQ(LinesOf(program.Read(L"l.tsv")), twice ? 0u : 1u);
        EXPECT_EQ(std::filesystem::exists(program.In(L"a.stl")), !twice);  // half written otherwise
        EXPECT_FALSE(std::filesystem::exists(program.In(L"b.stl")));
    }
}

TEST(BatchRun, HotFolderTakesFilesThatHaveComeWhole) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"hot/first.stp", L"hot/note.txt"});
    const std::wstring command = L"-t STL --watch hot --log l.tsv";
    DWORD id = 0;
    {
        const UniqueHandle process = program.Start(command, id);
        EXPECT_TRUE(Comes([&] { return std::filesystem::exists(program.In(L"hot\\first.stl")); }));
        {
            const UniqueHandle growing =
                OwnFile(CreateFileW(program.In(L"hot\\second.stp").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                    nullptr, CREATE_NEW, 0, nullptr));
            std::this_thread::sleep_for(std::chrono::seconds(3));
            EXPECT_EQ(LinesOf(program.Read(L"l.tsv")), 1u);
            DWORD written = 0;
            WriteFile(growing.get(), "whole", 5, &written, nullptr);
        }
        EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == 2; }));
        TerminateProcess(process.get(), 1);
        WaitForSingleObject(process.get(), INFINITE);
    }
    EXPECT_THAT(program.Read(L"l.tsv"), HasSubstr("\t5\t7\t"));
    program.Make({L"hot/third.stp"});
    const UniqueHandle process = program.Start(command, id);
    EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == 3; }));
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), INFINITE);
    EXPECT_EQ(CalledFor(log), (Names{L"first.stp", L"second.stp", L"third.stp"}));
}

TEST(BatchRun, HotFolderConvertsNoFileTwiceAtOnce) {
    const BatchProgram program;
    const LibraryLog log(L"sleep=4000,output");
    program.Make({L"hot/a.stp"});
    DWORD id = 0;
    const UniqueHandle process = program.Start(L"-j2 -t STL --watch hot --log l.tsv", id);
    EXPECT_TRUE(Comes([&] { return std::filesystem::exists(program.In(L"hot\\a.stl")); }));
    program.Make({L"hot/a.stp"}, "changed meanwhile");
    EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == 2; }));
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), INFINITE);
    const auto calls = log.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_GE(calls[1].startMs, calls[0].endMs);
    EXPECT_EQ(calls[1].output, calls[0].output);
}

// A file that was skipped at first takes its output like any other when it comes again.
TEST(BatchRun, HotFolderKeepsOthersFromAnOutputThatItSkippedOnce) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"hot/a{output,sleep=8000}.stp", L"hot/b.stp", L"other/a{output,sleep=8000}.stp"});
    program.Make({L"out/a{output,sleep=8000}.stl"}, "earlier");
    const auto hour = std::chrono::hours(1);
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(program.In(L"hot\\a{output,sleep=8000}.stp"), now - hour);
    DWORD id = 0;
    const UniqueHandle process =
        program.Start(L"-t STL --overwrite older --watch hot --out out --log l.tsv", id);
    EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == 1; }));
    std::this_thread::sleep_for(std::chrono::seconds(1));  // the other one is skipped by now
    std::filesystem::last_write_time(program.In(L"hot\\a{output,sleep=8000}.stp"), now + hour);
    EXPECT_TRUE(Comes([&] { return program.Read(L"out\\a{output,sleep=8000}.stl") == "written"; }));
    EXPECT_EQ(program.Run(L"-t STL --out out other").exitCode, 0u);
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), INFINITE);
    const auto calls = log.Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_NE(calls[1].output, calls[2].output);
}

TEST(BatchRun, HotFolderTellsNamesApartAsTheFileSystemDoes) {
    const BatchProgram program;
    const LibraryLog log(L"output");
    program.Make({L"hot/r\u00E9.stp", L"hot/re\u0301.stp", L"hot/s\u00E9.stp"});
    size_t inputs = program.Files().size();
    DWORD id = 0;
    const UniqueHandle process = program.Start(L"-t STL --watch hot --out out --log l.tsv", id);
    EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == inputs; }));
    program.Make({L"hot/se\u0301.stp"}, "a later part");
    ++inputs;
    EXPECT_TRUE(Comes([&] { return LinesOf(program.Read(L"l.tsv")) == inputs; }));
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), INFINITE);
    const size_t names = inputs == 4 ? 4 : 2;  // else a later file takes an earlier one's place
    EXPECT_EQ(program.Files().size(), 2 * names + 1);
}

}  // namespace
}  // namespace morvex
