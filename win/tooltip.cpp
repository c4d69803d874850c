#include "win/tooltip.h"

#include <commctrl.h>

#include <utility>

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
    Add(GetDlgItem(dialog_, controlId), const_cast<wchar_t*>(text.c_str()));
}

void Tooltip::SetText(int controlId, std::function<std::wstring()> text) {
    const HWND control = GetDlgItem(dialog_, controlId);
    asked_[control] = std::move(text);
    Add(control, LPSTR_TEXTCALLBACKW);
}

void Tooltip::Add(HWND control, wchar_t* text) const {
    if (!control) return;
    TTTOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = dialog_;
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = text;
    SendMessageW(window_, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

bool Tooltip::Answer(NMHDR& header) {
    if (header.code != TTN_GETDISPINFOW || header.hwndFrom != window_) return false;
    const auto asked = asked_.find(reinterpret_cast<HWND>(header.idFrom));
    if (asked == asked_.end()) return false;
    answer_ = asked->second();
    reinterpret_cast<NMTTDISPINFOW&>(header).lpszText = answer_.data();
    return true;
}

void Tooltip::Hide() const {
    if (window_) SendMessageW(window_, TTM_POP, 0, 0);
}

}  // namespace morvex
