#include "win/anchor_layout.h"

#include <algorithm>

namespace morvex {
void AnchorLayout::Attach(HWND dialog) {
    dialog_ = dialog;
    dpi_ = GetDpiForWindow(dialog);
    POINT origin{};
    ClientToScreen(dialog, &origin);
    RECT all{};
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
        RECT place{};
        GetWindowRect(control, &place);
        OffsetRect(&place, -origin.x, -origin.y);
        entries_.push_back({control, 0, place});
        const RECT before = all;
        UnionRect(&all, &before, &place);
    }
    size_ = {all.right + all.left, all.bottom + all.left};
}

void AnchorLayout::Add(int controlId, unsigned anchors) {
    const HWND control = GetDlgItem(dialog_, controlId);
    std::ranges::find(entries_, control, &Entry::control)->anchors = anchors;
}

void AnchorLayout::Apply() const {
    const auto scale = [from = static_cast<int>(dpi_), to = static_cast<int>(GetDpiForWindow(dialog_))](
                           LONG value) { return MulDiv(static_cast<int>(value), to, from); };
    RECT client{};
    GetClientRect(dialog_, &client);
    const LONG wider = client.right - scale(size_.cx);
    const LONG higher = client.bottom - scale(size_.cy);
    HDWP moves = BeginDeferWindowPos(static_cast<int>(entries_.size()));
    for (const auto& [control, anchors, place] : entries_) {
        if (!anchors) continue;
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
