#include "win/file_dialogs.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>

#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

// What the platform's structure points to, kept alive beside it.
class OpenFileName {
  public:
    OpenFileName(HWND owner, const FileDialog& dialog)
        : filter_(dialog.filter), buffer_(std::max<size_t>(dialog.bufferCharacters, MAX_PATH), L'\0') {
        std::replace(filter_.begin(), filter_.end(), L'|', L'\0');
        filter_.push_back(L'\0');  // with the text's own end the list's double zero
        dialog.initialFile.copy(buffer_.data(), buffer_.size() - 1);
        data_.lStructSize = sizeof data_;
        data_.hwndOwner = owner;
        data_.lpstrFilter = dialog.filter.empty() ? nullptr : filter_.c_str();
        data_.lpstrFile = buffer_.data();
        data_.nMaxFile = static_cast<DWORD>(buffer_.size());
        data_.lpstrInitialDir = OrNull(dialog.initialFolder);
        data_.lpstrTitle = OrNull(dialog.title);
        data_.lpstrDefExt = OrNull(dialog.defaultExtension);
        data_.Flags =
            dialog.flags | OFN_EXPLORER | OFN_NOCHANGEDIR | (dialog.multiple ? OFN_ALLOWMULTISELECT : 0);
    }

    OPENFILENAMEW* Data() { return &data_; }

    // One path; or, when several were chosen, their folder and then each name, every text ended by a zero.
    std::vector<std::wstring> Paths() const {
        const std::wstring first = buffer_.data();
        std::vector<std::wstring> paths;
        const wchar_t* name = buffer_.data() + first.size() + 1;
        const wchar_t* end = buffer_.data() + buffer_.size();
        while ((data_.Flags & OFN_ALLOWMULTISELECT) && name < end && *name) {
            const std::wstring text = name;
            paths.push_back(JoinPath(first, text));
            name += text.size() + 1;
        }
        if (paths.empty()) paths.push_back(first);
        return paths;
    }

  private:
    static const wchar_t* OrNull(const std::wstring& text) { return text.empty() ? nullptr : text.c_str(); }

    std::wstring filter_;
    std::wstring buffer_;
    OPENFILENAMEW data_{};
};

int CALLBACK SelectInitialFolder(HWND window, UINT message, LPARAM, LPARAM initial) {
    if (message == BFFM_INITIALIZED) SendMessageW(window, BFFM_SETSELECTIONW, TRUE, initial);
    return 0;
}

}  // namespace

std::vector<std::wstring> OpenFiles(HWND owner, const FileDialog& dialog) {
    OpenFileName request(owner, dialog);
    if (!GetOpenFileNameW(request.Data())) return {};
    return request.Paths();
}

std::optional<std::wstring> SaveFile(HWND owner, const FileDialog& dialog) {
    OpenFileName request(owner, dialog);
    request.Data()->Flags |= OFN_OVERWRITEPROMPT;
    if (!GetSaveFileNameW(request.Data())) return std::nullopt;
    return request.Paths().front();
}

std::optional<std::wstring> BrowseFolder(HWND owner, const std::wstring& title, const std::wstring& initial) {
    BROWSEINFOW request{};
    wchar_t path[MAX_PATH] = L"";
    request.hwndOwner = owner;
    request.pszDisplayName = path;
    request.lpszTitle = title.c_str();
    request.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    request.lpfn = SelectInitialFolder;
    request.lParam = reinterpret_cast<LPARAM>(initial.c_str());
    const UniqueResource<PIDLIST_ABSOLUTE, ::CoTaskMemFree> folder(SHBrowseForFolderW(&request));
    PWSTR chosen = nullptr;  // of any length, unlike SHGetPathFromIDListW's
    if (!folder || FAILED(SHGetNameFromIDList(folder.get(), SIGDN_FILESYSPATH, &chosen))) return std::nullopt;
    const UniqueResource<PWSTR, ::CoTaskMemFree> ownerOfChosen(chosen);
    return chosen;
}

}  // namespace morvex
