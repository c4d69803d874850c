// Runs one conversion in a process of its own and answers for whatever becomes of it.
#pragma once

#include <cstdint>
#include <functional>

#include "engine/common/outcome.h"
#include "engine/common/request.h"
#include "engine/worker/time_limits.h"

namespace morvex {

struct SupervisorOptions {
    bool watchCaller = false;  // the end of standard input means that the caller is gone
    TimeLimitOptions time;
    unsigned atOnce = 0;  // conversions at the same time; 0: as many as processors, or this one alone
    std::uint64_t memoryAllowed = 0;  // bytes of address space of the job; 0: a share of the machine's memory
    std::uint64_t memoryAtMost = 0;   // the most of that share; 0: all of it
    std::function<void(int percent)> onProgress;
};

// Preflight, temporary folder, job process, publishing, report. When it returns neither that process nor a
// temporary file is left. Call it before the process has a second thread.
Outcome Supervise(const Request& request, const SupervisorOptions& options);

}  // namespace morvex
