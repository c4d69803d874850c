#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/worker/end_signals_linux.h"
#include "engine/worker/job_process.h"

namespace morvex {
namespace {

using Cause = JobEnd::Cause;

void LimitMemory(const JobOrder& order) {
#ifndef __SANITIZE_ADDRESS__  // its shadow alone is terabytes of address space
    const rlimit space{order.memory, order.memory}, data{std::min(order.data, order.memory), order.memory};
    setrlimit(RLIMIT_AS, &space);
    setrlimit(RLIMIT_DATA, &data);
#else
    static_cast<void>(order);
#endif
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

// The libraries talk a lot; only a trace lets them.
void RedirectStandardStreams(bool trace) {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    dup2(trace ? STDERR_FILENO : null, STDOUT_FILENO);
    if (!trace) dup2(null, STDERR_FILENO);
}

[[noreturn]] void BeTheJob(const JobOrder& order, const EndSignals& signals, int pipe, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(EXIT_FAILURE);
    sigprocmask(SIG_SETMASK, &signals.Get().before, nullptr);
    // A full disk is an error of the write, not the end of the process.
    signal(SIGXFSZ, SIG_IGN);
    LimitMemory(order);
    // The heap grows in large steps and never shrinks: the process is short, and page faults are not free.
    mallopt(M_TOP_PAD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    RedirectStandardStreams(order.request.trace);

    // One write a line: lines below PIPE_BUF bytes never mix.
    Journal journal([pipe](std::string_view line) {
        while (write(pipe, line.data(), line.size()) < 0 && errno == EINTR) {
        }
    });
    journal.Finish(RunConversion(order, journal));
    _exit(EXIT_SUCCESS);  // the libraries' own destructors would cost more than the memory is worth
}

// The processor time of another process.
class ProcessorClock {
  public:
    explicit ProcessorClock(pid_t process) : known_(clock_getcpuclockid(process, &clock_) == 0) {}
    double Seconds() {
        timespec time{};
        if (known_ && clock_gettime(clock_, &time) == 0) {
            last_ = static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
        }
        return last_;
    }

  private:
    clockid_t clock_{};
    bool known_;
    double last_ = 0;
};

// False at the end of the pipe.
bool TakeFrom(int pipe, JournalRecord& record) {
    char bytes[4096];
    const ssize_t got = read(pipe, bytes, sizeof bytes);
    if (got < 0) return errno == EINTR;
    record.Take({bytes, static_cast<std::size_t>(got)});
    return got > 0;
}

// Follows the job until it has said its last word, or a reason has come up to end it.
Cause Follow(pid_t job, int pipe, JobWatch& watch, JournalRecord& record) {
    ProcessorClock clock(job);
    for (;;) {
        const double used = clock.Seconds();
        switch (watch.limits.Judge(used)) {
            case TimeLimits::Verdict::TimeOver:
                return Cause::TimeOver;
            case TimeLimits::Verdict::Stalled:
                return Cause::Stalled;
            case TimeLimits::Verdict::GoOn:
                break;
        }
        const int wait = static_cast<int>(watch.limits.SecondsToNextLook(used) * 1000) + 1;
        pollfd files[] = {{pipe, POLLIN, 0},
                          {watch.endSignals.Get().file, POLLIN, 0},
                          {watch.caller ? STDIN_FILENO : -1, 0, 0}};
        if (poll(files, 3, wait) < 0 && errno != EINTR) return Cause::Unwatchable;
        const int percent = record.percent;
        const Phase phase = record.phase;
        if (files[0].revents != 0 && !TakeFrom(pipe, record)) return Cause::ByItself;
        if (record.percent != percent || record.phase != phase) watch.limits.NoteProgress(clock.Seconds());
        if (record.percent != percent && watch.onProgress) watch.onProgress(record.percent);
        if (files[1].revents != 0) return Cause::EndRequested;
        if ((files[2].revents & (POLLHUP | POLLERR)) != 0) return Cause::CallerGone;
    }
}

JobEnd WaitFor(pid_t job, Cause cause) {
    int status = 0;
    rusage usage{};
    while (wait4(job, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    JobEnd end{cause, {}, usage.ru_maxrss * 1024};
    if (cause == Cause::ByItself && WIFSIGNALED(status)) {
        end.cause = WTERMSIG(status) == SIGKILL ? Cause::Killed : Cause::Crashed;
        end.detail = strsignal(WTERMSIG(status));
    }
    return end;
}

}  // namespace

JobEnd RunJobProcess(const JobOrder& order, JobWatch watch, JournalRecord& record) {
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return {Cause::NotStarted, strerror(errno)};
    const pid_t self = getpid();
    const pid_t job = fork();
    const int error = errno;
    if (job == 0) {
        close(pipe[0]);
        BeTheJob(order, watch.endSignals, pipe[1], self);
    }
    close(pipe[1]);
    if (job < 0) {
        close(pipe[0]);
        return {Cause::NotStarted, strerror(error)};
    }
    record.Enter(Phase::Read);
    const Cause cause = Follow(job, pipe[0], watch, record);
    close(pipe[0]);
    if (cause != Cause::ByItself) kill(job, SIGKILL);
    return WaitFor(job, cause);
}

}  // namespace morvex
