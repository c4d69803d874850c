#pragma once

#include <windows.h>

#include <string>

namespace morvex {

// The tooltip window of one dialog; it follows the pointer by itself and goes with the dialog.
class Tooltip {
  public:
    // Call once the dialog's controls exist. Long texts wrap.
    void Create(HWND dialog);
    // Gives the control this text; again to change it.
    void SetText(int controlId, const std::wstring& text);

  private:
    HWND dialog_ = nullptr;
    HWND window_ = nullptr;
};

}  // namespace morvex
