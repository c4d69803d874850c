#pragma once

#include <windows.h>

#include <cstddef>

#include "win/unique_handle.h"

struct ITaskbarList3;

namespace morvex {

// Progress on a window's taskbar button. Every call does nothing where the system offers no such thing.
// Belongs to the thread of the window, which has COM initialised.
class TaskbarProgress {
  public:
    TaskbarProgress();
    ~TaskbarProgress();

    void Attach(HWND window) { window_ = window; }
    // `failed` shows the bar in the error colour.
    void Show(size_t done, size_t total, bool failed);
    void Clear();
    bool Shown() const { return shown_; }

  private:
    void Connect();

    HWND window_ = nullptr;
    UniqueCom<ITaskbarList3> list_;
    bool connected_ = false;
    bool shown_ = false;
};

// Calls for the user's attention once when another program's window is in front.
void AnnounceInBackground(HWND window);

}  // namespace morvex
