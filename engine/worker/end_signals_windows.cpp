#include "engine/worker/end_signals_windows.h"

#include <mutex>

namespace morvex {
namespace {

// The system calls the handler on a thread of its own and gives no place for data.
HANDLE requested = nullptr, tidy = nullptr;
std::mutex counting;
int living = 0;  // objects, one a conversion under way

// Once the handler of a closed console returns, the process is ended: it waits until all is tidy, for as long
// as the system lets it.
BOOL WINAPI Handle(DWORD event) {
    SetEvent(requested);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) WaitForSingleObject(tidy, INFINITE);
    return TRUE;
}

}  // namespace

EndSignals::EndSignals() {
    const std::lock_guard counted(counting);
    if (requested == nullptr) {
        requested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        tidy = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    held_ = std::make_unique<Held>(Held{requested});
    if (++living > 1) return;
    ResetEvent(tidy);  // an earlier object has set it
    SetConsoleCtrlHandler(Handle, TRUE);
}

EndSignals::~EndSignals() {
    std::unique_lock counted(counting);
    const bool last = --living == 0;
    if (last) {
        SetEvent(tidy);
        SetConsoleCtrlHandler(Handle, FALSE);
    }
    if (WaitForSingleObject(requested, 0) != WAIT_OBJECT_0) return;
    if (last) ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
    counted.unlock();
    Sleep(INFINITE);  // the last one ends the process
}

}  // namespace morvex
