#pragma once

#include <map>
#include <string>

namespace morvex {

// The variable's value in this process; empty when it is not set.
std::wstring EnvironmentText(const wchar_t* name);

// This process's environment with these variables set or replaced, as CreateProcessW takes it (with
// CREATE_UNICODE_ENVIRONMENT). This process's own stays as it is.
std::wstring EnvironmentBlockWith(const std::map<std::wstring, std::wstring>& variables);

}  // namespace morvex
