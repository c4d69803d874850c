#pragma once

#include <windows.h>

namespace morvex {

// Takes the mouse wheel from the dialog's combo boxes while their lists are closed: the wheel moves on under
// the pointer, and a choice changed in passing would not even be noticed.
void CalmComboBoxes(HWND dialog);

}  // namespace morvex
