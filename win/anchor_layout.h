#pragma once

#include <windows.h>

#include <vector>

namespace morvex {

// Keeps a dialog's controls at their distances from its edges when its size or its scaling changes.
class AnchorLayout {
  public:
    enum Anchor : unsigned { kLeft = 1, kTop = 2, kRight = 4, kBottom = 8 };

    // Takes the places of the dialog's controls as right for its scaling now and for the size that leaves the
    // same margin on all sides. (The window may be smaller already, where the screen is.)
    void Attach(HWND dialog);
    SIZE Size() const { return size_; }  // that size, of the client area
    // One of those controls. Anchored to both opposite edges a control grows; to one of them, or none, it
    // moves with it or stays.
    void Add(int controlId, unsigned anchors);
    // Places all controls for the dialog's size now.
    void Apply() const;

  private:
    struct Entry {
        HWND control;
        unsigned anchors;  // none for a control that is not to be placed
        RECT place;        // in client coordinates when the dialog was attached
    };

    HWND dialog_ = nullptr;
    UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
    SIZE size_{};
    std::vector<Entry> entries_;
};

}  // namespace morvex
