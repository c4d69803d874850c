#include "engine/worker/supervisor.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

#include "engine/common/job.h"
#include "engine/worker/job_process.h"
#include "engine/worker/machine.h"
#include "engine/worker/preflight.h"
#include "engine/worker/report.h"
#include "engine/worker/staging.h"

namespace morvex {
namespace {

using Clock = std::chrono::steady_clock;
using Cause = JobEnd::Cause;

// Half of the machine for a conversion that runs alone; side by side they share three quarters.
std::uint64_t MemoryShare(bool parallel, unsigned atOnce) {
    const std::uint64_t total = MachineMemory();
    const unsigned sharing = atOnce != 0 ? atOnce : parallel ? std::thread::hardware_concurrency() : 1;
    constexpr std::uint64_t kLeast = 1ull << 30;
    return std::max(kLeast, sharing > 1 ? total / 4 * 3 / sharing : total / 2);
}

// Bytes of address space of the job.
std::uint64_t MemoryAllowed(const Request& request, const SupervisorOptions& options) {
    if (options.memoryAllowed != 0) return options.memoryAllowed;
    const std::uint64_t share = MemoryShare(request.parallel, options.atOnce);
    return options.memoryAtMost != 0 ? std::min(share, options.memoryAtMost) : share;
}

Outcome Failed(const std::string& why) {
    return Outcome::Fail(ZEL_FAILED, why);
}

// The caller's system knows of locks and attributes that this one does not.
Outcome Refused(int result) {
    return Outcome::Fail(result, result == ZEL_CANNOT_WRITE
                                     ? "The output is in use by another program, or it is read-only"
                                     : "The input is in use by another program");
}

// What falls over or hangs while it reads does so over its input.
Outcome Broken(Phase phase, const std::string& why) {
    return Outcome::Fail(phase == Phase::Read ? ZEL_CORRUPTED : ZEL_FAILED, why);
}

Outcome OutcomeOf(const JobEnd& end, const JournalRecord& record) {
    switch (end.cause) {
        case Cause::EndRequested:
            return Failed("The conversion was stopped");
        case Cause::CallerGone:
            return Failed("The calling program has ended");
        case Cause::NotStarted:
            return Failed("The conversion process could not be started: " + end.detail);
        case Cause::Unwatchable:
            return Failed("The conversion process could not be watched");
        case Cause::TimeOver:
        case Cause::Stalled:
        case Cause::ByItself:
        case Cause::Killed:
        case Cause::Crashed:
            break;
    }
    // Also when the process fell over what it did last, the picture.
    if (record.finished) return record.outcome;
    if (end.cause == Cause::TimeOver) return Failed("The conversion exceeded its time limit");
    if (end.cause == Cause::Stalled) return Broken(record.phase, "The conversion made no progress");
    if (end.cause == Cause::Killed) return Failed("The conversion process was killed (" + end.detail + ")");
    if (end.cause == Cause::ByItself) return Failed("The conversion process ended without a result");
    return Broken(record.phase, std::string("The conversion crashed in the phase \"") +
                                    PhaseName(record.phase) + "\" (" + end.detail + ")");
}

// Every conversion that came to an end, but for that of an input that is not there. Where nobody waits for
// the result, nobody reads a report.
bool WorthReport(const JobEnd& end, int result) {
    return end.cause != Cause::EndRequested && end.cause != Cause::CallerGone && result != ZEL_NO_FILE;
}

// The first of all warnings, since it says most.
void WarnOfLosses(JournalRecord& record) {
    if (record.losses.empty()) return;
    std::string text = "partial: without";
    for (const std::string& loss : record.losses)
        text += (&loss == &record.losses.front() ? " " : ", ") + loss;
    record.warnings.insert(record.warnings.begin(), text);
}

bool CanRead(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) && std::ifstream(file);
}

Settings SettingsOf(const Request& request, JournalRecord& record) {
    if (!request.config.empty() && !CanRead(request.config))
        record.warnings.emplace_back("The configuration file could not be read, the defaults were taken");
    IniFile file = IniFile::Read(request.config);
    for (const std::string& setting : request.settings) file.Override(setting);
    return ReadSettings(file, record.warnings);
}

// What tells whether a file has been written in between.
struct FileStamp {
    std::uint64_t size = 0;  // 0 when there is no such file
    std::filesystem::file_time_type changed;
    bool operator==(const FileStamp&) const = default;
};

FileStamp StampOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error) return {};
    return {size, std::filesystem::last_write_time(file, error)};
}

// Of an input that somebody writes to meanwhile nobody knows what was read. One that is taken away was read
// as it was.
bool HasChanged(const std::filesystem::path& input, const FileStamp& before) {
    const FileStamp now = StampOf(input);
    return now != FileStamp{} && now != before;
}

}  // namespace

Outcome Supervise(const Request& request, const SupervisorOptions& options) {
    const auto start = Clock::now();
    JournalRecord record;
    const Settings settings = SettingsOf(request, record);
    // Held until all is tidy; only then does a signal that has come in end this process as well.
    const EndSignals signals;
    Staging staging;
    JobEnd end;
    Outcome outcome = CheckInput(request);
    if (outcome.IsOk()) outcome = staging.Open(request);
    if (outcome.IsOk() && request.refused != ZEL_OK) outcome = Refused(request.refused);
    if (outcome.IsOk()) {
        const FileStamp input = StampOf(request.input);
        const std::uint64_t memory = MemoryAllowed(request, options);
        end = RunJobProcess(
            {request, settings, staging.File(), memory,
             options.memoryAllowed != 0 ? memory : MemoryWorth(input.size)},
            {TimeLimits(options.time, input.size), options.watchCaller, signals, options.onProgress}, record);
        outcome = OutcomeOf(end, record);
        if ((outcome.IsOk() || end.cause == Cause::Crashed) && HasChanged(request.input, input))
            outcome = Outcome::Fail(ZEL_CORRUPTED, "The input was changed while it was converted");
    }
    record.Enter(Phase::Publish);
    if (outcome.IsOk()) outcome = staging.Publish(record.sideInputs);
    if (outcome.IsOk()) WarnOfLosses(record);
    record.Enter(Phase::Publish);

    if (outcome.IsOk() && end.cause != Cause::ByItself)
        record.warnings.emplace_back("No picture: the drawing of it was given up");
    if (outcome.IsOk() && !request.picture.empty() && !WritePicture(request, record))
        record.warnings.emplace_back("The picture could not be written");
    if (settings.writeReport && WorthReport(end, outcome.result)) {
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        WriteReport(request, {outcome, &record, seconds, end.peakMemory, settings.picture});
    }
    return outcome;
}

}  // namespace morvex
