// The worker as a command of its own.
#pragma once

#include <string>
#include <vector>

namespace morvex {

// Runs the command and answers its exit code: that of wrong usage, or the result without its sign.
int RunCommand(const std::vector<std::string>& arguments);

}  // namespace morvex
