#pragma once

#include <cstddef>

#include "ui/window_state.h"
#include "win/menu.h"

namespace morvex {

// Commands of the recent files, in their order.
inline constexpr int kFirstRecentFile = 4001;
inline constexpr int kLastRecentFile = kFirstRecentFile + static_cast<int>(RecentFiles::kMost) - 1;

// The commands that the state allows now, with that many rows selected.
void FillContextMenu(PopupMenu& menu, const WindowState& state, size_t selectedRows, const ListRow* selected);

}  // namespace morvex
