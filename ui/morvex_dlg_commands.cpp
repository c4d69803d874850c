#include <algorithm>
#include <unordered_set>

#include "res/string_ids.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"
#include "win/shell.h"

// The main window's menu and its commands on the list.
namespace morvex {
namespace {

constexpr wchar_t kReportSuffix[] = L"-zel.xml";  // the conversion report beside an output

}  // namespace

void CmorvexDlg::FillContextMenu(PopupMenu& menu) const {
    const auto add = [&](int id) { menu.Add(id, context_.text(id)); };
    const bool idle = !Busy(), developer = settings_.developerMode.Get(), rows = !list_.Empty();
    const size_t selected = listControl_.View().SelectedCount();
    if (idle && rows) {
        add(IDS_RUN_CONVERSION);
        menu.AddSeparator();
    }
    if (idle && state_ == RunState::Finished) {
        add(IDS_SAVE_RESULTS_REPORT);
        menu.AddSeparator();
    }
    if (idle && selected > 0) {
        add(IDS_REMOVE_FROM_LIST);
        menu.AddSeparator();
    }
    if (idle && selected == 1) {
        for (const int id : {IDS_COPY_FILE_PATH, IDS_OPEN_CONTAINING_FOLDER, IDS_OPEN_OUTPUT_FOLDER}) add(id);
        menu.AddSeparator();
    }
    if (idle) {
        add(IDS_ADD_FILES);
        int id = kFirstRecentFile;
        if (developer) {
            for (const std::wstring& path : recentFiles_.Paths()) {
                if (id < kFirstRecentFile + kRecentFiles)
                    menu.Add(id++, context_.text(IDS_ADD_RECENT_FILE) + L"\\" + path);
            }
        }
        add(IDS_ADD_FOLDER);
        add(IDS_ADD_FOLDER_RECURSIVE);
        if (rows) add(IDS_EMPTY_LIST);
        menu.AddSeparator();
        add(IDS_LOAD_LIST);
        if (rows) add(IDS_SAVE_LIST);
        if (rows && developer) add(IDS_SAVE_LIST_PYTHON);
        menu.AddSeparator();
        add(IDS_OPTIONS);
        menu.AddSeparator();
    }
    add(IDS_QUIT);
}

void CmorvexDlg::RunCommand(int id) {
    switch (id) {
        case IDS_ADD_FILES:
            return pendingDrop_.empty() ? AddFiles() : AddDroppedPaths(false, false);
        case IDS_ADD_FILES_RECURSIVE:
            return AddDroppedPaths(false, true);
        case IDS_REPLACE_FILES:
            return AddDroppedPaths(true, false);
        case IDS_REPLACE_FILES_RECURSIVE:
            return AddDroppedPaths(true, true);
        case IDS_ADD_FOLDER:
            return AddFolder(false);
        case IDS_ADD_FOLDER_RECURSIVE:
            return AddFolder(true);
        case IDS_EMPTY_LIST:
            return EmptyList();
        case IDS_REMOVE_FROM_LIST:
            return RemoveSelectedRows();
        case IDS_MOVE_UP:
            return MoveRow(true);
        case IDS_MOVE_DOWN:
            return MoveRow(false);
        case IDS_COPY_FILE_PATH:
            return WithSelectedRow(&CmorvexDlg::CopyFilePath);
        case IDS_OPEN_CONTAINING_FOLDER:
            return WithSelectedRow(&CmorvexDlg::OpenContainingFolder);
        case IDS_OPEN_OUTPUT_FOLDER:
            return WithSelectedRow(&CmorvexDlg::OpenOutputFolder);
        case IDS_SAVE_RESULTS_REPORT:
            return SaveResultsReport();
        case IDS_LOAD_LIST:
            return LoadList();
        case IDS_SAVE_LIST:
            return SaveList();
        case IDS_SAVE_LIST_PYTHON:
            return SavePythonList();
        case IDS_RUN_CONVERSION:
            return StartRun();
        case IDC_BROWSE:
            return BrowseOutputFolder();
        case IDS_CONFIGURE:
            return Configure();
        case IDS_OPTIONS:
            return ShowOptions();
        case IDS_WRITE_INTO_INPUT_FOLDER:
        case IDS_HEALING:
        case IDS_MULTIPROCESS:
        case IDS_OVERRIDE:
        case IDS_CONVERT_AT_STARTUP:
            return OnSwitch(id);
    }
    if (id >= kFirstRecentFile && id < kFirstRecentFile + kRecentFiles) {
        AddRecentFile(static_cast<size_t>(id - kFirstRecentFile));
    }
}

void CmorvexDlg::EmptyList() {
    if (Busy()) return;
    EnableControls(true);
    list_.Clear();
    if (state_ == RunState::Finished) state_ = RunState::Idle;
    listControl_.View().SelectAll(false);
    listControl_.Refresh();
    EnableListButtons();
    ShowStatus(L"");
}

void CmorvexDlg::RemoveSelectedRows() {
    if (Busy()) return;
    const ListView& view = listControl_.View();
    const std::vector<size_t> selected = view.SelectedRows();
    if (selected.empty()) return;
    list_.RemoveRows(selected);
    view.SelectAll(false);
    listControl_.Refresh();
    if (!list_.Empty()) view.FocusRow(std::min(selected.front(), list_.Count() - 1));
    EnableListButtons();
}

void CmorvexDlg::MoveRow(bool up) {
    const ListView& view = listControl_.View();
    if (Busy() || view.SelectedCount() != 1) return;
    if (!list_.MoveRow(static_cast<size_t>(view.FirstSelected()), up)) return;
    listControl_.ShowSorted(false);
    view.SelectAll(false);
    listControl_.RedrawVisible();
}

void CmorvexDlg::SortByColumn(ListColumn column) {
    if (Busy()) return;
    const ListView& view = listControl_.View();
    std::unordered_set<const ListRow*> selected;  // a row keeps its place in memory
    for (const size_t row : view.SelectedRows()) selected.insert(&list_.Row(row));
    list_.SortByColumn(column);
    if (selected.size() < list_.Count()) view.SelectAll(false);
    for (size_t row = 0; row < list_.Count() && selected.size() < list_.Count(); ++row) {
        if (selected.contains(&list_.Row(row))) view.Select(row);
    }
    listControl_.ShowSorted(true);
    listControl_.RedrawVisible();
}

void CmorvexDlg::OpenResult(const NMITEMACTIVATE& click) {
    const auto index = static_cast<size_t>(click.iItem);
    if (Busy() || click.iItem < 0 || index >= list_.Count()) return;
    const ListRow& row = list_.Row(index);
    const ListColumn column = listControl_.ColumnAt(static_cast<int>(click.ptAction.x));
    if (column == ListColumn::Folder) return prompts_.open(Handle(), row.folder);
    if (!row.status.Final() || row.outputPath.empty()) return;
    prompts_.open(Handle(), column == ListColumn::Status ? row.outputPath + kReportSuffix : row.outputPath);
}

void CmorvexDlg::WithSelectedRow(void (CmorvexDlg::*action)(size_t row)) {
    const ListView& view = listControl_.View();
    if (!Busy() && view.SelectedCount() == 1) (this->*action)(static_cast<size_t>(view.FirstSelected()));
}

void CmorvexDlg::CopyFilePath(size_t row) {
    CopyToClipboard(Handle(), list_.FullPath(row));
}

void CmorvexDlg::OpenContainingFolder(size_t row) {
    prompts_.open(Handle(), list_.Row(row).folder);
}

void CmorvexDlg::OpenOutputFolder(size_t row) {
    prompts_.open(Handle(),
                  settings_.UseOutputFolder() ? settings_.outputFolder.Get() : list_.Row(row).folder);
}

}  // namespace morvex
