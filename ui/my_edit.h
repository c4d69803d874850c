#pragma once

#include "win/controls.h"

namespace morvex {

// An edit whose Enter key moves on to the next control, which ends the entry, instead of pressing the
// dialog's default button.
class CMyEdit : public Edit {
  public:
    using Edit::Edit;

    // True when the message was this edit's Enter key; it is dealt with then.
    bool PreTranslate(const MSG& message) const {
        if (message.hwnd != Handle() || message.message != WM_KEYDOWN || message.wParam != VK_RETURN)
            return false;
        PostMessageW(GetParent(Handle()), WM_NEXTDLGCTL, 0, FALSE);
        return true;
    }

    bool Modified() const { return Send(EM_GETMODIFY) != 0; }
    void ClearModified() const { Send(EM_SETMODIFY, FALSE); }
};

}  // namespace morvex
