#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "win/unique_handle.h"

namespace morvex {

// A popup menu built item by item, with its submenus.
class PopupMenu {
  public:
    PopupMenu() : menu_(CreatePopupMenu()) {}
    HMENU Handle() const { return menu_.get(); }

    // Appends an item. A text "name\rest" puts "rest" into a submenu called "name", made once for all such
    // items. An '&' is shown as it stands.
    void Add(int id, const std::wstring& text);
    // Gives each item outside submenus an access key; after the last Add.
    void AssignKeys();
    void AddSeparator() { AppendMenuW(menu_.get(), MF_SEPARATOR, 0, nullptr); }

  private:
    HMENU Submenu(const std::wstring& name);

    UniqueMenu menu_;  // owns its submenus
    std::map<std::wstring, HMENU> submenus_;
    std::vector<std::pair<UINT, std::wstring>> items_;  // place in the menu and text
};

// Shows the menu at a point of the screen until a choice is made or it is closed; the choice arrives at
// `owner` as a command.
void ShowMenu(const PopupMenu& menu, HWND owner, POINT screen);

}  // namespace morvex
