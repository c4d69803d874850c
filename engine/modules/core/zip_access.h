// Packages in zip form under paths in any letters.
#pragma once

#include <filesystem>
#include <functional>
#include <minizip/ioapi.h>
#include <string>
#include <string_view>

namespace morvex {

// With these functions the library's "name" of a package is a pointer to its std::filesystem::path.
zlib_filefunc64_def ZipAccessByPath();

// Unpacks a file in a package and hands on its text in pieces that end with a line. Hands on nothing when
// there is none, or when it says to be larger than it can be.
void ReadZipMember(const std::filesystem::path& package, const char* name,
                   const std::function<void(std::string_view lines)>& take);
// A file in a package, unpacked; empty when there is none, or when it says to be larger than it can be.
std::string ZipMember(const std::filesystem::path& package, const char* name);

constexpr char k3mfModel[] = "3D/3dmodel.model";

}  // namespace morvex
