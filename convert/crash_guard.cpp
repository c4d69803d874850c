#include "convert/crash_guard.h"

#include <windows.h>

#include <malloc.h>

// The frame in crash_guard_frame.S: calls function(argument) with MorvexGuardHandler as the frame's handler.
// After a fault it returns with *fault set.
extern "C" int MorvexGuardFrame(int (*function)(void*), void* argument, std::uint32_t* fault);
extern "C" char MorvexGuardLanding[];

extern "C" EXCEPTION_DISPOSITION MorvexGuardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT*,
                                                    DISPATCHER_CONTEXT* dispatcher) {
    constexpr DWORD kUnwinding = EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND | EXCEPTION_TARGET_UNWIND;
    // Somebody else's unwind passes through: nothing of ours to clean.
    if (record->ExceptionFlags & kUnwinding) return ExceptionContinueSearch;
    // The frame keeps its third argument in the slot at 40 bytes above the stack pointer
    // (crash_guard_frame.S).
    auto* const fault = *reinterpret_cast<std::uint32_t**>(static_cast<char*>(frame) + 40);
    *fault = record->ExceptionCode;
    // A record of the unwind's own instead of the fault's: language runtimes that recognised theirs in it
    // would run their clean-up and then continue to a catch that they never found.
    RtlUnwindEx(frame, MorvexGuardLanding, nullptr, reinterpret_cast<void*>(1), dispatcher->ContextRecord,
                dispatcher->HistoryTable);
    return ExceptionContinueSearch;  // not reached: the unwind continues at the landing
}

namespace morvex {

GuardedResult CallGuarded(int (*function)(void*), void* argument) {
    GuardedResult result;
    result.value = MorvexGuardFrame(function, argument, &result.fault);
    // The guard page that an overflow used up must be put back, or the next overflow ends the process.
    if (result.fault == EXCEPTION_STACK_OVERFLOW) _resetstkoflw();
    return result;
}

}  // namespace morvex
