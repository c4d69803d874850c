#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "convert/conversion_run.h"
#include "win/mailbox.h"

namespace morvex {

// What happened in a run since it was last asked, in the order of a reader's interest.
struct RunNews {
    std::vector<std::pair<size_t, RowStatus>> statuses;  // by row, oldest first
    std::optional<size_t> file;                          // the row of the file begun last
    std::map<size_t, int> percents;                      // by row: of files at work, where it changed
    size_t done = 0;                                     // files ended
    size_t failed = 0;                                   // of these, those that were not converted
    std::optional<RunOutcome> outcome;                   // the run is over
};

// Makes runs on a thread of its own; what they tell goes to a window. All functions belong to the window's
// thread.
class RunWorker : private RunObserver {
  public:
    // Before the first run: the window that is told, and the message that tells it.
    void Open(HWND window, UINT message) { mailbox_.Open(window, message); }
    // Stops the run and waits for it.
    ~RunWorker() override;

    // No run may be active.
    void Start(ConversionJob job);
    // From Start until the outcome has been taken.
    bool Active() const { return thread_.joinable(); }
    // The run begins no file any more and ends the children that run.
    void Stop() { stop_ = true; }
    // Everything told since the last time. Where the run's thread has ended without a word, the outcome is an
    // abandoned run.
    RunNews Take();

  private:
    bool ThreadEnded();
    void OnStatus(size_t row, const RowStatus& status) override;
    void OnProgress(size_t row, int percent) override;
    bool StopRequested() override { return stop_; }
    void Run(const ConversionJob& job);

    std::atomic<bool> stop_ = false;
    Mailbox<RunNews> mailbox_;
    std::jthread thread_;  // last: ends before what it uses
};

}  // namespace morvex
