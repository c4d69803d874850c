#pragma once

#include <string>
#include <vector>

namespace morvex {

// A file to convert: a row's folder (no trailing backslash but for a drive's root) and file name.
struct SourceFile {
    std::wstring folder;
    std::wstring name;
};

// How output names are built for one pair of formats.
struct NamingRules {
    int inputCode = 1;
    int outputCode = 1;
    std::wstring extension;        // of the output format, with its dot; may be empty
    std::wstring outputFolder;     // used when useOutputFolder is on
    bool useOutputFolder = false;  // else beside the input
    bool inputPathInName = false;  // the name starts with the input's folder, "\" and ":" as "_"
};

// The output path of one file by the rules alone, with the long-path prefix where it needs one.
std::wstring OutputPath(const SourceFile& source, const NamingRules& rules);

// The output paths of a whole list. No two are equal and none is one of the inputs (without regard to case):
// where the rules give a name that is taken, " (2)", " (3)"... goes before the extension, in list order.
std::vector<std::wstring> PlanOutputs(const std::vector<SourceFile>& sources, const NamingRules& rules);

}  // namespace morvex
