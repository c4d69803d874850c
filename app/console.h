#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace morvex {

// Writes to the process's standard output or error (STD_OUTPUT_HANDLE, STD_ERROR_HANDLE) in UTF-8; silent
// when it has none.
void Print(DWORD stream, const std::wstring& text);

// The answer to "--help" or "--version" as the only argument (the program's own name comes first); nothing
// for any other command line.
std::optional<std::wstring> AnswerTo(const std::vector<std::wstring>& arguments);

}  // namespace morvex
