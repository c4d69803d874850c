#pragma once

#include <windows.h>

#include <string>

namespace morvex {

// Opens a file or folder with the program that the system has for it; nothing happens when there is none.
void OpenWithShell(HWND owner, std::wstring path);

// Puts a text on the clipboard. False when another program holds it.
bool CopyToClipboard(HWND owner, const std::wstring& text);

}  // namespace morvex
