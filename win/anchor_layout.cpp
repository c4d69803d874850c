#include "win/anchor_layout.h"

#include <algorithm>

namespace morvex {
namespace {

SIZE ClientSize(HWND window) {
    RECT client{};
    GetClientRect(window, &client);
    return {client.right, client.bottom};
}

}  // namespace

void AnchorLayout::Attach(HWND dialog) {
    dialog_ = dialog;
    dpi_ = GetDpiForWindow(dialog);
    size_ = ClientSize(dialog);
}

void AnchorLayout::Add(int controlId, unsigned anchors) {
    Entry entry{GetDlgItem(dialog_, controlId), anchors, {}};
    GetWindowRect(entry.control, &entry.place);
    MapWindowPoints(nullptr, dialog_, reinterpret_cast<POINT*>(&entry.place), 2);
    entries_.push_back(entry);
}

void AnchorLayout::Apply() const {
    const auto scale = [from = static_cast<int>(dpi_), to = static_cast<int>(GetDpiForWindow(dialog_))](
                           LONG value) { return MulDiv(static_cast<int>(value), to, from); };
    const SIZE size = ClientSize(dialog_);
    const LONG wider = size.cx - scale(size_.cx);
    const LONG higher = size.cy - scale(size_.cy);
    HDWP moves = BeginDeferWindowPos(static_cast<int>(entries_.size()));
    for (const auto& [control, anchors, place] : entries_) {
        LONG left = scale(place.left), right = scale(place.right);
        LONG top = scale(place.top), bottom = scale(place.bottom);
        if (anchors & kRight) right += wider;
        if ((anchors & kRight) && !(anchors & kLeft)) left += wider;
        if (anchors & kBottom) bottom += higher;
        if ((anchors & kBottom) && !(anchors & kTop)) top += higher;
        if (moves) {
            moves =
                DeferWindowPos(moves, control, nullptr, left, top, std::max(right - left, 0L),
                               std::max(bottom - top, 0L), SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
        }
    }
    if (moves) EndDeferWindowPos(moves);
}

}  // namespace morvex
