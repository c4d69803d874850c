#pragma once

#include <cstdint>

namespace morvex {

struct GuardedResult {
    int value = 0;            // what the function returned; undefined after a fault
    std::uint32_t fault = 0;  // the system's exception code, 0 for none
};

// Calls function(argument) and survives what it raises and does not handle itself: access violations, stack
// overflows (repeatedly), language exceptions of any compiler. What ends the process at once (abort, fast
// fail) cannot be survived. The library's own frames are unwound, not cleaned: treat its state as lost. Any
// thread.
GuardedResult CallGuarded(int (*function)(void*), void* argument);

}  // namespace morvex
