// Runs with four workers and a window that is told of them, in every way in which they can end. The sanitizer
// reports races and makes the exit code 66; what a run told wrongly makes it 1.
#include <cstdio>
#include <map>
#include <string>
#include <thread>

#include "tests/races/system.h"
#include "ui/run_worker.h"

namespace morvex {
namespace {

constexpr size_t kFiles = 400;

ConversionJob Job(const std::wstring& odd, bool multiprocess = true) {
    ConversionJob job;
    // Equal names: their outputs get numbers, and are claimed one after the other.
    for (size_t i = 0; i < kFiles; ++i)
        job.files.push_back({L"C:\\" + std::to_wstring(i), i % 10 == 3 ? odd + L".stp" : L"part.stp"});
    job.request.formats = {L"", L"", 4, 22, L".stl"};
    job.request.outputFolder = L"C:\\out";
    job.request.crashLog = L"C:\\log";
    job.request.program = L"C:\\Morvex.exe";
    job.request.developerMode = true;
    job.request.multiprocess = multiprocess;
    return job;
}

struct Told {
    std::map<size_t, RowState> last;
    size_t done = 0;
    std::optional<RunOutcome> outcome;
};

// The window's side: takes what is told until the run is over.
Told Listen(RunWorker& worker, test::MessageQueue& window, size_t stopAfter) {
    Told told;
    while (!told.outcome && window.Wait()) {
        RunNews news = worker.Take();
        for (const auto& [row, status] : news.statuses) told.last[row] = status.state;
        told.done += news.done;
        told.outcome = std::move(news.outcome);
        if (told.done >= stopAfter) worker.Stop();
    }
    return told;
}

bool TellsTheTruth(const char* what, const ConversionJob& job, size_t stopAfter, size_t failed) {
    test::MessageQueue window;
    RunWorker worker;
    worker.Open(&window, 1);
    worker.Start(job);
    const Told told = Listen(worker, window, stopAfter);
    size_t final = 0, ended = 0;
    for (const auto& [row, state] : told.last) {
        final += row < kFiles && state != RowState::Running && state != RowState::Idle;
        ended += row < kFiles && state != RowState::NotConverted;
    }
    const bool right =
        told.outcome && final == kFiles && ended == told.done && told.outcome->failed == failed;
    if (!right)
        std::fprintf(stderr, "%s: %zu rows final, %zu ended, %zu told\n", what, final, ended, told.done);
    return right;
}

// The window goes in the middle of a run.
void DropARun() {
    test::MessageQueue window;
    RunWorker worker;
    worker.Open(&window, 1);
    worker.Start(Job(L"died"));
    for (int i = 0; i < 5; ++i) {
        window.Wait();
        if (worker.Take().outcome) return;
    }
}

}  // namespace
}  // namespace morvex

int main() {
    using namespace morvex;
    constexpr size_t kNever = 2 * kFiles;
    bool good = TellsTheTruth("all", Job(L"part"), kNever, 0);
    good &= TellsTheTruth("deaths", Job(L"died"), kNever, kFiles / 10);
    good &= TellsTheTruth("time limit", Job(L"late"), kNever, kFiles / 10);
    good &= TellsTheTruth("not started", Job(L"not started"), kNever, 0);
    good &= TellsTheTruth("stopped", Job(L"part"), kFiles / 3, 0);
    good &= TellsTheTruth("in process", Job(L"part", false), kNever, 0);
    good &= TellsTheTruth("no library", Job(L"abandoned"), kNever, 0);
    DropARun();
    std::puts(good ? "Every run told the truth" : "A run told something wrong");
    return good ? 0 : 1;
}
