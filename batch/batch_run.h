#pragma once

#include "batch/batch_options.h"
#include "core/context.h"

namespace morvex {

// What the command exits with beside the number of failed files, of which it tells up to kMostFailures.
inline constexpr int kMostFailures = 100;
inline constexpr int kExitUsage = 101;
inline constexpr int kExitStopped = 102;

// Converts what the options name and returns the exit code. Its files are found, named and converted side by
// side, so the first conversion does not wait for the last file to be found.
int RunBatch(AppContext& context, BatchOptions options);

}  // namespace morvex
