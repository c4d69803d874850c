#pragma once

#include <string>
#include <vector>

#include "convert/conversion_request.h"
#include "core/context.h"

namespace morvex {

// The job of a process started with arguments: argument 1 is the file to convert. Argument 2 is an output
// folder when it is an existing folder or ends in a backslash, else the output path as it stands; without it
// the output goes beside the input. Arguments 3 and 4 are the configuration file and the schema folder, where
// given and not empty. Formats come from the parent's environment if it names them. Always one file, in this
// process.
ConversionJob MakeChildJob(AppContext& context, const std::vector<std::wstring>& arguments);

}  // namespace morvex
