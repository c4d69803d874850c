#pragma once

#include <string>
#include <vector>

#include "convert/conversion_request.h"

namespace morvex {

// The output path of one file by the request alone, with the long-path prefix where it needs one.
std::wstring OutputPath(const SourceFile& source, const ConversionRequest& request);

// The output paths of a whole list. No two are equal and none is one of the inputs (without regard to case):
// where the request gives a name that is taken, " (2)", " (3)"... goes before the extension, in list order.
std::vector<std::wstring> PlanOutputs(const std::vector<SourceFile>& sources,
                                      const ConversionRequest& request);

}  // namespace morvex
