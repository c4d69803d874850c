// Runs one conversion in a process of its own and answers for whatever becomes of it.
#pragma once

#include <functional>

#include "engine/common/outcome.h"
#include "engine/common/request.h"

namespace morvex {

struct SupervisorOptions {
    int callerPipe = -1;        // its end of file means that the caller is gone; -1: nobody to watch
    double secondsAllowed = 0;  // 0: as long as it takes
    // Processor time that the percentage may stand still, in seconds, plus one for each 100 KB of the input.
    // Damaged numbers send the libraries into loops without end; a whole file moves on many times faster.
    double patience = 40;
    std::uint64_t memoryAllowed = 0;  // bytes of address space of the job; 0: a share of the machine's memory
    std::function<void(int percent)> onProgress;
};

// Preflight, temporary folder, job process, publishing, report. The job process holds all that may crash,
// hang or eat memory; this one stays small, and when it returns neither that process nor a temporary file is
// left. Call it before the process has a second thread.
Outcome Supervise(const Request& request, const SupervisorOptions& options);

}  // namespace morvex
