#include "convert/crash_guard.h"

#include <windows.h>

#include "win/unique_handle.h"

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
namespace {

// Room that is left for the handling of a stack overflow.
constexpr ULONG kFaultRoom = 64 << 10;
constexpr SIZE_T kStackSize = 8 << 20;

struct Call {
    int (*function)(void*);
    void* argument;
    bool catching;
    GuardedResult result{0, GuardedResult::kThreadLost};  // until the thread's function returns
};

// Systems that commit a thread's whole stack at once see its end only at the last page, too late to handle
// the overflow. The guard page meets it where the room begins. Elsewhere that page is not committed yet, the
// call fails, and the system's own guard page does the same.
void KeepRoomForFaults() {
    ULONG room = kFaultRoom;
    SetThreadStackGuarantee(&room);
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    MEMORY_BASIC_INFORMATION stack{};
    VirtualQuery(&room, &stack, sizeof stack);
    char* const page = static_cast<char*>(stack.AllocationBase) + system.dwPageSize + kFaultRoom;
    DWORD before = 0;
    VirtualProtect(page, system.dwPageSize, PAGE_READWRITE | PAGE_GUARD, &before);
}

DWORD WINAPI RunCall(void* given) {
    Call& call = *static_cast<Call*>(given);
    KeepRoomForFaults();
    GuardedResult result;
    if (call.catching)
        result.value = MorvexGuardFrame(call.function, call.argument, &result.fault);
    else
        result.value = call.function(call.argument);
    call.result = result;
    return 0;
}

}  // namespace

GuardedResult CallGuarded(int (*function)(void*), void* argument, bool catching) {
    Call call{function, argument, catching};
    const UniqueHandle thread(
        CreateThread(nullptr, kStackSize, RunCall, &call, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    if (thread) WaitForSingleObject(thread.get(), INFINITE);
    return call.result;
}

}  // namespace morvex
