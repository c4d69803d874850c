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
#include "convert/result_text.h"
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
    const ConversionJob& job;
    std::wstring input;
    const std::wstring& output;
    int runSize;

    int operator()() const {
        constexpr int kAlone = 0;  // a multiprocess run makes no call in this process
        const int option = job.ShowsProgress() ? 1 : job.developerMode ? job.healing : 0;
        return convert(job.inputCode, job.outputCode, input.c_str(), output.c_str(), job.configFile.c_str(),
                       job.schemaFolder.c_str(), OnLibraryProgress, kAlone, nullptr, option,
                       job.developerMode ? -5 : 0, 0, runSize);
    }
    static int Invoke(void* call) { return (*static_cast<const LibraryCall*>(call))(); }
};

class Run {
  public:
    Run(const ConversionJob& job, RunObserver& observer)
        : job_(job), observer_(observer), count_(job.files.size()), log_(job.crashLog) {
        if (job.multiprocess)
            children_ = std::make_unique<ChildRunner>(job.program, job.formatIn, job.formatOut);
    }

    RunOutcome ConvertAll() {
        log_.RunStarts(count_);
        observer_.OnRunStarted(count_);
        // The analyser does not see the loop's clause. NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores)
        const int workers = job_.multiprocess ? omp_get_max_threads() : 1;
        const auto files = static_cast<std::ptrdiff_t>(count_);
#pragma omp parallel for schedule(dynamic, 1) num_threads(workers)
        for (std::ptrdiff_t row = 0; row < files; ++row) ConvertOrKeepFailure(static_cast<size_t>(row));
        if (failure_) std::rethrow_exception(failure_);
        if (job_.developerMode) observer_.OnStatus(count_, L"-" + Format(L" [%g]", seconds_));
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
            library = std::make_unique<ConversionLibrary>(job_.libraryPath);
            if (!Usable(*library)) return;
        }
        const SourceFile& source = job_.files[row];
        const std::wstring input = JoinPath(source.folder, source.name);
        observer_.OnFileStarted(row, source.name);
        observer_.OnStatus(row, job_.text(IDS_IN_PROGRESS));
        log_.FileStarts(input);
        const std::clock_t start = std::clock();
        int result = kResultCannotWrite;
        // However the paths are spelled, the input is never written.
        if (!SameFile(job_.outputs[row], input)) {
            result = children_
                         ? children_->Run({input, job_.outputs[row], job_.configFile, job_.schemaFolder})
                         : CallLibrary(*library, row, input);
        }
        Finish(row, result, (std::clock() - start) / CLOCKS_PER_SEC);
    }

    // A library that cannot be used ends the whole run.
    bool Usable(const ConversionLibrary& library) {
        const bool required = job_.ShowsProgress() || library.Convert() || library.HasExecute();
        if (library.Loaded() && required) return true;
        const std::lock_guard lock(mutex_);
        ended_ = true;
        outcome_.abandoned = true;
        outcome_.lastResult = kResultFailed;
        if (!library.Loaded()) {
            const std::wstring name =
                job_.ShowsProgress() ? std::wstring(FileNameOf(job_.libraryPath)) : job_.libraryPath;
            outcome_.message = job_.text(IDS_COMPONENT_MISSING) + L" : " + name;
        }
        return false;
    }

    int CallLibrary(const ConversionLibrary& library, size_t row, const std::wstring& input) {
        constexpr size_t kMarkedPosition = 33;  // the library expects its mark there too
        if (!library.Convert()) return kResultFailed;
        const bool marked = row == 0 || row == kMarkedPosition || row + 1 == count_;
        const int files = static_cast<int>(count_);
        LibraryCall call{library.Convert(), job_, input, job_.outputs[row], marked ? -files : files};
        ProgressTarget target{observer_, nullptr};
        progressTarget = &target;
        int result = kResultFailed;
        if (job_.guarded) {
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
        const int id = ResultTextId(result);
        std::wstring text = id == IDS_RESULT_KO && job_.developerMode ? Format(L"%d", result) : job_.text(id);
        if (job_.developerMode) text += ElapsedText(seconds);
        {
            const std::lock_guard lock(mutex_);
            outcome_.lastResult = result;
            outcome_.failed += result != kResultOk;
            seconds_ += static_cast<double>(seconds);
        }
        observer_.OnStatus(row, text);
        observer_.OnResult(row, result);
    }

    const ConversionJob& job_;
    RunObserver& observer_;
    const size_t count_;
    CrashLog log_;
    std::unique_ptr<ChildRunner> children_;  // only in a multiprocess run

    std::atomic<bool> ended_ = false;
    std::mutex mutex_;  // guards what follows
    RunOutcome outcome_;
    double seconds_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

RunOutcome RunConversions(const ConversionJob& job, RunObserver& observer) {
    return Run(job, observer).ConvertAll();
}

}  // namespace morvex
