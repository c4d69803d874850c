#include "convert/crash_guard.h"

#include <windows.h>

#include <memory>
#include <mutex>
#include <utility>
#include <xmmintrin.h>

#include "win/unique_handle.h"

// The frame in crash_guard_frame.S: calls function(argument) with MorvexGuardHandler as the frame's handler.
// After a fault it returns with *fault set.
extern "C" int MorvexGuardFrame(int (*function)(void*), void* argument, std::uint32_t* fault);
extern "C" char MorvexGuardLanding[];  // NOLINT(readability-identifier-naming): a label of the frame

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

// What a library may leave changed in its thread.
void ResetThread() {
    constexpr unsigned kNoFloatingPointFaults = 0x1F80;
    _mm_setcsr(kNoFloatingPointFaults);
    __asm__ volatile("fninit");
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_NORMAL);
}

// A thread for calls, one after the other. It ends with the first call that fails, since its stack has lost
// its guard page then, with a call that takes its events away, or with whoever ends it.
struct CallThread {
    UniqueHandle begin{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    UniqueHandle done{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    Call* call = nullptr;
    UniqueHandle thread;  // last: its start reads the others

    DWORD id = 0;

    // Patiently: on a busy machine there may be room for a thread in a moment.
    bool Start() {
        constexpr int kTries = 50;
        constexpr DWORD kBetweenTries = 100;  // milliseconds
        for (int tries = 0; begin && done && !thread && tries < kTries; ++tries) {
            if (tries > 0) Sleep(kBetweenTries);
            thread.reset(
                CreateThread(nullptr, kStackSize, Work, this, STACK_SIZE_PARAM_IS_A_RESERVATION, &id));
        }
        return thread != nullptr;
    }

    static DWORD WINAPI Work(void* given) {
        auto& self = *static_cast<CallThread*>(given);
        KeepRoomForFaults();
        while (WaitForSingleObject(self.begin.get(), INFINITE) == WAIT_OBJECT_0) {
            ResetThread();
            GuardedResult result;
            if (self.call->catching)
                result.value = MorvexGuardFrame(self.call->function, self.call->argument, &result.fault);
            else
                result.value = self.call->function(self.call->argument);
            self.call->result = result;
            if (result.fault || !SetEvent(self.done.get())) break;
        }
        return 0;
    }

    // Waits for the end of the call; true when the thread is there for another one. A library that closes
    // handles which are not its own may have closed these.
    bool Wait() const {
        const HANDLE ends[] = {done.get(), thread.get()};
        const DWORD end = WaitForMultipleObjects(2, ends, FALSE, INFINITE);
        while (end == WAIT_FAILED) {
            const UniqueHandle again(OpenThread(SYNCHRONIZE, FALSE, id));
            if (!again || WaitForSingleObject(again.get(), INFINITE) == WAIT_OBJECT_0) break;
        }
        return end == WAIT_OBJECT_0;
    }
};

// The thread that waits for the next call; making one takes longer than most of what is done for a file.
std::mutex spareMutex;
std::unique_ptr<CallThread> spare;

}  // namespace

GuardedResult CallGuarded(int (*function)(void*), void* argument, bool catching) {
    std::unique_ptr<CallThread> thread;
    {
        const std::lock_guard lock(spareMutex);
        thread = std::move(spare);
    }
    if (!thread) {
        thread = std::make_unique<CallThread>();
        if (!thread->Start()) return {0, GuardedResult::kThreadLost};
    }
    Call call{function, argument, catching};
    thread->call = &call;
    if (!SetEvent(thread->begin.get())) return call.result;
    if (thread->Wait()) {
        const std::lock_guard lock(spareMutex);
        spare = std::move(thread);
    }
    return call.result;
}

}  // namespace morvex
