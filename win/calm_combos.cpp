#include "win/calm_combos.h"

#include <commctrl.h>

namespace morvex {
namespace {

LRESULT CALLBACK RefuseWheel(HWND combo, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR) {
    if (message == WM_MOUSEWHEEL && !SendMessageW(combo, CB_GETDROPPEDSTATE, 0, 0)) return 0;
    if (message == WM_NCDESTROY) RemoveWindowSubclass(combo, RefuseWheel, id);
    return DefSubclassProc(combo, message, wParam, lParam);
}

}  // namespace

void CalmComboBoxes(HWND dialog) {
    for (HWND combo = FindWindowExW(dialog, nullptr, WC_COMBOBOXW, nullptr); combo;
         combo = FindWindowExW(dialog, combo, WC_COMBOBOXW, nullptr)) {
        SetWindowSubclass(combo, RefuseWheel, 0, 0);
    }
}

}  // namespace morvex
