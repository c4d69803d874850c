#pragma once

#include <string>

namespace morvex {

// Whether two paths lead to one input. Files of two volumes are told apart even where all their numbers
// agree, and names where the file system tells them apart; of a file that cannot be asked the text decides.
bool SameInput(const std::wstring& a, const std::wstring& b);

}  // namespace morvex
