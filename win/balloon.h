#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>

namespace morvex {

// A remark that points at a control of a dialog for some seconds. It goes with the dialog.
class Balloon {
  public:
    // Takes the place of the remark shown before.
    void Show(HWND control, std::wstring text);
    void Hide();

  private:
    TTTOOLINFOW Tool();

    HWND window_ = nullptr;
    HWND dialog_ = nullptr;
    std::wstring text_;
};

}  // namespace morvex
