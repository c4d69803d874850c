#include "convert/conversion_run.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <exception>
#include <memory>
#include <mutex>
#include <omp.h>
#include <optional>
#include <utility>

#include "convert/child_process.h"
#include "convert/crash_log.h"
#include "convert/in_process.h"
#include "convert/output_plan.h"
#include "convert/output_watch.h"
#include "res/string_ids.h"
#include "win/environment.h"
#include "win/file_identity.h"
#include "win/paths.h"

namespace morvex {
namespace {

std::wstring MessageOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& known) {
        const std::string what = known.what();
        return {what.begin(), what.end()};
    } catch (...) {
        return L"Unknown exception";
    }
}

// How one file's conversion ended.
struct FileEnd {
    RowStatus status;
    bool whole = true;  // it came to its end: what lies at the output is what the library meant to leave
};

// Asks a library in this process for pictures as long as it lives.
class PictureWish {
  public:
    PictureWish() { SetEnvironmentVariableW(kPictureVariable, L"1"); }
    ~PictureWish() { SetEnvironmentVariableW(kPictureVariable, before_.empty() ? nullptr : before_.c_str()); }
    PictureWish(const PictureWish&) = delete;
    PictureWish& operator=(const PictureWish&) = delete;

  private:
    const std::wstring before_ = EnvironmentText(kPictureVariable);
};

ConversionEnd EndOf(ChildEnd::Kind kind) {
    using Kind = ChildEnd::Kind;
    if (kind == Kind::NotStarted) return ConversionEnd::NotStarted;
    if (kind == Kind::TimedOut) return ConversionEnd::TimedOut;
    return kind == Kind::Finished ? ConversionEnd::Told : ConversionEnd::Crashed;
}

class Run {
  public:
    Run(const ConversionJob& job, RunObserver& observer)
        : request_(job.request),
          job_(job),
          observer_(observer),
          count_(job.files.size()),
          workers_(request_.multiprocess ? std::clamp(static_cast<int>(count_), 1, omp_get_max_threads())
                                         : 1),
          log_(request_.crashLog),
          states_(count_, RowState::Idle) {
        if (request_.multiprocess)
            children_ = std::make_unique<ChildRunner>(request_, workers_);
        else if (request_.pictures)
            pictures_.emplace();
        if (!job.output) plan_ = std::make_unique<OutputPlan>(job.files, request_, job.kept);
    }

    RunOutcome ConvertAll() {
        log_.RunStarts(count_);
        const auto files = static_cast<std::ptrdiff_t>(count_);
#pragma omp parallel for schedule(dynamic, 1) num_threads(workers_)
        for (std::ptrdiff_t row = 0; row < files; ++row) ConvertOrKeepFailure(static_cast<size_t>(row));
        if (failure_) Abandon(MessageOf(failure_));
        TellRowsLeft();
        if (request_.developerMode) {
            RowStatus total;
            total.text += Format(L" [%g]", seconds_);
            observer_.OnStatus(count_, total);
        }
        log_.RunEnds();
        return outcome_;
    }

  private:
    // No exception may leave the parallel region: the first is kept, the rest of the run skipped.
    void ConvertOrKeepFailure(size_t row) noexcept {
        try {
            if (!ended_ && !observer_.StopRequested()) Convert(row);
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            ended_ = true;
        }
    }

    void Convert(size_t row) {
        const std::wstring input = WithLongPrefix(JoinPath(job_.files[row].folder, job_.files[row].name));
        const std::wstring output = job_.output ? *job_.output : plan_->Claim(row);
        RowStatus status = StatusOfState(RowState::Running, request_.text);
        status.output = output;
        Tell(row, status);
        log_.FileStarts(input);
        const OutputWatch watch(output);
        const std::clock_t start = std::clock();
        std::optional<FileEnd> end;
        // However the paths are spelled, the input is never written.
        if (watch.Existed() && SameFile(output, input))
            end = FileEnd{Status(kResultCannotWrite)};
        else
            end = children_ ? ConvertInChild(row, input, watch) : ConvertHere(row, input, output);
        if (!end) return;  // the run is abandoned
        if (!end->whole) watch.RemoveHalfWritten();
        if (end->status.state != RowState::Converted) {
            watch.RemoveStaleReport();
            if (std::wstring told = watch.ReadReason(); !told.empty()) end->status.reason = std::move(told);
        }
        end->status.output = output;
        Finish(row, std::move(end->status), (std::clock() - start) / CLOCKS_PER_SEC);
    }

    std::optional<FileEnd> ConvertInChild(size_t row, const std::wstring& input, const OutputWatch& watch) {
        using Kind = ChildEnd::Kind;
        ChildEnd end = children_->Run({input, watch.Output(), request_.configFile, request_.schemaFolder},
                                      {[this] { return observer_.StopRequested(); },
                                       [this, row](int percent) { observer_.OnProgress(row, percent); },
                                       [&watch] { return watch.OutputIsThere(); }});
        if (end.kind == Kind::Stopped) return FileEnd{StatusOfState(RowState::Stopped, request_.text), false};
        if (end.kind == Kind::Abandoned) {
            Abandon(end.message);
            return std::nullopt;
        }
        if (end.kind == Kind::NotStarted) TellNotStarted();
        const bool ended = end.kind == Kind::Died || end.kind == Kind::Greedy || end.kind == Kind::TimedOut;
        FileEnd file{Status(end.result, EndOf(end.kind)), !ended};
        if (end.kind != Kind::Finished) file.status.reason = std::move(end.message);
        return file;
    }

    // Children that cannot be started leave the user with rows that read as converted. When the reason is
    // that the program's file has gone, no other child can be started either.
    void TellNotStarted() {
        if (!PathExists(request_.program))
            Abandon(request_.text(IDS_COMPONENT_MISSING) + L" : " + request_.program);
        const std::lock_guard lock(mutex_);
        ++outcome_.notStarted;
    }

    std::optional<FileEnd> ConvertHere(size_t row, const std::wstring& input, const std::wstring& output) {
        using Library = InProcessResult::Library;
        constexpr size_t kMarkedPosition = 33;  // the library expects its mark there too
        const bool marked = row == 0 || row == kMarkedPosition || row + 1 == count_;
        const int files = static_cast<int>(count_);
        const InProcessResult end =
            ConvertInProcess(request_, input, output, marked ? -files : files,
                             [this, row](int percent) { observer_.OnProgress(row, percent); });
        if (end.library == Library::NotLoaded) {
            const std::wstring name = request_.formats.InProgressGroup()
                                          ? std::wstring(FileNameOf(request_.libraryPath))
                                          : request_.libraryPath;
            Abandon(request_.text(IDS_COMPONENT_MISSING) + L" : " + name);
        }
        if (end.library == Library::WithoutEntries) Abandon({});
        if (end.library != Library::Usable) return std::nullopt;
        if (end.crashed) log_.FileCrashed();
        if (!end.crashed) return FileEnd{Status(end.result)};
        FileEnd crash{Status(end.result, ConversionEnd::Crashed), false};
        crash.status.reason = request_.text(IDS_REASON_CRASHED);
        return crash;
    }

    RowStatus Status(int result, ConversionEnd end = ConversionEnd::Told) const {
        return StatusOfResult(result, request_.text, end);
    }

    // The first reason stands.
    void Abandon(const std::wstring& message) {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        if (outcome_.abandoned) return;
        outcome_.abandoned = true;
        outcome_.message = message;
    }

    void Finish(size_t row, RowStatus status, long seconds) {
        if (request_.developerMode) {
            status.developerSeconds = seconds;
            status.text = StatusText(status, request_.text);
        }
        {
            const std::lock_guard lock(mutex_);
            outcome_.lastResult = status.result;
            outcome_.failed += status.state == RowState::Failed;
            seconds_ += static_cast<double>(seconds);
        }
        Tell(row, status);
    }

    void Tell(size_t row, const RowStatus& status) {
        states_[row] = status.state;
        observer_.OnStatus(row, status);
    }

    // After a run that ended before its time.
    void TellRowsLeft() {
        if (outcome_.abandoned) outcome_.lastResult = kResultFailed;
        for (size_t row = 0; row < count_; ++row) {
            if (states_[row] == RowState::Idle || states_[row] == RowState::Running)
                Tell(row, StatusOfState(RowState::NotConverted, request_.text));
        }
    }

    const ConversionRequest& request_;
    const ConversionJob& job_;
    RunObserver& observer_;
    const size_t count_;
    const int workers_;
    CrashLog log_;
    std::unique_ptr<ChildRunner> children_;  // only in a multiprocess run
    std::optional<PictureWish> pictures_;    // only in another one that wants them
    std::unique_ptr<OutputPlan> plan_;       // unless the job names the output
    std::vector<RowState> states_;           // each row is one worker's at a time

    std::atomic<bool> ended_ = false;
    std::mutex mutex_;  // guards what follows
    RunOutcome outcome_;
    double seconds_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

RunOutcome RunConversions(const ConversionJob& job, RunObserver& observer) noexcept {
    try {
        return Run(job, observer).ConvertAll();
    } catch (...) {
        return {
            .lastResult = kResultFailed, .abandoned = true, .message = MessageOf(std::current_exception())};
    }
}

}  // namespace morvex
