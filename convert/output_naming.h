#pragma once

#include <string>

#include "convert/conversion_request.h"

namespace morvex {

// An output path in its parts, so that a number or "-zel" can go between name and extension.
struct OutputName {
    std::wstring folder;
    std::wstring base;
    std::wstring extension;

    // The path, with the long-path prefix where it needs one; " (2)", " (3)"... before the extension.
    std::wstring Path(int number = 1) const;
};

// How the request names the output of one file, whatever other files there are.
OutputName NameOutput(const SourceFile& source, const ConversionRequest& request);

// The path as its reader would write it: without the prefix of long paths.
std::wstring WithoutLongPrefix(std::wstring_view path);

}  // namespace morvex
