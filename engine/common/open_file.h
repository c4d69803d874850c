// Opens files by paths in any letters.
#pragma once

#include <cstdio>
#include <filesystem>

namespace morvex {

// As fopen() does; processes that are started do not inherit the file. Null when it cannot be opened; errno
// says why.
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);

}  // namespace morvex
