// Packages in zip form under paths in any letters.
#pragma once

#include <minizip/ioapi.h>

namespace morvex {

// With these functions the library's "name" of a package is a pointer to its std::filesystem::path.
zlib_filefunc64_def ZipAccessByPath();

}  // namespace morvex
