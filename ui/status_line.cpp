#include "ui/status_line.h"

#include <algorithm>

#include "res/resource.h"
#include "win/access_keys.h"
#include "win/controls.h"
#include "win/window_device.h"

namespace morvex {
namespace {

constexpr int kPadding = 12, kGap = 8;  // pixels at 96 dpi: beside and below the caption, left of the button

}  // namespace

void StatusLine::ShowText(const std::wstring& text) const {
    const Control line(state_.Item(IDC_STATUS_LINE));
    if (line.Text() != text) line.SetText(text);
}

void StatusLine::Offer(const std::wstring& caption, bool enabled) const {
    const Control button(state_.Item(IDC_ACTION));
    const bool keepsFocus = enabled && !caption.empty();
    if (!keepsFocus && GetFocus() == button.Handle()) SetFocus(state_.Item(IDC_LIST));
    button.Enable(enabled);
    const std::wstring text = EscapeAmpersands(caption);
    if (button.Text() == text) return;
    button.SetText(text);
    button.Show(!caption.empty());
    Place();
}

void StatusLine::Place() const {
    const Control line(state_.Item(IDC_STATUS_LINE)), button(state_.Item(IDC_ACTION));
    const int dpi = static_cast<int>(GetDpiForWindow(state_.window));
    const RECT list = Control(state_.Item(IDC_LIST)).Place(), text = line.Place();
    LONG right = list.right;
    const std::wstring caption = button.Text();
    if (!caption.empty()) {
        SIZE size{};
        GetTextExtentPoint32W(WindowDevice(button.Handle()).Get(), caption.c_str(),
                              static_cast<int>(caption.size()), &size);
        const LONG padding = MulDiv(kPadding, dpi, USER_DEFAULT_SCREEN_DPI);
        const LONG width = std::min(size.cx + 2 * padding, (list.right - list.left) * 2 / 3);
        const LONG height = size.cy + padding / 2;
        SetWindowPos(button.Handle(), nullptr, right - width, (text.top + text.bottom - height) / 2, width,
                     height, SWP_NOZORDER | SWP_NOACTIVATE);
        right -= width + MulDiv(kGap, dpi, USER_DEFAULT_SCREEN_DPI);
    }
    SetWindowPos(line.Handle(), nullptr, 0, 0, right - text.left, text.bottom - text.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    InvalidateRect(line.Handle(), nullptr, TRUE);
}

}  // namespace morvex
