// The inside of EndSignals, for those who wait for a signal beside other things.
#pragma once

#include <csignal>

#include "engine/worker/end_signals.h"

namespace morvex {

struct EndSignals::Held {
    sigset_t set, before;  // the signals held back, and the mask of the process before
    int file;              // readable when one has come in
};

}  // namespace morvex
