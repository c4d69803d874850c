// The promises of the worker that rest on Windows: its processes, pipes, files and paths.
#include <algorithm>
#include <gtest/gtest.h>

#include "engine/common/formats.h"
#include "engine/common/job_object_windows.h"
#include "engine/common/paths.h"
#include "engine/common/protocol.h"
#include "engine/worker/full_path.h"
#include "engine/worker/job_order_windows.h"
#include "engine/worker/machine.h"
#include "tests/engine_windows/worker_process.h"

namespace morvex::test {
namespace {

using Names = std::vector<fs::path>;

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

TEST(Worker, ConvertsUnderNamesOfEveryKind) {
    const ScratchFolder folder;
    WriteWhole(folder / L"c.zel", "[STL CONF]\nWRITE_ASCII=1\n");
    for (const wchar_t* name : {L"plain.obj", L"имя с 圆柱 😀.obj", L"it's 100% [a] {b} ^ & +.obj"}) {
        const fs::path output = folder / name;
        WriteWhole(output, "old");
        const WorkerRun run = RunWorker({L"--jobs-beside", L"--config", (folder / L"c.zel").native(),
                                         folder.Input("convert", L"вход.obj").native(), output.native()});
        EXPECT_EQ(run.code, 0u);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(ReadWhole(output), Utf8(name) + " OBJ OBJ ascii parallel\n");
        EXPECT_EQ(ReadWhole(fs::path(output).replace_extension(L".mtl")), "side\n");
        EXPECT_NE(ReadWhole(output.native() + L"-zel.xml").find("peak"), std::string::npos);
    }
    for (const fs::path& name : folder.Names()) EXPECT_FALSE(name.native().starts_with(L".morvex"));
}

TEST(Worker, LongPaths) {
    const ScratchFolder folder;
    std::wstring deep = L"\\\\?\\" + (folder / L"").native();
    for (int level = 0; level < 4; ++level) {
        deep += std::wstring(80, static_cast<wchar_t>(L'a' + level)) + L"\\";
        CreateDirectoryW(deep.c_str(), nullptr);
    }
    const fs::path input = deep.substr(4) + L"in.obj", output = deep.substr(4) + L"out.obj";
    CopyFileW(folder.Input("convert").c_str(), (deep + L"in.obj").c_str(), TRUE);
    const WorkerRun run = RunWorker({input.native(), output.native()});
    EXPECT_EQ(run.code, 0u) << run.output;
    EXPECT_EQ(GetFileAttributesW((deep + L"out.obj").c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);

    // Short enough by itself, but not what comes to lie beside it.
    const std::wstring nearly = (folder / L"").native() + std::wstring(100, L'f') + L"\\";
    CreateDirectoryW(nearly.c_str(), nullptr);
    const std::wstring last = nearly + std::wstring(250 - nearly.size(), L'o') + L".obj";
    EXPECT_TRUE(FullPath(Utf8(last)).native().starts_with(L"\\\\?\\"));
    EXPECT_EQ(RunWorker({folder.Input("convert").native(), last}).code, 0u);
    EXPECT_TRUE(fs::exists(last + L"-zel.xml"));
}

TEST(Worker, WhateverBecomesOfTheJobIsAResult) {
    const struct {
        const char* command;
        std::vector<std::wstring> options;
        DWORD code;
        const char* says;
    } cases[] = {{"fault", {}, 5, "0xC0000005"},
                 {"abort", {}, 5, "crashed"},
                 {"write fault", {}, 1, "write"},
                 {"throw", {}, 1, "thrown"},
                 {"exit", {}, 1, "without a result"},
                 {"killed", {}, 1, "killed"},
                 {"no memory", {}, 1, "memory limit"},
                 {"sleep", {L"--seconds", L"0.5"}, 1, "time limit"},
                 {"spin", {L"--patience", L"0.5"}, 5, "no progress"}};
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.command);
        const ScratchFolder folder;
        std::vector<std::wstring> arguments = bad.options;
        arguments.push_back(folder.Input(bad.command).native());
        arguments.push_back((folder / L"out.obj").native());
        WriteWhole(folder / L"out.obj", "old");
        const WorkerRun run = RunWorker(arguments);
        EXPECT_EQ(run.code, bad.code);
        EXPECT_NE(run.output.find(bad.says), std::string::npos) << run.output;
        EXPECT_EQ(ReadWhole(folder / L"out.obj"), "old");
        for (const wchar_t* name : {L"out.obj-zel.xml", L"in.obj.process"}) fs::remove(folder / name);
        EXPECT_EQ(folder.Names(), (Names{L"in.obj", L"out.obj"}));
    }
}

TEST(Worker, MemoryIsTold) {
    const ScratchFolder folder;
    RunWorker({L"--seconds", L"1", folder.Input("sleep").native(), (folder / L"out.obj").native()});
    const std::string report = ReadWhole(folder / L"out.obj-zel.xml"), before = "<memory peak=\"";
    const std::size_t at = report.find(before);
    ASSERT_NE(at, std::string::npos) << report;
    EXPECT_GT(std::stoll(report.substr(at + before.size())), 1 << 20);
}

// The job process is in a job object that ends with its last handle and holds it to the memory it was given.
TEST(Worker, TheJobObjectHasItsLimits) {
    if (IsWine()) GTEST_SKIP() << "Wine does not tell the limits of a job object";
    const ScratchFolder folder;
    const fs::path input = folder.Input("sleep");
    const Worker worker({L"--memory", L"200", input.native(), (folder / L"out.obj").native()});
    const HANDLE process = JobProcessOf(input);
    const HANDLE job = OpenJobObjectW(JOB_OBJECT_QUERY, FALSE, JobObjectName(GetProcessId(process)).c_str());
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    EXPECT_TRUE(
        QueryInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits, nullptr));
    constexpr DWORD kFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_JOB_MEMORY |
                             JOB_OBJECT_LIMIT_PROCESS_MEMORY | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    EXPECT_EQ(limits.BasicLimitInformation.LimitFlags, kFlags);
    EXPECT_EQ(limits.JobMemoryLimit, 200u << 20);
    EXPECT_LE(limits.ProcessMemoryLimit, limits.JobMemoryLimit);
    CloseHandle(job);
    CloseHandle(process);
}

TEST(Worker, MemoryIsLimited) {
    if (IsWine()) GTEST_SKIP() << "Wine takes the limit of a job object and does not keep it";
    const ScratchFolder folder;
    const WorkerRun run =
        RunWorker({L"--memory", L"200", folder.Input("eat").native(), (folder / L"out.obj").native()});
    EXPECT_EQ(run.code, 1u);
    EXPECT_NE(run.output.find("memory limit"), std::string::npos) << run.output;
}

TEST(Worker, NothingOutlivesItsCaller) {
    enum class How { CallerLeaves, Break, Kill };
    for (const How how : {How::CallerLeaves, How::Break, How::Kill}) {
        if (how == How::Break && IsWine())
            continue;  // it has no GenerateConsoleCtrlEvent for a process group
        SCOPED_TRACE(static_cast<int>(how));
        const ScratchFolder folder;
        const fs::path input = folder.Input("sleep");
        Worker worker({TEXT(MORVEX_SERVE_OPTION)});
        std::string job;
        for (const std::string& field :
             {MORVEX_JOB_INPUT + Utf8(input), MORVEX_JOB_OUTPUT + Utf8(folder / L"out.obj"),
              std::string(MORVEX_JOB_INPUT_FORMAT "45"), std::string(MORVEX_JOB_OUTPUT_FORMAT "45"),
              std::string()})
            job += field + '\0';
        worker.Send(job);
        const HANDLE process = JobProcessOf(input);
        if (how == How::CallerLeaves) worker.Leave();
        if (how == How::Break) GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, worker.Id());
        if (how == How::Kill) TerminateProcess(worker.Process(), 1);
        EXPECT_TRUE(EndsSoon(process));
        EXPECT_NE(worker.Wait(), 9999u);
        CloseHandle(process);
        if (how == How::Kill) continue;
        EXPECT_EQ(folder.Names(), (Names{L"in.obj", L"in.obj.process"}));
        const std::string said = worker.ReadOutput();
        EXPECT_TRUE(said.starts_with("P 10\nP 55\nR 1 ")) << said;
    }
}

// What a killed worker leaves is removed by the next one, but not what a living one still needs.
TEST(Worker, AbandonedFoldersGo) {
    const auto foldersOfWorkers = [](const ScratchFolder& folder) {
        return std::ranges::count_if(
            folder.Names(), [](const fs::path& name) { return name.native().starts_with(L".morvex"); });
    };
    const ScratchFolder folder;
    const fs::path quick = folder.Input("convert", L"quick.obj"), slow = folder.Input("sleep");
    Worker worker({slow.native(), (folder / L"slow.obj").native()});
    const HANDLE process = JobProcessOf(slow);
    EXPECT_EQ(RunWorker({quick.native(), (folder / L"out.obj").native()}).code, 0u);
    EXPECT_EQ(foldersOfWorkers(folder), 1);
    TerminateProcess(worker.Process(), 1);
    EXPECT_TRUE(EndsSoon(process));
    CloseHandle(process);
    EXPECT_EQ(RunWorker({quick.native(), (folder / L"out.obj").native()}).code, 0u);
    EXPECT_EQ(foldersOfWorkers(folder), 0);
}

// What stopped in the middle of replacing a set, and whose old file cannot go back yet.
TEST(Worker, OldFilesStayUntilTheyArePutBack) {
    const ScratchFolder folder;
    const fs::path rest = folder / PathFromUtf8(".morvex-" + ShortUserAndMachine() + "-abcdef"),
                   elsewhere = folder / L".morvex-01234567-abcdef", side = folder / L"a.mtl";
    for (const fs::path& part : {rest / L"new", rest / L"old", elsewhere}) fs::create_directories(part);
    WriteWhole(rest / L"new" / L"a.obj", "new");
    for (const wchar_t* name : {L"a.obj", L"a.mtl"}) WriteWhole(rest / L"old" / name, "old");
    WriteWhole(side, "new");
    const auto convert = [&] {
        EXPECT_EQ(RunWorker({folder.Input("convert").native(), (folder / L"out.obj").native()}).code, 0u);
    };
    const HANDLE lock =
        CreateFileW(side.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    convert();
    CloseHandle(lock);
    EXPECT_EQ(ReadWhole(rest / L"old" / L"a.obj"), "old");
    convert();
    EXPECT_FALSE(fs::exists(rest));
    EXPECT_TRUE(fs::exists(elsewhere)) << "it is another machine's";
    EXPECT_EQ(ReadWhole(folder / L"a.obj") + ReadWhole(side), "oldold");
}

// Answers come as jobs end: the second does not wait for the first, which ends when it is killed.
TEST(Worker, JobsRunAtOnce) {
    const ScratchFolder folder;
    const fs::path slow = folder.Input("sleep", L"slow.obj"), output = folder / L"x.obj";
    const auto line = [&](const fs::path& input) {
        return "--seconds 60 \"" + Utf8(input) + "\" '" + Utf8(output) + "'\r\n";
    };
    WriteWhole(folder / L"jobs.txt", line(slow) + "\r\n" + line(folder.Input("convert", L"имя с .obj")));
    Worker worker({L"--jobs", (folder / L"jobs.txt").native(), L"-j", L"2"});
    EXPECT_EQ(worker.ReadLine(), "3\t0\t");
    const HANDLE process = JobProcessOf(slow);
    TerminateProcess(process, 1);
    CloseHandle(process);
    const std::string said = worker.ReadOutput();
    EXPECT_TRUE(said.starts_with("1\t1\t")) << said;
    EXPECT_EQ(worker.Wait(), 1u);
    EXPECT_EQ(ReadWhole(output), "x.obj OBJ OBJ parallel\n");
}

TEST(Worker, ALockedOutputStaysAsItIs) {
    const ScratchFolder folder;
    const fs::path output = folder / L"out.obj";
    WriteWhole(output, "old");
    const HANDLE lock =
        CreateFileW(output.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(RunWorker({folder.Input("convert").native(), output.native()}).code, 23u);
    CloseHandle(lock);
    EXPECT_EQ(ReadWhole(output), "old");
    for (const fs::path& name : folder.Names()) EXPECT_FALSE(name.native().starts_with(L".morvex"));
    EXPECT_EQ(RunWorker({folder.Input("convert").native(), output.native()}).code, 0u);
    const fs::path same = folder.Input("convert");
    EXPECT_EQ(RunWorker({same.native(), same.native()}).code, 23u);
    EXPECT_EQ(RunWorker({L"--preview", (folder / L"IN.OBJ").native(), same.native(), output.native()}).code,
              64u);
}

TEST(Paths, DrivesAndServers) {
    const struct {
        const char8_t* given;
        const wchar_t* full;
    } cases[] = {{u8"C:/a/../b c/x.stl", L"C:\\b c\\x.stl"},
                 {u8"\\\\server\\share\\папка\\..\\x.stl", L"\\\\server\\share\\x.stl"},
                 {u8"\\\\?\\C:\\a\\x.stl", L"\\\\?\\C:\\a\\x.stl"},
                 {u8"", L""}};
    for (const auto& path : cases) {
        const fs::path full = FullPath(reinterpret_cast<const char*>(path.given));
        EXPECT_EQ(full.native(), path.full);
    }
    EXPECT_EQ(FullPath("\\\\server\\share\\x.stl").parent_path().native(), L"\\\\server\\share");
}

}  // namespace
}  // namespace morvex::test
