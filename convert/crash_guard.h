#pragma once

#include <cstdint>

namespace morvex {

// How a function of the conversion library was called and ended.
struct GuardedResult {
    int value = 0;            // what the function returned; meaningless after a fault
    std::uint32_t fault = 0;  // the system's exception code, 0 for none

    // In place of an exception code: the function ended its thread, or no thread could be made for it.
    static constexpr std::uint32_t kThreadLost = 0xC000004B;
};

// Calls function(argument) on another thread and survives what it raises and does not handle itself:
// access violations, stack overflows, language exceptions of any compiler, the end of its thread. What ends
// the process at once (abort, fast fail) cannot be survived. The library's own frames are unwound, not
// cleaned: treat its state as lost. With `catching` off only the thread's end is survived. Any thread.
GuardedResult CallGuarded(int (*function)(void*), void* argument, bool catching = true);

}  // namespace morvex
