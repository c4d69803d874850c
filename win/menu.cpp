#include "win/menu.h"

#include "win/access_keys.h"

namespace morvex {

void PopupMenu::Add(int id, const std::wstring& text) {
    const size_t split = text.find(L'\\');
    const HMENU target = split == text.npos ? menu_.get() : Submenu(text.substr(0, split));
    const std::wstring item = split == text.npos ? text : text.substr(split + 1);
    if (split == text.npos) items_.emplace_back(static_cast<UINT>(GetMenuItemCount(target)), item);
    AppendMenuW(target, MF_STRING, static_cast<UINT_PTR>(id), EscapeAmpersands(item).c_str());
}

void PopupMenu::AssignKeys() {
    std::vector<std::wstring> texts;
    for (const auto& [place, text] : items_) texts.push_back(text);
    const std::vector<std::wstring> marked = WithAccessKeys(texts);
    for (size_t i = 0; i < items_.size(); ++i) {
        MENUITEMINFOW info{};
        info.cbSize = sizeof info;
        info.fMask = MIIM_STRING;
        info.dwTypeData = const_cast<wchar_t*>(marked[i].c_str());
        SetMenuItemInfoW(menu_.get(), items_[i].first, TRUE, &info);
    }
}

HMENU PopupMenu::Submenu(const std::wstring& name) {
    const auto [entry, isNew] = submenus_.try_emplace(name, nullptr);
    if (isNew) {
        entry->second = CreatePopupMenu();
        AppendMenuW(menu_.get(), MF_POPUP, reinterpret_cast<UINT_PTR>(entry->second),
                    EscapeAmpersands(name).c_str());
    }
    return entry->second;
}

void ShowMenu(const PopupMenu& menu, HWND owner, POINT screen) {
    SetForegroundWindow(owner);  // else the menu would stay when the user clicks elsewhere
    TrackPopupMenu(menu.Handle(), TPM_RIGHTBUTTON, screen.x, screen.y, 0, owner, nullptr);
    PostMessageW(owner, WM_NULL, 0, 0);
}

}  // namespace morvex
