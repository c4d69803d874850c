// The worker, whichever way it is used.
#pragma once

#include <string>
#include <vector>

namespace morvex {

// Serves the entry library or runs the command, as the arguments say, which are in UTF-8 and without the
// program's name. The process's exit code; never throws.
int RunWorker(const std::vector<std::string>& arguments);

}  // namespace morvex
