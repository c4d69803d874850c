#include "batch/stop_request.h"

#include <windows.h>

#include <atomic>

namespace morvex {
namespace {

std::atomic<int> requests = 0;

// On a thread that the system starts.
BOOL WINAPI OnControl(DWORD event) {
    constexpr int kEndAll = 2;
    constexpr DWORD kTimeToEnd = 10000;  // milliseconds; the system then ends the process by itself
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        ++requests;
        return TRUE;
    }
    requests = kEndAll;
    Sleep(kTimeToEnd);  // the process ends when this returns, with children that are still to be ended
    return TRUE;
}

}  // namespace

void ListenForStop() {
    SetConsoleCtrlHandler(nullptr, FALSE);  // whoever started this process may have had Ctrl+C ignored
    SetConsoleCtrlHandler(OnControl, TRUE);
}

StopRequest CurrentStop() {
    const int now = requests;
    return now == 0 ? StopRequest::None : now == 1 ? StopRequest::BeginNoMore : StopRequest::EndAll;
}

}  // namespace morvex
