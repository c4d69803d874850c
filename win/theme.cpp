#include "win/theme.h"

#include <uxtheme.h>

#include <string>

namespace morvex {
namespace {

COLORREF ReadableOn(COLORREF background) {
    const int brightness =
        (GetRValue(background) * 299 + GetGValue(background) * 587 + GetBValue(background) * 114) / 1000;
    return brightness < 140 ? RGB(255, 255, 255) : RGB(0, 0, 0);
}

// Edits and lists ask too while they are read-only or disabled; they keep the look that says so.
bool HasField(HWND control) {
    wchar_t name[16] = L"";
    GetClassNameW(control, name, 16);
    return lstrcmpiW(name, L"Edit") == 0 || lstrcmpiW(name, L"ComboBox") == 0;
}

}  // namespace

WindowTheme::WindowTheme(COLORREF background)
    : background_(background), text_(ReadableOn(background)), brush_(CreateSolidBrush(background)) {}

HBRUSH WindowTheme::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    if (message != WM_CTLCOLORDLG && message != WM_CTLCOLORSTATIC && message != WM_CTLCOLORBTN)
        return nullptr;
    if (HighContrast() || HasField(reinterpret_cast<HWND>(lParam))) return nullptr;
    const auto device = reinterpret_cast<HDC>(wParam);
    SetTextColor(device, text_);
    SetBkColor(device, background_);
    return brush_.get();
}

void WindowTheme::MakeColourable(HWND checkBox) {
    if (!HighContrast()) SetWindowTheme(checkBox, L"", L"");
}

bool WindowTheme::HighContrast() {
    HIGHCONTRASTW setting{};
    setting.cbSize = sizeof setting;
    SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof setting, &setting, 0);
    return (setting.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

}  // namespace morvex
