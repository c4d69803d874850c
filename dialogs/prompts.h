#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "core/product.h"
#include "win/file_dialogs.h"

namespace morvex {

using product::kMessageCaption;

// What the settings dialogs ask the user beyond their own controls; replaced where nobody is there to answer.
struct Prompts {
    std::function<int(HWND owner, const std::wstring& text, const wchar_t* caption, UINT style)> message =
        [](HWND owner, const std::wstring& text, const wchar_t* caption, UINT style) {
            return MessageBoxW(owner, text.c_str(), caption, style);
        };
    std::function<std::vector<std::wstring>(HWND owner, const FileDialog&)> openFiles = OpenFiles;
};

}  // namespace morvex
