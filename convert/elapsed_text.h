#pragma once

#include <string>

namespace morvex {

// The time a conversion took, as a status text shows it after the result: " [59 sec]", " [ 1mn  0sec]".
std::wstring ElapsedText(long seconds);

}  // namespace morvex
