// The inside of EndSignals, for those who wait for a signal beside other things.
#pragma once

#include <windows.h>

#include "engine/worker/end_signals.h"

namespace morvex {

struct EndSignals::Held {
    HANDLE requested;  // event, set when the process shall end
};

}  // namespace morvex
