#include "convert/conversion_run.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <memory>
#include <mutex>
#include <omp.h>

#include "convert/child_process.h"
#include "convert/conversion_library.h"
#include "convert/crash_guard.h"
#include "convert/crash_log.h"
#include "convert/elapsed_text.h"
#include "res/string_ids.h"
#include "win/paths.h"

namespace morvex {
namespace {

// Where the library's call-back finds the observer of the conversion that this process is making: it carries
// no context. There is at most one such conversion at a time.
struct ProgressTarget {
    RunObserver& observer;
    std::exception_ptr failure;  // what left the observer; it must not cross the library's frames
};
std::atomic<ProgressTarget*> progressTarget = nullptr;

void OnLibraryProgress(const int* phase, const int* percent) {
    ProgressTarget* const target = progressTarget;
    if (!phase || !percent || *phase < 1 || !target) return;
    try {
        target->observer.OnProgress(std::clamp(*percent, 0, 100));
    } catch (...) {
        target->failure = std::current_exception();
    }
}

// The library's call with its arguments, in the shape that the guard can call.
struct LibraryCall {
    ZelConvert convert;
    const ConversionRequest& request;
    std::wstring input;
    const std::wstring& output;
    int runSize;

    int operator()() const {
        constexpr int kAlone = 0;  // a multiprocess run makes no call in this process
        const ConversionFormats& formats = request.formats;
        const int option = formats.InProgressGroup() ? 1 : request.developerMode ? request.healing : 0;
        return convert(formats.inputCode, formats.outputCode, input.c_str(), output.c_str(),
                       request.configFile.c_str(), request.schemaFolder.c_str(), OnLibraryProgress, kAlone,
                       nullptr, option, request.developerMode ? -5 : 0, 0, runSize);
    }
    static int Invoke(void* call) { return (*static_cast<const LibraryCall*>(call))(); }
};

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

class Run {
  public:
    Run(const ConversionJob& job, RunObserver& observer)
        : request_(job.request),
          job_(job),
          observer_(observer),
          count_(job.files.size()),
          log_(request_.crashLog),
          states_(count_, RowState::Idle) {
        if (request_.multiprocess) children_ = std::make_unique<ChildRunner>(request_);
    }

    RunOutcome ConvertAll() {
        log_.RunStarts(count_);
        // The analyser does not see the loop's clause. NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores)
        const int workers = children_ ? omp_get_max_threads() : 1;
        const auto files = static_cast<std::ptrdiff_t>(count_);
#pragma omp parallel for schedule(dynamic, 1) num_threads(workers)
        for (std::ptrdiff_t row = 0; row < files; ++row) ConvertOrKeepFailure(static_cast<size_t>(row));
        if (failure_) Abandon(MessageOf(failure_));
        TellRowsLeft();
        if (request_.developerMode) {
            observer_.OnStatus(count_, {RowState::Idle, kResultOk, kStatusNone + Format(L" [%g]", seconds_)});
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
        std::unique_ptr<ConversionLibrary> library;
        if (!children_) {
            library = std::make_unique<ConversionLibrary>(request_.libraryPath);
            if (!Usable(*library)) return;
        }
        const SourceFile& source = job_.files[row];
        const std::wstring input = JoinPath(source.folder, source.name);
        Tell(row, StatusOfState(RowState::Running, request_.text));
        log_.FileStarts(input);
        const std::clock_t start = std::clock();
        int result = kResultCannotWrite;
        // However the paths are spelled, the input is never written.
        if (!SameFile(job_.outputs[row], input)) {
            result =
                children_
                    ? children_->Run({input, job_.outputs[row], request_.configFile, request_.schemaFolder})
                    : CallLibrary(*library, row, input);
        }
        Finish(row, result, (std::clock() - start) / CLOCKS_PER_SEC);
    }

    // A library that cannot be used ends the whole run.
    bool Usable(const ConversionLibrary& library) {
        const bool progressGroup = request_.formats.InProgressGroup();
        if (library.Loaded() && (progressGroup || library.ConvertEntry() || library.HasExecute()))
            return true;
        std::wstring message;
        if (!library.Loaded()) {
            const std::wstring name =
                progressGroup ? std::wstring(FileNameOf(request_.libraryPath)) : request_.libraryPath;
            message = request_.text(IDS_COMPONENT_MISSING) + L" : " + name;
        }
        Abandon(message);
        return false;
    }

    void Abandon(const std::wstring& message) {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        outcome_.abandoned = true;
        outcome_.lastResult = kResultFailed;
        outcome_.message = message;
    }

    int CallLibrary(const ConversionLibrary& library, size_t row, const std::wstring& input) {
        constexpr size_t kMarkedPosition = 33;  // the library expects its mark there too
        if (!library.ConvertEntry()) return kResultFailed;
        const bool marked = row == 0 || row == kMarkedPosition || row + 1 == count_;
        const int files = static_cast<int>(count_);
        LibraryCall call{library.ConvertEntry(), request_, input, job_.outputs[row], marked ? -files : files};
        ProgressTarget target{observer_, nullptr};
        progressTarget = &target;
        int result = kResultFailed;
        if (request_.guarded) {
            const GuardedResult guarded = CallGuarded(LibraryCall::Invoke, &call);
            if (guarded.fault)
                log_.FileCrashed();
            else
                result = guarded.value;
        } else {
            result = call();
        }
        progressTarget = nullptr;
        if (target.failure) std::rethrow_exception(target.failure);
        return result;
    }

    void Finish(size_t row, int result, long seconds) {
        RowStatus status = StatusOfResult(result, request_.text, request_.developerMode);
        if (request_.developerMode) status.text += ElapsedText(seconds);
        {
            const std::lock_guard lock(mutex_);
            outcome_.lastResult = result;
            outcome_.failed += result != kResultOk;
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
        for (size_t row = 0; row < count_; ++row) {
            if (states_[row] == RowState::Running)
                Tell(row, StatusOfResult(kResultFailed, request_.text, request_.developerMode));
            else if (states_[row] == RowState::Idle)
                Tell(row, StatusOfState(RowState::NotConverted, request_.text));
        }
    }

    const ConversionRequest& request_;
    const ConversionJob& job_;
    RunObserver& observer_;
    const size_t count_;
    CrashLog log_;
    std::unique_ptr<ChildRunner> children_;  // only in a multiprocess run
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
