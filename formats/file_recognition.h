#pragma once

#include <string_view>

namespace morvex {

// Whether the file at `path` (backslash-separated) may be listed under the input format of that filter text.
// Looks at the name only and touches no file. A format without a rule of its own accepts every file.
bool IsFileOfInputFormat(std::wstring_view path, std::wstring_view inputFilterText);

}  // namespace morvex
