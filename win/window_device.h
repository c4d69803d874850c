#pragma once

#include <windows.h>

namespace morvex {

// The device context of a window with the window's own font chosen, for measuring and drawing in its client
// area.
class WindowDevice {
  public:
    explicit WindowDevice(HWND window)
        : window_(window),
          device_(GetDC(window)),
          oldFont_(SelectObject(device_, reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)))) {}
    WindowDevice(const WindowDevice&) = delete;
    WindowDevice& operator=(const WindowDevice&) = delete;
    ~WindowDevice() {
        SelectObject(device_, oldFont_);
        ReleaseDC(window_, device_);
    }

    HDC Get() const { return device_; }

  private:
    HWND window_;
    HDC device_;
    HGDIOBJ oldFont_;
};

}  // namespace morvex
