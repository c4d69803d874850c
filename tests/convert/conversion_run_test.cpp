#include "convert/conversion_run.h"

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <tuple>

#include "convert/conversion_library.h"
#include "convert/elapsed_text.h"
#include "tests/support/library_log.h"
#include "win/paths.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryCall;
using test::LibraryLog;
using test::TempFolder;

// Keeps what a run says, from any thread.
class Recorder : public RunObserver {
  public:
    void OnStatus(size_t row, const RowStatus& status) override {
        const std::lock_guard lock(mutex_);
        statuses[row].push_back(status.text);
        last[row] = status;
    }
    void OnProgress(size_t, int percent) override { percents.push_back(percent); }
    bool StopRequested() override { return stop; }
    std::wstring Last(size_t row) { return statuses[row].empty() ? L"" : statuses[row].back(); }

    std::map<size_t, std::vector<std::wstring>> statuses;
    std::map<size_t, RowStatus> last;
    std::vector<int> percents;
    bool stop = false;

  private:
    std::mutex mutex_;
};

ConversionJob Job(const std::vector<std::wstring>& names,
                  const std::wstring& library = LibraryLog::LibraryPath()) {
    ConversionJob job;
    for (const std::wstring& name : names) {
        job.files.push_back({L"C:\\in", name});
    }
    job.request.formats = {L"", L"", 4, 22, L".stl"};
    job.request.outputFolder = L"C:\\out";
    job.request.configFile = L"C:\\conf dir\\c.zel";
    job.request.schemaFolder = L"C:\\schema";
    job.request.libraryPath = library;
    return job;
}

std::vector<std::wstring> Names(size_t count) {
    std::vector<std::wstring> names;
    for (size_t i = 0; i < count; ++i) names.push_back(L"f" + std::to_wstring(i) + L".stp");
    return names;
}

TEST(ConversionRun, CallsTheLibraryAsItExpects) {
    const LibraryLog log;
    Recorder recorder;
    ConversionJob job = Job({L"a b.stp"});
    EXPECT_EQ(RunConversions(job, recorder).lastResult, 0);
    job.request.developerMode = true;
    job.request.healing = 1;
    RunConversions(job, recorder);
    job.request.formats.outputCode = 13;  // a progress-group format
    job.request.healing = 0;
    RunConversions(job, recorder);
    const std::vector<LibraryCall> calls = log.Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].inputFormat, 4);
    EXPECT_EQ(calls[0].outputFormat, 22);
    EXPECT_EQ(calls[0].input, L"C:\\in\\a b.stp");
    EXPECT_EQ(calls[0].output, L"C:\\out\\a b.stl");
    EXPECT_EQ(calls[0].config, L"C:\\conf dir\\c.zel");
    EXPECT_EQ(calls[0].schema, L"C:\\schema");
    const auto tail = [](const LibraryCall& c) {
        return std::vector<int>{c.hasProgress, c.parallel,  c.hasReserved, c.option,
                                c.traceLevel,  c.reserved2, c.runSize};
    };
    EXPECT_EQ(tail(calls[0]), (std::vector<int>{1, 0, 0, 0, 0, 0, -1}));
    EXPECT_EQ(tail(calls[1]), (std::vector<int>{1, 0, 0, 1, -5, 0, -1}));
    EXPECT_EQ(tail(calls[2]), (std::vector<int>{1, 0, 0, 1, -5, 0, -1}));
}

TEST(ConversionRun, MarksFirstThirtyFourthAndLastFile) {
    const LibraryLog log;
    Recorder recorder;
    RunConversions(Job(Names(36)), recorder);
    const std::vector<LibraryCall> calls = log.Calls();
    ASSERT_EQ(calls.size(), 36u);
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].runSize, i == 0 || i == 33 || i == 35 ? -36 : 36) << i;
    }
    EXPECT_EQ(recorder.statuses[5], (std::vector<std::wstring>{L"In progress...", L"OK"}));
}

TEST(ConversionRun, TurnsResultsIntoStatusTexts) {
    const std::map<int, std::wstring> texts = {
        {0, L"OK"},
        {-2, L"Cannot open File"},
        {-5, L"Corrupted File"},
        {-31, L"Corrupted File"},
        {-15, L"No Schema Directory"},
        {-22, L"Cannot open Input File"},
        {-23, L"Cannot write Output File"},
        {-27, L"File version Not Supported"},
        {-28, L"No File"},
        {-29, L"Unknown File Type"},
        {-30, L"Unknown File Type"},
        {-32, L"Empty File"},
        {-34, L"Empty File"},
        {-38, L"Future File Version Not Yet Supported"},
    };
    std::vector<std::wstring> names;
    for (int result = -40; result <= 2; ++result)
        names.push_back(L"{result=" + std::to_wstring(result) + L"}.stp");
    const LibraryLog log;
    for (const bool developer : {false, true}) {
        Recorder recorder;
        ConversionJob job = Job(names);
        job.request.developerMode = developer;
        const RunOutcome outcome = RunConversions(job, recorder);
        EXPECT_EQ(outcome.lastResult, 2);
        EXPECT_EQ(outcome.failed, names.size() - 1);
        for (int result = -40; result <= 2; ++result) {
            const auto known = texts.find(result);
            std::wstring expected = known != texts.end() ? known->second
                                    : developer          ? std::to_wstring(result)
                                                         : L"KO";
            if (developer) expected += L" [0.00 sec]";
            const RowStatus& status = recorder.last[static_cast<size_t>(result + 40)];
            EXPECT_EQ(status.text, expected);
            EXPECT_EQ(status.result, result);
            EXPECT_EQ(status.state, result == 0 ? RowState::Converted : RowState::Failed);
        }
        if (developer) {
            EXPECT_EQ(recorder.Last(names.size()), L"- [0]");
        }
    }
}

TEST(ConversionRun, SurvivesFaultsOfTheLibrary) {
    const LibraryLog log;
    const TempFolder folder;
    Recorder recorder;
    const std::vector<std::wstring> faults = {L"{read}.stp",  L"{throw}.stp",      L"{write}.stp",
                                              L"{raise}.stp", L"{exitthread}.stp", L"{output,read}.stp"};
    std::vector<std::wstring> names = faults;
    names.push_back(L"good.stp");
    ConversionJob job = Job(names);
    job.request.crashLog = folder / L"LogFileIfCrash.txt";
    const RunOutcome outcome = RunConversions(job, recorder);
    EXPECT_EQ(outcome.failed, faults.size());
    EXPECT_EQ(outcome.lastResult, 0);
    for (size_t row = 0; row < faults.size(); ++row) {
        EXPECT_EQ(recorder.Last(row), L"KO") << row;
        EXPECT_EQ(recorder.last[row].reason, L"The conversion library crashed") << row;
    }
    EXPECT_EQ(recorder.Last(faults.size()), L"OK");

    std::wstring expected = L"Nombre de fichiers \u00EF\u00BF\u00BD convertir: 7\r\n\r\n";
    for (const SourceFile& file : job.files) {
        expected += L"C:\\in\\" + file.name + L"\r\nD\u00EF\u00BF\u00BDbut de traitement...";
        if (file.name != L"good.stp") expected += L"Crash!!!\r\n";
    }
    expected += L"\r\nFin des conversions";
    EXPECT_EQ(test::ReadFileBytes(job.request.crashLog), test::Utf16Bytes(expected));
}

// What died while it wrote leaves nothing; what it had not come to write stays, the input above all.
TEST(ConversionRun, OldFilesOutliveTheFaultsOfTheLibrary) {
    const LibraryLog log(L"output,read");
    const TempFolder folder;
    Recorder recorder;
    ConversionJob job = Job({L"a.stp"});
    job.files[0].folder = folder.Path();
    test::WriteFileBytes(folder / L"a.stp", "input");
    const struct {
        std::wstring script, output;
        std::string left;
    } cases[] = {
        {L"read", L"a.stl", "old"}, {L"output,praise,read", L"a.stl", ""}, {L"output", L".\\a.stp", "input"}};
    for (const auto& [script, output, left] : cases) {
        SetEnvironmentVariableW(L"MORVEX_TEST_SCRIPT", script.c_str());
        if (output == L"a.stl") test::WriteFileBytes(folder / output, "old");
        job.output = folder / output;
        RunConversions(job, recorder);
        EXPECT_EQ(recorder.last[0].state, RowState::Failed);
        EXPECT_EQ(PathExists(*job.output), !left.empty());
        EXPECT_FALSE(PathExists(*job.output + L"-zel.xml"));
        EXPECT_EQ(test::ReadFileBytes(*job.output), left);
    }
    EXPECT_EQ(recorder.Last(0), L"Cannot write Output File");
}

// What a library changes for everybody is put back before the next file.
TEST(ConversionRun, LeavesTheProcessAsItWas) {
    const LibraryLog log;
    Recorder recorder;
    const auto state = [] {
        return std::tuple(std::filesystem::current_path(), GetPriorityClass(GetCurrentProcess()),
                          GetErrorMode(), std::string(std::setlocale(LC_ALL, nullptr)));
    };
    const auto before = state();
    RunConversions(Job({L"{disturb}.stp", L"{divide}.stp"}), recorder);
    EXPECT_EQ(recorder.Last(0) + recorder.Last(1), L"OKOK");
    EXPECT_EQ(state(), before);
}

TEST(ConversionRun, IsAbandonedWithoutAUsableLibrary) {
    const TempFolder folder;
    const std::wstring missing = folder / L"missing.dll";
    const std::wstring text = folder / L"Polyvane_x64.dll";
    test::WriteFileBytes(text, "no library at all");
    const struct {
        std::wstring library;
        int outputCode;
        bool abandoned;
        std::wstring message;
        std::wstring status;
    } cases[] = {
        {missing, 22, true, L"A component is missing : " + missing, L"Not converted"},
        {text, 22, true, L"A component is missing : " + text, L"Not converted"},
        {text, 7, true, L"A component is missing : Polyvane_x64.dll", L"Not converted"},
        {LibraryLog::LibraryPath(L"without_entries"), 22, true, L"", L"Not converted"},
        {LibraryLog::LibraryPath(L"without_entries"), 7, false, L"", L"KO"},
        {LibraryLog::LibraryPath(L"execute_only"), 22, false, L"", L"KO"},
    };
    for (const auto& c : cases) {
        Recorder recorder;
        ConversionJob job = Job(Names(2), c.library);
        job.request.formats.outputCode = c.outputCode;
        const RunOutcome outcome = RunConversions(job, recorder);
        EXPECT_EQ(outcome.abandoned, c.abandoned);
        EXPECT_EQ(outcome.message, c.message);
        EXPECT_EQ(outcome.lastResult, 1);
        EXPECT_EQ(recorder.Last(0), c.status);
        EXPECT_EQ(recorder.Last(1), c.status);
    }
}

TEST(ConversionRun, SaysTheReasonOfItsOwnReport) {
    const LibraryLog log;
    const TempFolder folder;
    Recorder recorder;
    ConversionJob job = Job({L"{report,result=-5}.stp", L"{result=-6}.stp", L"{result=-7}.stp", L"a.stp"});
    job.request.outputFolder = folder.Path();
    const auto report = [&](size_t row) {
        const std::wstring& name = job.files[row].name;
        return folder / (name.substr(0, name.rfind(L'.')) + L".stl-zel.xml");
    };
    for (size_t row = 0; row < job.files.size(); ++row)
        test::WriteFileBytes(report(row), "<reason>another day</reason>");
    SetFileAttributesW(report(2).c_str(), FILE_ATTRIBUTE_READONLY);  // it cannot be removed
    RunConversions(job, recorder);
    const wchar_t* const reasons[] = {L"1 < 2 &amp;",
                                      L"The conversion library answered -6 and gave no reason",
                                      L"The conversion library answered -7 and gave no reason", L""};
    for (size_t row = 0; row < job.files.size(); ++row) EXPECT_EQ(recorder.last[row].reason, reasons[row]);
    EXPECT_FALSE(PathExists(report(1)));
    EXPECT_TRUE(PathExists(report(3)));
    SetFileAttributesW(report(2).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(ConversionRun, ClampsProgressAndStopsOnRequest) {
    const LibraryLog log(L"progress");
    Recorder recorder;
    RunConversions(Job({L"a.stp"}), recorder);
    EXPECT_EQ(recorder.percents, (std::vector<int>{0, 50, 100}));
    recorder.stop = true;
    RunConversions(Job({L"b.stp"}), recorder);
    EXPECT_EQ(log.Calls().size(), 1u);
    EXPECT_EQ(recorder.last[0].state, RowState::NotConverted);
}

TEST(ConversionRun, ShowsElapsedTime) {
    EXPECT_EQ(ElapsedText(0), L" [0.00 sec]");
    EXPECT_EQ(ElapsedText(59), L" [59 sec]");
    EXPECT_EQ(ElapsedText(60), L" [ 1mn  0sec]");
    EXPECT_EQ(ElapsedText(3599), L" [59mn 59sec]");
    EXPECT_EQ(ElapsedText(3600), L" [ 1h  0mn  0sec]");
    EXPECT_EQ(ElapsedText(45296), L" [12h 34mn 56sec]");
}

TEST(ConversionLibrary, SaysWhichSettingsHaveAnEffect) {
    const std::vector<SettingName> names = {{L"MODIFICATION D'ATTRIBUT", L"VISIBILITY"},
                                            {L"PDF CONF", L"VISIBILITY"}};
    const std::vector<bool> unknown = {true, true};
    const std::wstring silent = std::wstring(FolderOf(ModulePath())) + L"\\execute_only\\Polyvane_x64.dll";
    EXPECT_EQ(AskForEffect(LibraryLog::LibraryPath(), names), (std::vector<bool>{true, false}));
    EXPECT_EQ(AskForEffect(silent, names), unknown);
    EXPECT_EQ(AskForEffect(L"C:\\none.dll", names), unknown);
    const LibraryLog log(L"version");  // its version queries fault
    EXPECT_EQ(AskForEffect(LibraryLog::LibraryPath(), names), unknown);
}

TEST(LibraryVersion, IsFormatted) {
    EXPECT_EQ((LibraryVersion{244, 20240930}.VersionText()), L"2024.4");
    EXPECT_EQ((LibraryVersion{250, 9999}.VersionText()), L"2025.0");
    EXPECT_EQ((LibraryVersion{244, 20240930}.ReleaseText()), L"2024.09.30");
    EXPECT_EQ((LibraryVersion{244, 9999}.ReleaseText()), L"9999");
    EXPECT_EQ((LibraryVersion{244, 10000}.ReleaseText()), L"1.00.00");
    ASSERT_TRUE(LibraryVersion::Query(LibraryLog::LibraryPath()));
    EXPECT_EQ(LibraryVersion::Query(LibraryLog::LibraryPath())->version, 244);
    EXPECT_FALSE(LibraryVersion::Query(LibraryLog::LibraryPath(L"without_entries")));
    EXPECT_FALSE(LibraryVersion::Query(L"C:\\no\\library.dll"));
}

}  // namespace
}  // namespace morvex
