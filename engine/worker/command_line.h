// The worker as a command of its own.
#pragma once

#include <string>
#include <vector>

namespace morvex {

// Exit codes: 0 converted, 1 failed, 64 wrong usage, else the positive number of the result (5 for -5).
int RunCommand(const std::vector<std::string>& arguments);

}  // namespace morvex
