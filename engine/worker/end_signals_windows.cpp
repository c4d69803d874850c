#include "engine/worker/end_signals_windows.h"

namespace morvex {
namespace {

// The system calls the handler on a thread of its own and gives no place for data.
HANDLE requested = nullptr, tidy = nullptr;

// Once the handler of a closed console returns, the process is ended: it waits until all is tidy, for as long
// as the system lets it.
BOOL WINAPI Handle(DWORD event) {
    SetEvent(requested);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) WaitForSingleObject(tidy, INFINITE);
    return TRUE;
}

}  // namespace

EndSignals::EndSignals() {
    if (requested == nullptr) {
        requested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        tidy = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    ResetEvent(tidy);  // an earlier object has set it
    held_ = std::make_unique<Held>(Held{requested});
    SetConsoleCtrlHandler(Handle, TRUE);
}

EndSignals::~EndSignals() {
    SetEvent(tidy);
    SetConsoleCtrlHandler(Handle, FALSE);
    if (WaitForSingleObject(requested, 0) == WAIT_OBJECT_0)
        ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

}  // namespace morvex
