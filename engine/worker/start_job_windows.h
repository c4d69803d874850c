// Starts the job process: this program again, in a job object that limits its memory and dies with its
// handle.
#pragma once

#include <cstdint>
#include <string>

#include "engine/worker/handle_windows.h"

namespace morvex {

struct StartedJob {
    OwnedHandle jobObject;  // closing it ends the process
    OwnedHandle process;    // null: it could not be started
    OwnedHandle thread;     // its first one
    DWORD error;            // why it could not be started
    OwnedHandle journal;    // read end of its standard output, for overlapped reads
};

// In bytes.
struct MemoryLimits {
    std::uint64_t most;
    std::uint64_t first;  // what there is to begin with; AllowMemory() gives more
};

// `order` is what the process finds on its standard input; `trace` lets its messages through to standard
// error.
StartedJob StartJobProcess(const std::string& order, bool trace, const MemoryLimits& limits);

}  // namespace morvex
