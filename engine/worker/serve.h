// The worker as the servant of the entry library, whose protocol protocol.h describes.
#pragma once

#include "engine/worker/conversion_end.h"

namespace morvex {

// Takes the one job that comes on standard input and answers on standard output. Leaves a server for the rest
// of a run behind if the job says that there is one. Returns the exit code.
int Serve();

// The same in a process that such a server has forked.
ConversionEnd ServeWarm();

}  // namespace morvex
