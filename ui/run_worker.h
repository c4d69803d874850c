#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "convert/conversion_run.h"

namespace morvex {

// What happened in a run since it was last asked, in the order of a reader's interest.
struct RunNews {
    std::vector<std::pair<size_t, RowStatus>> statuses;  // by row, oldest first
    std::optional<size_t> file;                          // the row of the file begun last
    std::optional<int> percent;                          // of that file
    size_t done = 0;                                     // files ended in the whole run
    size_t failed = 0;                                   // of these, those that were not converted
    std::optional<RunOutcome> outcome;                   // the run is over
};

// Makes runs on a thread of its own and collects what they tell. `notify` is called on that thread (or one of
// the run's), once for all news until they are taken; every other function belongs to one thread.
class RunWorker : private RunObserver {
  public:
    explicit RunWorker(std::function<void()> notify) : notify_(std::move(notify)) {}
    // Asks the run to end before its next file and waits for it.
    ~RunWorker() override;

    // No run may be active.
    void Start(ConversionJob job);
    // From Start until the outcome has been taken.
    bool Active() const { return thread_.joinable(); }
    RunNews Take();

  private:
    void OnStatus(size_t row, const RowStatus& status) override;
    void OnProgress(int percent) override;
    bool StopRequested() override { return stop_; }
    void Run(const ConversionJob& job);
    // Changes the news under the lock and notifies if nobody has been yet.
    template <class Change>
    void Tell(Change change);

    std::function<void()> notify_;
    std::atomic<bool> stop_ = false;
    std::mutex mutex_;  // guards what follows
    RunNews news_;
    bool told_ = false;

    std::jthread thread_;  // last: ends before what it uses
};

}  // namespace morvex
