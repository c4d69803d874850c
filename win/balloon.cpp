#include "win/balloon.h"

#include <utility>

namespace morvex {
namespace {

constexpr UINT_PTR kHideTimer = 100;  // the tooltip's own timers have small numbers
constexpr UINT kShownMilliseconds = 8000;

}  // namespace

TTTOOLINFOW Balloon::Tool() {
    TTTOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.uFlags = TTF_TRACK | TTF_ABSOLUTE;
    tool.hwnd = dialog_;
    tool.lpszText = text_.data();
    return tool;
}

void Balloon::Show(HWND control, std::wstring text) {
    dialog_ = GetParent(control);
    text_ = std::move(text);
    TTTOOLINFOW tool = Tool();
    if (!window_) {
        window_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                  WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON, 0, 0, 0, 0, dialog_,
                                  nullptr, nullptr, nullptr);
        SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    }
    RECT place{};
    GetWindowRect(control, &place);
    SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(window_, TTM_TRACKPOSITION, 0, MAKELPARAM((place.left + place.right) / 2, place.bottom));
    SendMessageW(window_, TTM_TRACKACTIVATE, TRUE, reinterpret_cast<LPARAM>(&tool));
    SetTimer(window_, kHideTimer, kShownMilliseconds, [](HWND window, UINT, UINT_PTR timer, DWORD) {
        KillTimer(window, timer);
        ShowWindow(window, SW_HIDE);
    });
}

void Balloon::Hide() {
    if (text_.empty()) return;
    text_.clear();
    TTTOOLINFOW tool = Tool();
    SendMessageW(window_, TTM_TRACKACTIVATE, FALSE, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace morvex
