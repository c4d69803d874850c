// The paths that the worker is given, in the form that it works with.
#pragma once

#include <filesystem>
#include <string_view>

namespace morvex {

// Absolute, and such that every library opens it; empty for an empty text. The file need not be there.
std::filesystem::path FullPath(std::string_view utf8);

}  // namespace morvex
