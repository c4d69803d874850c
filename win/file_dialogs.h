#pragma once

#include <windows.h>

#include <commdlg.h>

#include <optional>
#include <string>
#include <vector>

// The platform's file and folder dialogs as plain functions. They run modally over `owner` on its thread; an
// empty answer means that the user cancelled.
namespace morvex {

struct FileDialog {
    std::wstring filter;            // "label|patterns|" pairs; a closing "|" more does no harm
    std::wstring initialFile = {};  // name or path offered first
    std::wstring initialFolder = {};
    std::wstring title = {};             // empty: the platform's own
    std::wstring defaultExtension = {};  // without dot; added to a typed name that has none
    DWORD flags = 0;                     // OFN_...; the explorer style is always on
    size_t bufferCharacters = 1024;      // room for the chosen names
    bool multiple = false;               // opening only
};

// The full paths of the chosen files, in the dialog's order.
std::vector<std::wstring> OpenFiles(HWND owner, const FileDialog& dialog);

// The full path to write to. The dialog asks before it answers with an existing file.
std::optional<std::wstring> SaveFile(HWND owner, const FileDialog& dialog);

// The path of a file-system folder; `initial` is selected first when it exists. Needs OLE initialised on the
// thread.
std::optional<std::wstring> BrowseFolder(HWND owner, const std::wstring& title, const std::wstring& initial);

}  // namespace morvex
