// The conversion proper, done by the core module in the job process.
#pragma once

#include <filesystem>

#include "engine/worker/journal.h"
#include "engine/worker/outcome.h"
#include "engine/worker/request.h"
#include "engine/worker/settings.h"

namespace morvex {

// Reads request.input, prepares the model and writes `target` with its side files. May throw, crash, or take
// the process with it.
using RunJobFunction = Outcome(const Request& request, const Settings& settings,
                               const std::filesystem::path& target, Journal& journal);

}  // namespace morvex
