#include "batch/batch_run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

#include "batch/batch_plan.h"
#include "batch/batch_results.h"
#include "batch/hot_folder.h"
#include "batch/source_finder.h"
#include "batch/stop_request.h"
#include "convert/conversion_run.h"
#include "win/paths.h"
#include "win/utf8.h"

namespace morvex {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Sees one file through its conversion.
struct FileObserver : RunObserver {
    void OnStatus(size_t row, const RowStatus& now) override {
        if (row == 0) status = now;
    }
    bool StopRequested() override { return CurrentStop() == StopRequest::EndAll; }
    RowStatus status;
};

class Batch {
  public:
    Batch(AppContext& context, const BatchOptions& options, BatchFormats& formats)
        : options_(options),
          requests_(context, options, formats),
          history_(names_),
          results_(options),
          finder_(options, formats, names_, list_,
                  [this](const std::wstring& path, const std::wstring& reason) {
                      // Every shard finds it; one tells it.
                      if (options_.shard == 1) results_.CannotList(path, reason);
                  }),
          hotFolder_(options, formats, names_, list_),
          plan_(options, list_, requests_, names_, &history_,
                [this](const BatchTask& task, const RefusedTask& refused) {
                    results_.Refused(task, refused);
                    hotFolder_.Ended(task.input);
                }) {}

    int Run() {
        if (const std::wstring wrong = Prepare(); !wrong.empty()) {
            BatchConsole::Complain(wrong);
            return kExitUsage;
        }
        std::jthread finding([this](const std::stop_token& stop) { Find(stop); });
        {
            std::vector<std::jthread> workers;
            const unsigned count = options_.dryRun ? 1 : options_.children;
            for (working_ = count; workers.size() < count;) workers.emplace_back([this] { Work(); });
            while (working_ > 0) {
                results_.ShowProgress(Counts());
                std::unique_lock lock(mutex_);
                idle_.wait_for(lock, std::chrono::milliseconds(200), [this] { return working_ == 0; });
            }
        }
        const int code = End();
        finding.request_stop();
        EndWithoutFinder(code);
        return code;
    }

  private:
    std::wstring Prepare() {
        if (std::wstring wrong = requests_.Obstacle(); !wrong.empty()) return wrong;
        if (!options_.watch.empty() && !FolderExists(options_.watch))
            return L"There is no folder " + options_.watch;
        if (options_.retryFailed && !PathExists(options_.resume))
            return L"There is no log " + options_.resume;
        if (!options_.resume.empty()) {
            if (std::wstring wrong = history_.Read(options_.resume, JobHistory::Outputs::Keep);
                !wrong.empty())
                return wrong;
        } else if (options_.skipExisting && !options_.log.empty()) {
            if (std::wstring wrong = history_.Read(options_.log, JobHistory::Outputs::Ignore); !wrong.empty())
                return wrong;
        }
        return results_.Open();
    }

    // On a thread of its own, side by side with the conversions.
    void Find(const std::stop_token& stop) noexcept {
        try {
            if (!options_.watch.empty()) {
                Abandon(hotFolder_.Watch(stop));
            } else if (options_.retryFailed && options_.paths.empty() && !options_.filesFrom) {
                history_.ForEachFailed([this](const JobRecord& record) { finder_.AddFile(record.input); });
            } else {
                finder_.FindAll(stop);
            }
        } catch (const std::exception& failure) {
            Abandon(FromUtf8(failure.what()));
        }
        list_.Complete();
    }

    void Work() noexcept {
        try {
            while (std::optional<BatchTask> task = plan_.Next([this] { return Ending(); })) {
                if (options_.dryRun)
                    results_.Planned(*task);
                else
                    Convert(*task);
                hotFolder_.Ended(task->input);
            }
        } catch (const std::exception& failure) {
            Abandon(FromUtf8(failure.what()));
        }
        const std::lock_guard lock(mutex_);
        --working_;
        idle_.notify_all();
    }

    void Convert(const BatchTask& task) {
        JobRecord record;
        record.start = LogTimeNow();
        record.inputBytes = task.inputBytes;
        record.input = task.input;
        record.output = WithoutLongPrefix(task.output);
        const Clock::time_point start = Clock::now();
        const ConversionJob job{task.request,
                                {{std::wstring(FolderOf(task.input)), std::wstring(FileNameOf(task.input))}},
                                task.output};
        FileObserver observer;
        unsigned attempts = 0;
        do {
            ++attempts;
            const RunOutcome outcome = RunConversions(job, observer);
            if (outcome.abandoned)
                return Abandon(outcome.message.empty() ? L"The conversion library is of no use"
                                                       : outcome.message);
        } while (ToRepeat(observer.status.end) && attempts <= options_.retries && !Ending());
        const RowStatus& status = observer.status;
        // The user has ended it, so the log knows nothing of it and a resumed batch does it again.
        if (status.state != RowState::Converted && status.state != RowState::Failed) return;
        record.seconds = SecondsSince(start);
        record.result = status.result;
        if (status.state == RowState::Failed)
            record.reason = status.reason.empty() ? status.text : status.reason;
        if (status.end == ConversionEnd::NotStarted) {
            record.result = kResultFailed;
            record.reason = status.reason;
        }
        if (record.result == kResultOk) record.outputBytes = FileSizeOf(task.output).value_or(0);
        results_.Ended(record, attempts);
    }

    // Whoever waits for paths on standard input cannot be told to stop.
    void EndWithoutFinder(int code) {
        constexpr int kMoments = 10;
        for (int i = 0; i < kMoments; ++i) {
            if (list_.WaitUntilComplete()) return;
        }
        requests_.RemoveTemporaryConfigs();
        ExitProcess(static_cast<UINT>(code));
    }

    static bool ToRepeat(ConversionEnd end) {
        return end == ConversionEnd::Crashed || end == ConversionEnd::TimedOut;
    }

    // Nothing more is to be begun.
    bool Ending() const { return abandoned_ || CurrentStop() != StopRequest::None || results_.Broken(); }

    // The first reason stands; an empty one is none.
    void Abandon(const std::wstring& reason) {
        if (reason.empty() || abandoned_.exchange(true)) return;
        BatchConsole::Complain(reason);
    }

    BatchCounts Counts() const {
        BatchCounts counts = results_.Counts();
        counts.listed += plan_.Mine();
        counts.allListed = list_.IsComplete();
        counts.seconds = SecondsSince(start_);
        return counts;
    }

    int End() {
        const BatchCounts counts = Counts();
        const size_t left = counts.listed - std::min(counts.listed, counts.Finished());
        const bool stopped = CurrentStop() != StopRequest::None;
        std::wstring why;
        if (stopped && options_.watch.empty())
            why = L"stopped; " + std::to_wstring(left) +
                  (counts.allListed ? L" files are left" : L" files or more are left");
        results_.Close(counts, finder_.LeftAside(), why);
        if (stopped && !abandoned_ && !results_.Broken()) return kExitStopped;
        const size_t failed = counts.Of(FileState::Failed) + counts.Of(FileState::FailedBefore) + left +
                              (abandoned_ || results_.Broken());
        return static_cast<int>(std::min<size_t>(failed, kMostFailures));
    }

    const BatchOptions& options_;
    const Clock::time_point start_ = Clock::now();
    OutputNames names_;
    SourceList list_;
    BatchRequests requests_;
    JobHistory history_;
    BatchResults results_;
    SourceFinder finder_;
    HotFolder hotFolder_;
    BatchPlan plan_;
    std::atomic<bool> abandoned_ = false;

    std::mutex mutex_;  // guards what follows
    std::condition_variable idle_;
    std::atomic<unsigned> working_ = 0;
};

// The formats that the command line leaves open are those of the first list file on it.
void TakeFormatsOfListFile(BatchOptions& options) {
    for (const std::wstring& path : options.paths) {
        if (!options.to.empty()) return;
        const ListFormats formats = FormatsOfListFile(path);
        options.to = formats.output;
        if (options.from.empty()) options.from = formats.input;
    }
}

}  // namespace

int RunBatch(AppContext& context, BatchOptions options) {
    TakeFormatsOfListFile(options);
    if (options.children == 0) options.children = std::max(1U, std::thread::hardware_concurrency());
    std::wstring error;
    BatchFormats formats(context.pairs, options.from, options.to, error);
    if (!error.empty()) {
        BatchConsole::Complain(error);
        return kExitUsage;
    }
    ListenForStop();
    return Batch(context, options, formats).Run();
}

}  // namespace morvex
