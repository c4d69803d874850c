#pragma once

namespace morvex {

inline constexpr int kResultOk = 0;
inline constexpr int kResultCannotWrite = -23;
inline constexpr int kResultFailed = 1;  // also: no entry point, a fault, an abandoned run

// The string id of a library result's status text; "KO" for every code without a text of its own.
int ResultTextId(int result);

}  // namespace morvex
