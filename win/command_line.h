#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morvex {

// The arguments of a command line by the system's rules (those of CommandLineToArgvW, the program itself
// first), without loading the shell library for it: that would take a child process as long as all of its own
// work.
std::vector<std::wstring> SplitCommandLine(std::wstring_view line);

}  // namespace morvex
