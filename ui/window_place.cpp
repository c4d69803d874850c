#include "ui/window_place.h"

#include <sstream>

namespace morvex {

std::wstring PlaceOf(HWND window) {
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    const RECT& place = placement.rcNormalPosition;
    std::wostringstream text;
    text << place.left << L' ' << place.top << L' ' << place.right << L' ' << place.bottom << L' '
         << GetDpiForWindow(window) << L' ' << (IsZoomed(window) ? 1 : 0);
    return text.str();
}

bool RestorePlace(HWND window, const std::wstring& place) {
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    RECT& wanted = placement.rcNormalPosition;
    UINT dpi = 0;
    int maximised = 0;
    std::wistringstream text(place);
    text >> wanted.left >> wanted.top >> wanted.right >> wanted.bottom >> dpi >> maximised;
    // The title bar has to be within reach.
    const RECT title{wanted.left, wanted.top, wanted.right, wanted.top + GetSystemMetrics(SM_CYCAPTION)};
    if (!text || dpi != GetDpiForWindow(window) || !MonitorFromRect(&title, MONITOR_DEFAULTTONULL))
        return false;
    placement.showCmd = SW_HIDE;
    SetWindowPlacement(window, &placement);
    return maximised == 1;
}

}  // namespace morvex
