#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "win/controls.h"

// Drives real modal dialogs: a script runs inside their message loop, on the thread that shows them.
namespace morvex::test {

// A dialog that a script works on, by control ids.
class ShownDialog {
  public:
    explicit ShownDialog(HWND window) : window_(window) {}

    HWND Window() const { return window_; }
    HWND Item(int id) const { return GetDlgItem(window_, id); }
    bool Open() const { return IsWindowVisible(window_) != FALSE; }  // an ended dialog is hidden at once
    std::wstring Text(int id) const { return Control(Item(id)).Text(); }
    bool Checked(int id) const { return CheckBox(Item(id)).Checked(); }
    bool Enabled(int id) const { return Control(Item(id)).Enabled(); }
    void Type(int id, const std::wstring& text) const { Control(Item(id)).SetText(text); }
    void Click(int id) const { SendMessageW(Item(id), BM_CLICK, 0, 0); }

  private:
    HWND window_;
};

using DialogScript = std::function<void(const ShownDialog&)>;

// Runs `show`, which shows a modal dialog; once that is up, `script` runs on it. A dialog that the script
// leaves open is cancelled. Scripts may call Drive themselves, for a dialog over a dialog.
inline void Drive(const std::function<void()>& show, const DialogScript& script) {
    static std::vector<const DialogScript*> scripts;  // of the dialogs not yet up, innermost last
    constexpr UINT kMilliseconds = 10;
    scripts.push_back(&script);
    const TIMERPROC onTimer = [](HWND, UINT, UINT_PTR timer, DWORD) {
        HWND found = nullptr;
        const WNDENUMPROC takeDialog = [](HWND window, LPARAM result) -> BOOL {
            wchar_t name[16] = {};
            GetClassNameW(window, name, ARRAYSIZE(name));
            if (lstrcmpW(name, L"#32770") != 0 || !IsWindowVisible(window) || !IsWindowEnabled(window))
                return TRUE;
            *reinterpret_cast<HWND*>(result) = window;
            return FALSE;
        };
        EnumThreadWindows(GetCurrentThreadId(), takeDialog, reinterpret_cast<LPARAM>(&found));
        if (!found) return;
        KillTimer(nullptr, timer);
        const DialogScript& run = *scripts.back();
        scripts.pop_back();
        run(ShownDialog(found));
        if (IsWindowVisible(found)) SendMessageW(found, WM_COMMAND, IDCANCEL, 0);
    };
    SetTimer(nullptr, 0, kMilliseconds, onTimer);
    show();
}

}  // namespace morvex::test
