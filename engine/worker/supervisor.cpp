#include "engine/worker/supervisor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/formats.h"
#include "engine/common/job.h"
#include "engine/common/journal.h"
#include "engine/worker/modules.h"
#include "engine/worker/preflight.h"
#include "engine/worker/report.h"
#include "engine/worker/staging.h"

namespace morvex {
namespace {

using Clock = std::chrono::steady_clock;

// Half of the machine for a conversion that runs alone; side by side they share three quarters.
std::uint64_t MemoryShare(bool parallel) {
    const auto pages = static_cast<std::uint64_t>(std::max(1L, sysconf(_SC_PHYS_PAGES)));
    const auto total = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const auto processors = static_cast<std::uint64_t>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
    constexpr std::uint64_t kLeast = 1ull << 30;
    return std::max(kLeast, parallel && processors > 1 ? total / 4 * 3 / processors : total / 2);
}

void LimitMemory(std::uint64_t bytes) {
#ifndef __SANITIZE_ADDRESS__  // its shadow alone is terabytes of address space
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_AS, &limit);
#else
    static_cast<void>(bytes);
#endif
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

// The signals that end the supervisor come in as a file, so that it can clean up first.
class EndSignals {
  public:
    EndSignals() {
        sigemptyset(&set_);
        for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set_, number);
        sigprocmask(SIG_BLOCK, &set_, &before_);
        file_ = signalfd(-1, &set_, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals() {
        close(file_);
        Restore();
    }
    int File() const { return file_; }
    void Restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t set_{}, before_{};
    int file_ = -1;
};

// What the job process needs to know.
struct JobOrder {
    const Request& request;
    const Settings& settings;
    const std::filesystem::path& target;
    std::uint64_t memory;
};

[[noreturn]] void RunAsJob(const JobOrder& order, int pipe, pid_t supervisor) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != supervisor) _exit(ZEL_FAILED);
    // A full disk or a broken pipe is an error of the call, not the end of the process.
    signal(SIGXFSZ, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
    LimitMemory(order.memory);
    // The heap grows in large steps and never shrinks: the process is short, and page faults are not free.
    mallopt(M_TOP_PAD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    dup2(order.request.trace ? STDERR_FILENO : null, STDOUT_FILENO);
    if (!order.request.trace) dup2(null, STDERR_FILENO);

    Journal journal(pipe);
    Outcome outcome;
    try {
        const auto run = reinterpret_cast<RunJobFunction*>(FindFunction("core", "RunJob"));
        outcome = run({order.request, order.settings, order.target, journal, FindFunction});
    } catch (const std::bad_alloc&) {
        outcome = Outcome::Fail(ZEL_FAILED, "The conversion needs more memory than it may have");
    } catch (const std::exception& error) {
        outcome = Outcome::Fail(ZEL_FAILED, error.what());
    } catch (...) {
        outcome = Outcome::Fail(ZEL_FAILED, "The conversion failed for an unknown reason");
    }
    journal.Finish(outcome);
    _exit(ZEL_OK);  // the libraries' own destructors would cost more than the memory is worth
}

// Takes in what the job has written. False at the end of the pipe.
class JournalReader {
  public:
    JournalReader(int pipe, JournalRecord& record) : pipe_(pipe), record_(record) {}
    bool ReadSome() {
        char bytes[4096];
        const ssize_t got = read(pipe_, bytes, sizeof bytes);
        if (got < 0) return errno == EINTR;
        if (got == 0) return false;
        pending_.append(bytes, static_cast<std::size_t>(got));
        std::size_t start = 0;
        for (std::size_t end; (end = pending_.find('\n', start)) != std::string::npos; start = end + 1) {
            record_.TakeLine(std::string_view(pending_).substr(start, end - start));
        }
        pending_.erase(0, start);
        return true;
    }

  private:
    int pipe_;
    JournalRecord& record_;
    std::string pending_;
};

// Why a job has to be ended before its time.
struct Stop {
    const char* why = nullptr;
    bool abandoned = false;  // nobody is left who wants to know
    bool hung = false;
};

// Watches over the time that a job takes, in all and without getting on.
class Patience {
  public:
    Patience(pid_t job, const SupervisorOptions& options, std::uint64_t inputSize)
        : options_(options), allowance_(options.patience + static_cast<double>(inputSize) / kBytesPerSecond) {
        hasClock_ = clock_getcpuclockid(job, &clock_) == 0;
    }

    void GotOn() { since_ = ProcessorTime(); }

    // Seconds until it is worth asking again, at least one; 0 when patience is at its end.
    double Left(Stop& stop) const {
        double left = kNoLimit;
        if (options_.secondsAllowed > 0) {
            left = options_.secondsAllowed - std::chrono::duration<double>(Clock::now() - start_).count();
            if (left <= 0) stop = {"The conversion took longer than it may"};
        }
        const double still = allowance_ - (ProcessorTime() - since_);
        if (still <= 0) stop = {"The conversion does not get on", false, true};
        // Several threads use up processor time faster than the clock goes.
        return stop.why != nullptr ? 0 : std::min(left, std::max(still / kThreads, 1.0));
    }

  private:
    static constexpr double kBytesPerSecond = 100e3, kNoLimit = 1e6, kThreads = 4;

    double ProcessorTime() const {
        timespec time{};
        if (!hasClock_ || clock_gettime(clock_, &time) != 0) return since_;
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }

    const SupervisorOptions& options_;
    double allowance_;
    Clock::time_point start_ = Clock::now();
    clockid_t clock_{};
    bool hasClock_ = false;
    double since_ = 0;
};

// Follows the job until it has said its last word, or a reason has come up to end it.
Stop Follow(int pipe, JournalRecord& record, const SupervisorOptions& options, Patience& patience,
            int endSignals) {
    JournalReader reader(pipe, record);
    for (;;) {
        Stop stop;
        const double left = patience.Left(stop);
        if (stop.why != nullptr) return stop;
        pollfd files[] = {{pipe, POLLIN, 0}, {endSignals, POLLIN, 0}, {options.callerPipe, 0, 0}};
        if (poll(files, 3, static_cast<int>(left * 1000) + 1) < 0 && errno != EINTR) {
            return {"The conversion could not be followed"};
        }
        const int percent = record.percent;
        const Phase phase = record.phase;
        if (files[0].revents != 0 && !reader.ReadSome()) return {};
        if (record.percent != percent || record.phase != phase) patience.GotOn();
        if (record.percent != percent && options.onProgress) options.onProgress(record.percent);
        if (files[1].revents != 0) return {"The conversion was stopped", true};
        if ((files[2].revents & (POLLHUP | POLLERR)) != 0) return {"The caller is gone", true};
    }
}

Outcome OutcomeOfDeath(int status, Phase phase) {
    if (!WIFSIGNALED(status)) return Outcome::Fail(ZEL_FAILED, "The conversion ended without a result");
    const std::string how = std::string(" (") + strsignal(WTERMSIG(status)) + ")";
    if (WTERMSIG(status) == SIGKILL)
        return Outcome::Fail(ZEL_FAILED, "The conversion was ended from outside" + how);
    // A reader that falls over does so over its input.
    if (phase == Phase::Read) return Outcome::Fail(ZEL_CORRUPTED, "Reading the input crashed" + how);
    return Outcome::Fail(
        ZEL_FAILED, std::string("The conversion crashed in the phase \"") + PhaseName(phase) + "\"" + how);
}

struct JobEnd {
    Outcome outcome;
    std::int64_t peakMemory = 0;
    bool abandoned = false;
};

JobEnd RunJobProcess(const JobOrder& order, const SupervisorOptions& options, const EndSignals& signals,
                     JournalRecord& record) {
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return {Outcome::Fail(ZEL_FAILED, "No pipe could be made")};
    const pid_t self = getpid();
    const pid_t job = fork();
    if (job == 0) {
        signals.Restore();
        close(pipe[0]);
        RunAsJob(order, pipe[1], self);
    }
    close(pipe[1]);
    if (job < 0) {
        close(pipe[0]);
        return {Outcome::Fail(ZEL_FAILED, "No process could be started")};
    }
    record.Enter(Phase::Read);
    std::error_code error;
    const auto inputSize = std::filesystem::file_size(order.request.input, error);
    Patience patience(job, options, error ? 0 : inputSize);
    const Stop stop = Follow(pipe[0], record, options, patience, signals.File());
    close(pipe[0]);
    if (stop.why != nullptr) kill(job, SIGKILL);
    int status = 0;
    rusage usage{};
    while (wait4(job, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    const std::int64_t peakMemory = usage.ru_maxrss * 1024;
    if (stop.why != nullptr) {
        const bool overInput = stop.hung && record.phase == Phase::Read;
        return {Outcome::Fail(overInput ? ZEL_CORRUPTED : ZEL_FAILED, stop.why), peakMemory, stop.abandoned};
    }
    return {record.finished ? record.outcome : OutcomeOfDeath(status, record.phase), peakMemory};
}

// A result whose status text says all leaves no report: a damaged input shall leave nothing behind.
bool WorthReport(int result) {
    return result == ZEL_OK || result == ZEL_FAILED;
}

}  // namespace

Outcome Supervise(const Request& request, const SupervisorOptions& options) {
    const auto start = Clock::now();
    Outcome outcome = CheckInput(request);
    // Held until all is tidy; only then does a signal that has come in end this process as well.
    const EndSignals signals;
    Staging staging;
    if (outcome.IsOk()) outcome = staging.Open(request);
    if (!outcome.IsOk()) return outcome;

    JournalRecord record;
    IniFile file = IniFile::Read(request.config);
    for (const std::string& setting : request.settings) file.Override(setting);
    const Settings settings = ReadSettings(file, record.warnings);

    const std::uint64_t memory =
        options.memoryAllowed != 0 ? options.memoryAllowed : MemoryShare(request.parallel);
    const JobEnd end = RunJobProcess({request, settings, staging.File(), memory}, options, signals, record);
    outcome = end.outcome;
    record.Enter(Phase::Publish);
    if (outcome.IsOk()) outcome = staging.Publish();
    staging.Discard();
    record.Enter(Phase::Publish);

    if (settings.writeReport && !end.abandoned && WorthReport(outcome.result)) {
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        WriteReport(request, {outcome, &record, seconds, end.peakMemory});
    }
    return outcome;
}

}  // namespace morvex
