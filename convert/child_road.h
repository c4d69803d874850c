#pragma once

#include <string>
#include <vector>

#include "core/context.h"

namespace morvex {

// What a start with arguments has to say and to end with.
struct ChildRoadEnd {
    int exitCode;
    std::wstring
        message;  // for standard error: the file's status or why there was no run, and what else to know
};

// The work of a process started with arguments: argument 1 is the file to convert. Argument 2 is an output
// folder when it is an existing folder or ends in a backslash, else the output path as it stands; without it
// the output goes beside the input. Arguments 3 and 4 are the configuration file and the schema folder, where
// given and not empty. Formats are those that the environment names, else the saved ones, else those that the
// two extensions name. Always one file, in this process. A child of a run takes its arguments as they stand
// and reports to its run; a start by hand never overwrites a file of another format than the one it writes.
ChildRoadEnd TakeChildRoad(AppContext& context, const std::vector<std::wstring>& arguments);

}  // namespace morvex
