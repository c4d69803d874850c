#pragma once

#include <functional>
#include <optional>
#include <string>

#include "dialogs/prompts.h"
#include "win/menu.h"
#include "win/shell.h"

namespace morvex {

// What the main window shows or opens outside itself; replaced where nobody is there to answer.
struct MainPrompts : Prompts {
    std::function<std::optional<std::wstring>(HWND owner, const FileDialog&)> saveFile = SaveFile;
    std::function<std::optional<std::wstring>(HWND owner, const std::wstring& title,
                                              const std::wstring& initial)>
        browseFolder = BrowseFolder;
    std::function<void(const PopupMenu& menu, HWND owner, POINT screen)> showMenu = ShowMenu;
    std::function<void(HWND owner, const std::wstring& path)> open = OpenWithShell;
};

}  // namespace morvex
