#include "convert/child_process.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <omp.h>
#include <set>
#include <thread>

#include "convert/conversion_run.h"
#include "convert/output_watch.h"
#include "tests/support/child_of_tests.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryCall;
using test::LibraryLog;

class LastStatus : public RunObserver {
  public:
    void OnStatus(size_t row, const RowStatus& status) override {
        const std::lock_guard lock(mutex_);
        texts[row] = status.text;
        reasons[row] = status.reason;
    }
    bool StopRequested() override { return stop && stop(); }
    std::map<size_t, std::wstring> texts, reasons;
    std::function<bool()> stop;

  private:
    std::mutex mutex_;
};

ConversionJob Job(const std::vector<std::wstring>& names) {
    ConversionJob job;
    for (const std::wstring& name : names) {
        job.files.push_back({L"C:\\in dir", name});
    }
    job.request.outputFolder = L"C:\\out dir";
    job.request.formats =
        LookUpFormats(L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)", L"STL (*.stl)");
    job.request.configFile = L"C:\\my config\\c.zel";
    job.request.schemaFolder = L"C:\\schema";
    job.request.program = ModulePath();
    job.request.multiprocess = true;
    return job;
}

// How many of the calls were under way at once.
int Overlap(const std::vector<LibraryCall>& calls) {
    int most = 0;
    for (const LibraryCall& at : calls) {
        const auto running = std::count_if(calls.begin(), calls.end(), [&](const LibraryCall& other) {
            return other.startMs <= at.startMs && at.startMs < other.endMs;
        });
        most = std::max(most, static_cast<int>(running));
    }
    return most;
}

std::set<int> Processes(const std::vector<LibraryCall>& calls) {
    std::set<int> ids;
    for (const LibraryCall& call : calls) ids.insert(call.process);
    return ids;
}

TEST(ChildProcess, OneChildAFileAndAsManyAtOnceAsWorkers) {
    const LibraryLog log(L"sleep=2000");
    LastStatus status;
    const int workers = std::max(2, omp_get_max_threads());
    omp_set_num_threads(workers);
    std::vector<std::wstring> names;
    for (int i = 0; i < 2 * workers; ++i) names.push_back(std::to_wstring(i) + L".stp");
    RunConversions(Job(names), status);
    const std::vector<LibraryCall> calls = log.Calls();
    ASSERT_EQ(calls.size(), names.size());
    EXPECT_EQ(Processes(calls).size(), names.size());
    EXPECT_FALSE(Processes(calls).contains(static_cast<int>(GetCurrentProcessId())));
    EXPECT_EQ(Overlap(calls), workers);
    for (const LibraryCall& call : calls) {
        EXPECT_EQ(call.inputFormat, 4);
        EXPECT_EQ(call.outputFormat, 22);
        EXPECT_EQ(call.parallel, 0);
        EXPECT_EQ(call.runSize, -1);
        EXPECT_EQ(call.config, L"C:\\my config\\c.zel");
        EXPECT_EQ(call.schema, L"C:\\schema");
    }

    omp_set_num_threads(1);  // one processor still converts through a child
    RunConversions(Job({L"single.stp"}), status);
    EXPECT_NE(log.Calls().back().process, static_cast<int>(GetCurrentProcessId()));
    omp_set_num_threads(workers);

    ConversionJob here = Job({L"here.stp", L"here too.stp"});
    here.request.multiprocess = false;
    here.request.libraryPath = LibraryLog::LibraryPath();
    RunConversions(here, status);
    EXPECT_EQ(log.Calls().back().process, static_cast<int>(GetCurrentProcessId()));
    const std::vector<LibraryCall> all = log.Calls();
    EXPECT_EQ(Overlap({all.end() - 2, all.end()}), 1);
}

TEST(ChildProcess, ExitCodesAndDeathsBecomeTheRowsText) {
    const LibraryLog log;
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"{result=0}.stp", L"OK"},     {L"{result=-22}.stp", L"Cannot open Input File"},
        {L"{exit=259}.stp", L"KO"},     {L"{exit=7}.stp", L"KO"},
        {L"{read}.stp", L"KO"},         {L"{abort}.stp", L"KO"},
        {L"{fastfail}.stp", L"KO"},     {L"{overflow=40}.stp", L"KO"},
        {L"{overflow=900}.stp", L"KO"}, {L"{overflow=9000}.stp", L"KO"},
        {L"{smash}.stp", L"KO"},        {L"{kill}.stp", L"KO"},
        {L"{exit=0}.stp", L"KO"},       {L"{exitthread}.stp", L"KO"},
        {L"{throw}.stp", L"KO"},        {L"{spew=4096}.stp", L"OK"},
        {L"{company}.stp", L"OK"},      {L"{result=-32}.stp", L"Empty File"},
    };
    std::vector<std::wstring> names;
    for (const auto& c : cases) names.push_back(c.first);
    LastStatus status;
    RunConversions(Job(names), status);
    for (size_t i = 0; i < names.size(); ++i) EXPECT_EQ(status.texts[i], cases[i].second) << i;

    ConversionJob unstartable = Job({L"a.stp", L"b.stp"});
    const test::TempFolder folder;
    unstartable.request.program = folder / L"no program.exe";
    test::WriteFileBytes(unstartable.request.program, "no program");
    RunOutcome outcome = RunConversions(unstartable, status);
    EXPECT_EQ(status.texts[0] + status.texts[1], L"OKOK");  // the program's rule
    EXPECT_EQ(outcome.notStarted, 2u);
    EXPECT_FALSE(outcome.abandoned);
    unstartable.request.program = L"C:\\no such program.exe";
    outcome = RunConversions(unstartable, status);
    EXPECT_EQ(status.texts[0], L"OK");
    EXPECT_TRUE(outcome.abandoned);
    EXPECT_EQ(outcome.message, L"A component is missing : C:\\no such program.exe");
}

// A library may deal with an overflow itself, on the very stack that has run over: there is room for that.
// Without the room its thread hangs.
TEST(ChildProcess, OverflowsOfAnyFrameLeaveRoom) {
    for (const int frame : {40, 300, 900, 3000, 9000}) {
        const LibraryLog log;
        LastStatus status;
        ConversionJob job = Job({L"{reporter,overflow=" + std::to_wstring(frame) + L"}.stp"});
        job.request.secondsPerFile = 20;
        RunConversions(job, status);
        ASSERT_EQ(status.texts[0], L"KO") << frame;
        EXPECT_EQ(status.reasons[0], L"The conversion library crashed");
        EXPECT_EQ(test::ReadFileBytes(log.Path() + L".overflow"), "told") << frame;
    }
}

TEST(ChildProcess, OneThatTakesTooMuchMemoryIsEnded) {
    const LibraryLog log;
    LastStatus status;
    ConversionJob job = Job({L"{hold=300,sleep=8000}.stp", L"{hold=20,sleep=1000}.stp"});
    job.request.megabytesPerFile = 200;
    RunConversions(job, status);
    EXPECT_EQ(status.texts[0], L"KO");
    EXPECT_EQ(status.reasons[0], L"The conversion took too much memory");
    EXPECT_EQ(status.texts[1], L"OK");
}

// Somebody looks through the program's file for a moment, a virus scanner say.
TEST(ChildProcess, WaitsForAProgramThatIsInUse) {
    const LibraryLog log;
    LastStatus status;
    ConversionJob job = Job({L"{result=-32}.stp"});
    const test::TempFolder folder;
    job.request.program = folder / L"in use.exe";
    CreateDirectoryW((folder / L"recording").c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), job.request.program.c_str(), TRUE));
    ASSERT_TRUE(CopyFileW(LibraryLog::LibraryPath().c_str(),
                          (folder / L"recording\\Polyvane_x64.dll").c_str(), TRUE));
    UniqueHandle held = OwnFile(
        CreateFileW(job.request.program.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    const std::jthread release([&] {
        Sleep(300);
        held.reset();
    });
    RunConversions(job, status);
    EXPECT_EQ(status.texts[0], L"Empty File");
}

// A process that the system loses on its way to its first instruction has harmed nothing.
TEST(ChildProcess, OneThatDiesWhileItStartsIsStartedAgain) {
    const LibraryLog log;
    const test::TempFolder folder;
    LastStatus status;
    test::WriteFileBytes(folder / L"one death", "");
    SetEnvironmentVariableW(test::kStillbornVariable, (folder / L"one death").c_str());
    RunConversions(Job({L"{result=-32}.stp"}), status);
    EXPECT_EQ(status.texts[0], L"Empty File");
    EXPECT_FALSE(PathExists(folder / L"one death"));
    SetEnvironmentVariableW(test::kStillbornVariable, L"always");
    RunConversions(Job({L"a.stp"}), status);
    SetEnvironmentVariableW(test::kStillbornVariable, nullptr);
    EXPECT_EQ(status.texts[0], L"KO");
    EXPECT_EQ(status.reasons[0], L"The process of the conversion ended while it was starting (code 0)");
    // One that dies later is not: nobody knows what it has done.
    RunConversions(Job({L"{kill}.stp"}), status);
    EXPECT_EQ(status.reasons[0], L"The process of the conversion ended without a result (code 0)");
    EXPECT_EQ(log.Calls().size(), 2u);
}

TEST(ChildProcess, TellsItsProgress) {
    struct Progress : RunObserver {
        void OnProgress(size_t row, int percent) override {
            const std::lock_guard lock(mutex);
            last[row] = percent;
        }
        std::mutex mutex;
        std::map<size_t, int> last;
    } observer;
    const LibraryLog log;
    ConversionJob job = Job({L"{progress,sleep=300}.stp", L"{sleep=300}.stp", L"{progress,sleep=301}.stp"});
    RunConversions(job, observer);
    EXPECT_EQ(observer.last, (std::map<size_t, int>{{0, 100}, {2, 100}}));
}

TEST(ChildProcess, WorkersKeepTheLogAndTheTimesApart) {
    const LibraryLog log(L"sleep=1100");
    const test::TempFolder folder;
    LastStatus status;
    ConversionJob job = Job({L"a.stp", L"b.stp", L"c.stp", L"d.stp", L"e.stp", L"f.stp"});
    job.request.crashLog = folder / L"log.txt";
    job.request.developerMode = true;
    omp_set_num_threads(6);
    RunConversions(job, status);
    std::wstring text;
    ASSERT_TRUE(ReadTextFile(job.request.crashLog, text));
    int sum = 0;
    for (size_t row = 0; row < job.files.size(); ++row) {
        int seconds = 0;  // how many, is the machine's affair
        ASSERT_EQ(std::swscanf(status.texts[row].c_str(), L"OK [%d sec]", &seconds), 1) << row;
        EXPECT_GE(seconds, 1);
        sum += seconds;
        EXPECT_NE(
            text.find(L"C:\\in dir\\" + job.files[row].name + L"\nD\u00EF\u00BF\u00BDbut de traitement..."),
            text.npos);
    }
    EXPECT_EQ(status.texts[job.files.size()], L"- [" + std::to_wstring(sum) + L"]");
    EXPECT_TRUE(text.ends_with(L"\nFin des conversions"));
}

// Children are ended, what they have begun to write goes; a call in this process comes to its end.
TEST(ChildProcess, AStoppedRunLeavesNothingHalf) {
    const LibraryLog log(L"output,sleep=600000");
    const test::TempFolder folder;
    ConversionJob job = Job({L"a.stp", L"b.stp", L"c.stp", L"d.stp"});
    job.request.outputFolder = folder.Path();
    LastStatus status;
    std::atomic<bool> asked = false;
    status.stop = [&] {
        if (PathExists(folder / L"a.stl") && PathExists(folder / L"b.stl")) asked = true;
        return asked.load();
    };
    omp_set_num_threads(2);
    RunConversions(job, status);
    EXPECT_EQ(status.texts,
              (std::map<size_t, std::wstring>{
                  {0, L"Stopped"}, {1, L"Stopped"}, {2, L"Not converted"}, {3, L"Not converted"}}));
    EXPECT_FALSE(PathExists(folder / L"a.stl") || PathExists(folder / L"b.stl"));

    const LibraryLog quick(L"output");
    job.request.multiprocess = false;
    job.request.libraryPath = LibraryLog::LibraryPath();
    status.stop = [&] { return PathExists(folder / L"a.stl"); };
    RunConversions(job, status);
    EXPECT_EQ(status.texts[0], L"OK");
    EXPECT_EQ(status.texts[1], L"Not converted");
    EXPECT_TRUE(PathExists(folder / L"a.stl"));
}

// The stop comes between the output and the child's word that it is done.
TEST(ChildProcess, AStoppedRunKeepsWhatIsWhole) {
    const LibraryLog log(L"output,praise,sleep=300");
    const test::TempFolder folder;
    ConversionJob job = Job({L"a.stp", L"b.stp"});
    job.request.outputFolder = folder.Path();
    test::WriteFileBytes(folder / L"a.stl", "an earlier result");
    LastStatus status;
    status.stop = [&] { return PathExists(folder / L"a.stl-zel.xml"); };
    omp_set_num_threads(1);
    RunConversions(job, status);
    EXPECT_EQ(status.texts, (std::map<size_t, std::wstring>{{0, L"OK"}, {1, L"Not converted"}}));
    EXPECT_EQ(test::ReadFileBytes(folder / L"a.stl"), "written");
    EXPECT_TRUE(PathExists(folder / L"a.stl-zel.xml"));
}

TEST(OutputWatch, TellsAWholeOutputFromOneBeingWritten) {
    const test::TempFolder folder;
    const std::wstring output = folder / L"a.stl";
    test::WriteFileBytes(output, "old");
    const OutputWatch watch(output);
    EXPECT_FALSE(watch.OutputIsThere());
    UniqueHandle writer =
        OwnFile(CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(writer.get(), "new one", 7, &written, nullptr));
    EXPECT_FALSE(watch.OutputIsThere());
    writer.reset();
    EXPECT_TRUE(watch.OutputIsThere());
}

TEST(ChildProcess, NothingItStartedOutlivesTheRun) {
    const LibraryLog log(L"grandchild");
    LastStatus status;
    RunConversions(Job({L"a.stp"}), status);
    EXPECT_EQ(status.texts[0], L"OK");
    const std::string id = test::ReadFileBytes(log.Path() + L".grandchild");
    ASSERT_NE(id, "") << "no grandchild was started";
    ASSERT_NE(id, "0");
    const UniqueHandle grandchild(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(std::stoul(id))));
    if (grandchild) {
        EXPECT_EQ(WaitForSingleObject(grandchild.get(), 10000), WAIT_OBJECT_0);
    }
}

TEST(ChildProcess, AwkwardNamesArriveUnchanged) {
    const std::wstring names[] = {L"two  blanks .stp",
                                  L"%41%TEMP%.stp",
                                  L"#&^'!;,=~`$@().stp",
                                  L"-leading.stp",
                                  L"@file.stp",
                                  L"\U0001F600.stp",
                                  L"\u05E9\u05DC\u05D5\u05DD.stp",
                                  L"e\u0301.stp",
                                  std::wstring(L"lone") + wchar_t(0xD83D) + L".stp",
                                  L"NUL.stp",
                                  L"trailing.",
                                  L"\u90E8\u54C1\u0447\u0430\u0441\u0442\u044C.stp",
                                  L"case.stp",
                                  L"CASE.stp",
                                  std::wstring(390, L'l') + L".stp",
                                  L"back\\slash\\"};
    std::vector<std::wstring> list(std::begin(names), std::end(names));
    const LibraryLog log;
    LastStatus status;
    const ConversionJob job = Job(list);
    RunConversions(job, status);
    std::set<std::wstring> expected, inputs, outputs;
    for (const std::wstring& name : list) expected.insert(WithLongPrefix(job.files[0].folder + L"\\" + name));
    for (const LibraryCall& call : log.Calls()) {
        inputs.insert(call.input);
        outputs.insert(call.output);
    }
    EXPECT_EQ(inputs, expected);
    EXPECT_EQ(outputs.size(), list.size());
    EXPECT_TRUE(outputs.contains(L"C:\\out dir\\CASE (2).stl"));
    EXPECT_TRUE(outputs.contains(L"C:\\out dir\\\u05E9\u05DC\u05D5\u05DD.stl"));
    EXPECT_TRUE(outputs.contains(WithLongPrefix(L"C:\\out dir\\" + std::wstring(390, L'l') + L".stl")));
}

TEST(ChildProcess, CommandLineSplitsBackIntoItsArguments) {
    EXPECT_EQ(ChildCommandLine(L"C:\\p x\\Morvex.exe", {L"C:\\a b.stp", L"D:\\out\\", L"", L"C:\\s"}),
              L"\"C:\\p x\\Morvex.exe\" \"C:\\a b.stp\" \"D:\\out\\\\\" \"\" \"C:\\s\"");
}

}  // namespace
}  // namespace morvex
