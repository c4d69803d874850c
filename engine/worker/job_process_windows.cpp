#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <psapi.h>
#include <system_error>
#include <thread>

#include "engine/worker/end_signals_windows.h"
#include "engine/worker/job_order_windows.h"
#include "engine/worker/job_process.h"
#include "engine/worker/standard_streams.h"
#include "engine/worker/start_job_windows.h"

namespace morvex {
namespace {

using Cause = JobEnd::Cause;

OwnedHandle MakeEvent() {
    return OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

// An event that is set at the end of standard input. Nothing can wait for a pipe, so a thread reads it, which
// goes with the process.
HANDLE WatchCaller() {
    const HANDLE gone = MakeEvent().release();
    std::thread([gone] {
        char bytes[64];
        while (ReadFromCaller(bytes, sizeof bytes) != 0) {
        }
        SetEvent(gone);
    }).detach();
    return gone;
}

template <class Query>
double Seconds(Query query, HANDLE of) {
    FILETIME created, ended, kernel, user;
    if (!query(of, &created, &ended, &kernel, &user)) return 0;
    const auto ticks = [](const FILETIME& time) {
        return static_cast<double>(time.dwHighDateTime) * 4294967296.0 +
               static_cast<double>(time.dwLowDateTime);
    };
    return (ticks(kernel) + ticks(user)) * 1e-7;
}

// Seconds that the process has used on all processors. Of another process Wine knows only the threads' times;
// the first thread does most of the work.
double ProcessorSeconds(const StartedJob& job) {
    return std::max(Seconds(GetProcessTimes, job.process.get()), Seconds(GetThreadTimes, job.thread.get()));
}

// The most memory that the process has held so far, in bytes. Wine knows it only while the process lives.
std::int64_t PeakMemory(const StartedJob& job) {
    PROCESS_MEMORY_COUNTERS memory{};
    if (!GetProcessMemoryInfo(job.process.get(), &memory, sizeof memory)) return 0;
    return static_cast<std::int64_t>(memory.PeakWorkingSetSize);
}

// Reads the journal's pipe without ever waiting in the read itself.
class JournalReader {
  public:
    explicit JournalReader(HANDLE pipe) : pipe_(pipe), readable_(MakeEvent()) { Start(); }
    JournalReader(const JournalReader&) = delete;
    JournalReader& operator=(const JournalReader&) = delete;
    ~JournalReader() {
        DWORD got = 0;
        if (pending_ && CancelIo(pipe_)) GetOverlappedResult(pipe_, &state_, &got, TRUE);
    }

    HANDLE Readable() const { return readable_.get(); }

    // False at the end of the pipe.
    bool Take(JournalRecord& record) {
        DWORD got = 0;
        if (!pending_ || !GetOverlappedResult(pipe_, &state_, &got, FALSE)) {
            pending_ = pending_ && GetLastError() == ERROR_IO_INCOMPLETE;
            return pending_;
        }
        record.Take({bytes_, got});
        Start();
        return true;
    }

  private:
    // A read that fails at once sets the event as well, so that the end of the pipe is noticed.
    void Start() {
        state_ = {};
        state_.hEvent = readable_.get();
        pending_ =
            ReadFile(pipe_, bytes_, sizeof bytes_, nullptr, &state_) || GetLastError() == ERROR_IO_PENDING;
        if (!pending_) SetEvent(readable_.get());
    }

    HANDLE pipe_;
    OwnedHandle readable_;
    OVERLAPPED state_{};
    bool pending_ = false;
    char bytes_[4096];
};

// False when the job has said its last word.
bool TakeJournal(JournalReader& journal, const StartedJob& job, JobWatch& watch, JournalRecord& record) {
    const int percent = record.percent;
    const Phase phase = record.phase;
    if (!journal.Take(record)) return false;
    if (record.percent != percent || record.phase != phase) watch.limits.NoteProgress(ProcessorSeconds(job));
    if (record.percent != percent && watch.onProgress) watch.onProgress(record.percent);
    return true;
}

// Follows the job until it has said its last word, or a reason has come up to end it. `peak`: of its memory,
// as it was at its last word.
Cause Follow(const StartedJob& job, JobWatch& watch, JournalRecord& record, std::int64_t& peak) {
    JournalReader journal(job.journal.get());
    const std::array<HANDLE, 3> events = {journal.Readable(), watch.endSignals.Get().requested,
                                          watch.caller ? WatchCaller() : nullptr};
    for (;;) {
        const double used = ProcessorSeconds(job);
        switch (watch.limits.Judge(used)) {
            case TimeLimits::Verdict::TimeOver:
                return Cause::TimeOver;
            case TimeLimits::Verdict::Stalled:
                return Cause::Stalled;
            case TimeLimits::Verdict::GoOn:
                break;
        }
        const auto wait = static_cast<DWORD>(watch.limits.SecondsToNextLook(used) * 1000) + 1;
        switch (WaitForMultipleObjects(watch.caller ? 3 : 2, events.data(), FALSE, wait)) {
            case WAIT_OBJECT_0:
                if (!TakeJournal(journal, job, watch, record)) return Cause::ByItself;
                peak = std::max(peak, PeakMemory(job));
                break;
            case WAIT_OBJECT_0 + 1:
                return Cause::EndRequested;
            case WAIT_OBJECT_0 + 2:
                return Cause::CallerGone;
            case WAIT_TIMEOUT:
                break;
            default:
                return Cause::Unwatchable;
        }
    }
}

// An exception that nobody handled, or abort().
bool IsCrash(DWORD code) {
    constexpr DWORD kAbort = 3, kErrorSeverity = 0xC0000000;
    return code == kAbort || code >= kErrorSeverity;
}

JobEnd WaitFor(const StartedJob& job, Cause cause, std::int64_t peak) {
    WaitForSingleObject(job.process.get(), INFINITE);
    JobEnd end{cause, {}, std::max(peak, PeakMemory(job))};
    DWORD code = 0;
    if (cause == Cause::ByItself && GetExitCodeProcess(job.process.get(), &code) && code != EXIT_SUCCESS) {
        char text[32];
        std::snprintf(text, sizeof text, "exit code 0x%lX", code);
        end.cause = IsCrash(code) ? Cause::Crashed : Cause::Killed;
        end.detail = text;
    }
    return end;
}

}  // namespace

JobEnd RunJobProcess(const JobOrder& order, JobWatch watch, JournalRecord& record) {
    const StartedJob job = StartJobProcess(EncodeOrder(order.request, order.target), order.request.trace,
                                           {order.memory, std::min(order.data, order.memory)});
    if (job.process == nullptr) {
        return {Cause::NotStarted, std::system_category().message(static_cast<int>(job.error))};
    }
    record.Enter(Phase::Read);
    std::int64_t peak = 0;
    const Cause cause = Follow(job, watch, record, peak);
    if (cause != Cause::ByItself) TerminateJobObject(job.jobObject.get(), EXIT_FAILURE);
    return WaitFor(job, cause, peak);
}

}  // namespace morvex
