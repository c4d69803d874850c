#include "win/tooltip.h"

#include <commctrl.h>

namespace morvex {

void Tooltip::Create(HWND dialog) {
    constexpr int kWrapWidth = 400;  // pixels at 96 dpi
    dialog_ = dialog;
    window_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                              WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, CW_USEDEFAULT, CW_USEDEFAULT,
                              CW_USEDEFAULT, CW_USEDEFAULT, dialog, nullptr, nullptr, nullptr);
    const int dpi = static_cast<int>(GetDpiForWindow(dialog));
    SendMessageW(window_, TTM_SETMAXTIPWIDTH, 0, MulDiv(kWrapWidth, dpi, USER_DEFAULT_SCREEN_DPI));
    SendMessageW(window_, TTM_SETDELAYTIME, TTDT_AUTOPOP, MAXSHORT);
}

void Tooltip::SetText(int controlId, const std::wstring& text) {
    const HWND control = GetDlgItem(dialog_, controlId);
    if (!control) return;
    TTTOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = dialog_;
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = const_cast<wchar_t*>(text.c_str());
    SendMessageW(window_, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace morvex
