#include "ui/list_commands.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "convert/output_watch.h"
#include "win/shell.h"

namespace morvex {
void ListCommands::RemoveSelectedRows() {
    const ListView& view = control_.View();
    const std::vector<size_t> selected = view.SelectedRows();
    if (selected.empty()) return;
    state_.list.RemoveRows(selected);
    view.SelectAll(false);
    view_.Update();
    if (!state_.list.Empty()) view.FocusRow(std::min(selected.front(), state_.list.Count() - 1));
}

void ListCommands::MoveSelectedRow(bool up) {
    const ListView& view = control_.View();
    if (view.SelectedCount() != 1) return;
    if (!state_.list.MoveRow(static_cast<size_t>(view.FirstSelected()), up)) return;
    control_.ShowSorted(false);
    view.SelectAll(false);
    control_.RedrawVisible();
}

void ListCommands::SortByColumn(ListColumn column) {
    const ListView& view = control_.View();
    ConversionList& list = state_.list;
    std::unordered_set<const ListRow*> selected;  // a row keeps its place in memory
    for (const size_t row : view.SelectedRows()) selected.insert(&list.Row(row));
    list.SortByColumn(column);
    if (selected.size() < list.Count()) view.SelectAll(false);
    for (size_t row = 0; row < list.Count() && selected.size() < list.Count(); ++row) {
        if (selected.contains(&list.Row(row))) view.Select(row);
    }
    control_.ShowSorted(true);
    control_.RedrawVisible();
}

const ListRow* ListCommands::SelectedRow() const {
    const ListView& view = control_.View();
    return view.SelectedCount() == 1 ? &state_.list.Row(static_cast<size_t>(view.FirstSelected())) : nullptr;
}

void ListCommands::CopyFilePath() {
    if (const ListRow* const row = SelectedRow()) CopyToClipboard(state_.window, row->FullPath());
}

void ListCommands::OpenContainingFolder() {
    if (const ListRow* const row = SelectedRow()) state_.prompts.open(state_.window, row->folder);
}

void ListCommands::OpenOutputFolder() {
    const AppSettings& settings = state_.Settings();
    if (const ListRow* const row = SelectedRow())
        state_.prompts.open(state_.window,
                            settings.UseOutputFolder() ? settings.outputFolder.Get() : row->folder);
}

void ListCommands::OpenResult(const NMITEMACTIVATE& click) {
    const auto index = static_cast<size_t>(click.iItem);
    if (click.iItem < 0 || index >= state_.list.Count()) return;
    const ListRow& row = state_.list.Row(index);
    const ListColumn column = control_.ColumnAt(static_cast<int>(click.ptAction.x));
    if (column == ListColumn::Folder) return state_.prompts.open(state_.window, row.folder);
    if (!row.status.Final() || row.status.output.empty()) return;
    const std::wstring suffix = column == ListColumn::Status ? kReportSuffix : L"";
    state_.prompts.open(state_.window, row.status.output + suffix);
}

}  // namespace morvex
