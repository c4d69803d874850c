#include "win/shell.h"

#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cstring>

namespace morvex {

void OpenWithShell(HWND owner, std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    if (path.ends_with(L':')) path += L'\\';  // "C:" alone is that drive's current folder
    ShellExecuteW(owner, L"open", path.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

bool CopyToClipboard(HWND owner, const std::wstring& text) {
    if (!OpenClipboard(owner)) return false;
    EmptyClipboard();
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    bool done = false;
    if (memory) {
        std::memcpy(GlobalLock(memory), text.c_str(), bytes);
        GlobalUnlock(memory);
        done = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;  // the clipboard owns it now
        if (!done) GlobalFree(memory);
    }
    CloseClipboard();
    return done;
}

}  // namespace morvex
