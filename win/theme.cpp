#include "win/theme.h"

#include <uxtheme.h>

#include <cmath>

namespace morvex {
namespace {

// Relative luminance of an sRGB colour, 0 to 1 (WCAG 2).
double Luminance(COLORREF colour) {
    const auto linear = [](BYTE value) {
        const double part = value / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(GetRValue(colour)) + 0.7152 * linear(GetGValue(colour)) +
           0.0722 * linear(GetBValue(colour));
}

// Black or white, whichever has more contrast.
COLORREF ReadableOn(COLORREF background) {
    constexpr double kFlare = 0.05;
    const double light = Luminance(background) + kFlare;
    return light / kFlare >= (1 + kFlare) / light ? RGB(0, 0, 0) : RGB(255, 255, 255);
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
