#include "win/taskbar.h"

#include <windows.h>

#include <shobjidl.h>

namespace morvex {

TaskbarProgress::TaskbarProgress() = default;
TaskbarProgress::~TaskbarProgress() = default;

// Only now: connecting to the shell would make the window open later.
void TaskbarProgress::Connect() {
    connected_ = true;
    void* list = nullptr;
    CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3, &list);
    list_.reset(static_cast<ITaskbarList3*>(list));
    if (list_ && FAILED(list_->HrInit())) list_.reset();
}

void TaskbarProgress::Show(size_t done, size_t total, bool failed) {
    shown_ = true;
    if (!connected_) Connect();
    if (!list_) return;
    list_->SetProgressState(window_, failed ? TBPF_ERROR : TBPF_NORMAL);
    list_->SetProgressValue(window_, done, total);
}

void TaskbarProgress::Clear() {
    if (shown_ && list_) list_->SetProgressState(window_, TBPF_NOPROGRESS);
    shown_ = false;
}

void AnnounceInBackground(HWND window) {
    DWORD process = 0;
    GetWindowThreadProcessId(GetForegroundWindow(), &process);
    if (process == GetCurrentProcessId()) return;
    FLASHWINFO flash{sizeof flash, window, FLASHW_TRAY | FLASHW_TIMERNOFG, 0, 0};
    FlashWindowEx(&flash);
}

}  // namespace morvex
