// The process that does the conversion proper, which holds all that may crash, hang or eat memory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "engine/common/journal.h"
#include "engine/common/request.h"
#include "engine/common/settings.h"
#include "engine/worker/end_signals.h"
#include "engine/worker/time_limits.h"

namespace morvex {

struct JobOrder {
    const Request& request;
    const Settings& settings;
    const std::filesystem::path& target;  // the file to write, in the temporary folder
    std::uint64_t memory;                 // bytes of address space
    std::uint64_t data;                   // bytes that may be written to, to begin with
};

// How the process is watched.
struct JobWatch {
    TimeLimits limits;
    bool caller;  // the end of standard input means that the caller is gone
    const EndSignals& endSignals;
    std::function<void(int percent)> onProgress;  // may be empty
};

struct JobEnd {
    enum class Cause {
        ByItself,      // the journal has the outcome, unless the process fell over
        Crashed,       // `detail` says how
        Killed,        // by something outside
        NotStarted,    // `detail` says why
        Unwatchable,   // ended, as nobody could have told when it hangs
        TimeOver,      // ended
        Stalled,       // ended
        EndRequested,  // the system asked this process to end
        CallerGone
    };
    Cause cause = Cause::ByItself;
    std::string detail;
    std::int64_t peakMemory = 0;  // bytes
};

// Starts the process, takes its journal into the record and comes back when the process has ended; it dies
// with this one as well. Call it before the process has a second thread.
JobEnd RunJobProcess(const JobOrder& order, JobWatch watch, JournalRecord& record);

// What the process runs: the core module, with everything thrown turned into an outcome.
Outcome RunConversion(const JobOrder& order, Journal& journal);

}  // namespace morvex
