// Packages in zip form under paths in any letters.
#pragma once

#include <filesystem>
#include <minizip/ioapi.h>
#include <string>

namespace morvex {

// With these functions the library's "name" of a package is a pointer to its std::filesystem::path.
zlib_filefunc64_def ZipAccessByPath();

// A file in a package, unpacked; empty when there is none, or when it says to be larger than it can be.
std::string ZipMember(const std::filesystem::path& package, const char* name);

constexpr char k3mfModel[] = "3D/3dmodel.model";

}  // namespace morvex
