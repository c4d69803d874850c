#pragma once

#include <functional>
#include <string>

#include "convert/conversion_request.h"

namespace morvex {

// What became of a conversion by the library in this process.
struct InProcessResult {
    enum class Library { Usable, NotLoaded, WithoutEntries };
    Library library = Library::NotLoaded;
    int result = 0;        // of a Usable one
    bool crashed = false;  // the result is kResultFailed then
};

// Loads the library, converts one file and unloads it. `runSize` is the library's argument of that name,
// `progress` gets whole percents on the library's thread; what it throws is thrown here after the conversion.
// One conversion at a time.
InProcessResult ConvertInProcess(const ConversionRequest& request, const std::wstring& input,
                                 const std::wstring& output, int runSize,
                                 const std::function<void(int percent)>& progress);

}  // namespace morvex
