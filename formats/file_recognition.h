#pragma once

#include <string_view>

namespace morvex {

// Whether the file at `path` (backslash-separated) may be listed under the input format of that filter text.
// Looks at the name only and touches no file. A format without a rule of its own accepts every file.
bool IsFileOfInputFormat(std::wstring_view path, std::wstring_view inputFilterText);

// Whether the format's filter text names the path's extension, as "OBJ (*.obj)" does with "a.OBJ". A stricter
// test: formats without a rule of their own accept every file.
bool NamesExtension(std::wstring_view inputFilterText, std::wstring_view path);

}  // namespace morvex
