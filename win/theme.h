#pragma once

#include <windows.h>

#include "win/unique_handle.h"

namespace morvex {

// The background colour of a dialog and a text colour that can be read on it. In high contrast the system's
// own colours stay. Belongs to one dialog, whose OnMessage asks it.
class WindowTheme {
  public:
    explicit WindowTheme(COLORREF background);

    // The answer to WM_CTLCOLORDLG, WM_CTLCOLORSTATIC and WM_CTLCOLORBTN; null for other messages and for
    // what keeps the system's colours (read-only edits, high contrast).
    HBRUSH Answer(UINT message, WPARAM wParam, LPARAM lParam) const;
    // Check boxes under visual styles ignore the text colour; this takes the style from one.
    static void MakeColourable(HWND checkBox);

    static bool HighContrast();

  private:
    COLORREF background_;
    COLORREF text_;
    UniqueBrush brush_;
};

}  // namespace morvex
