#include "ui/context_menu.h"

#include "res/string_ids.h"

namespace morvex {
namespace {

void AddRecentFiles(PopupMenu& menu, const WindowState& state) {
    int id = kFirstRecentFile;
    for (const std::wstring& path : state.recentFiles.Paths())
        menu.Add(id++, state.Text(IDS_ADD_RECENT_FILE) + L"\\" + path);
}

}  // namespace

void FillContextMenu(PopupMenu& menu, const WindowState& state, size_t selectedRows,
                     const ListRow* selected) {
    const auto add = [&](int id) { menu.Add(id, state.Text(id)); };
    const bool developer = state.Settings().developerMode.Get(), rows = !state.list.Empty();
    const auto addLast = [&] {
        if (state.run != RunState::Running) {
            add(IDS_OPTIONS);
            menu.AddSeparator();
        }
        add(IDS_QUIT);
    };
    if (state.Busy()) return addLast();
    if (rows) {
        add(IDS_RUN_CONVERSION);
        menu.AddSeparator();
    }
    if (state.run == RunState::Finished) {
        add(IDS_SAVE_RESULTS_REPORT);
        menu.AddSeparator();
    }
    if (selectedRows > 0) {
        add(IDS_REMOVE_FROM_LIST);
        menu.AddSeparator();
    }
    if (selectedRows == 1) {
        for (const int id : {IDS_COPY_FILE_PATH, IDS_OPEN_CONTAINING_FOLDER, IDS_OPEN_OUTPUT_FOLDER}) add(id);
        if (selected && selected->status.state == RowState::Converted) add(IDS_PREVIEW);
        menu.AddSeparator();
    }
    add(IDS_ADD_FILES);
    if (developer) AddRecentFiles(menu, state);
    add(IDS_ADD_FOLDER);
    add(IDS_ADD_FOLDER_RECURSIVE);
    if (rows) add(IDS_EMPTY_LIST);
    menu.AddSeparator();
    add(IDS_LOAD_LIST);
    if (rows) add(IDS_SAVE_LIST);
    if (rows && developer) add(IDS_SAVE_LIST_PYTHON);
    menu.AddSeparator();
    addLast();
}

}  // namespace morvex
