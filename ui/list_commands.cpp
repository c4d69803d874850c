#include "ui/list_commands.h"

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

#include "convert/conversion_report.h"
#include "win/shell.h"

namespace morvex {
void ListCommands::KeepForUndo(ConversionList::RemovedRows rows) {
    state_.undo = UndoStep{std::move(rows), state_.Formats(), state_.run};
}

void ListCommands::EmptyList() {
    if (!state_.list.Empty()) KeepForUndo(state_.list.Clear());
    if (state_.run == RunState::Finished) state_.run = RunState::Idle;
    view_.Update();
    control_.View().SelectAll(false);
    view_.ShowRowSummary();
}

void ListCommands::RemoveSelectedRows() {
    const ListView& view = control_.View();
    const std::vector<size_t> selected = view.SelectedRows();
    if (selected.empty()) return;
    KeepForUndo(state_.list.RemoveRows(selected));
    view_.Update();
    view.SelectAll(false);
    view_.ShowRowSummary();
    if (!state_.list.Empty()) view.FocusRow(std::min(selected.front(), state_.list.Count() - 1));
}

void ListCommands::Undo() {
    if (!state_.undo) return;
    UndoStep step = std::move(*state_.undo);
    state_.undo.reset();
    state_.list.PutBack(std::move(step.rows));
    state_.list.Localise(state_.context.text);  // the language may have changed since they went
    state_.run = step.run;
    if (step.formats.input != state_.Settings().formatIn.Get()) formats_.Choose(step.formats);
    control_.View().SelectAll(false);
    view_.Update();
    view_.ShowRowSummary();
}

void ListCommands::MoveSelectedRow(bool up, bool keepSelected) {
    const ListView& view = control_.View();
    if (view.SelectedCount() != 1) return;
    const auto row = static_cast<size_t>(view.FirstSelected());
    if (!state_.list.MoveRow(row, up)) return;
    state_.undo.reset();
    control_.ShowSorted(false);
    view.SelectAll(false);
    if (keepSelected) {
        const size_t moved = up ? row - 1 : row + 1;
        view.Select(moved);
        view.FocusRow(moved);
        view.ScrollTo(moved);
    }
    control_.RedrawVisible();
    view_.Update();
}

void ListCommands::SortByColumn(ListColumn column) {
    const ListView& view = control_.View();
    ConversionList& list = state_.list;
    std::unordered_set<const ListRow*> selected;  // a row keeps its place in memory
    for (const size_t row : view.SelectedRows()) selected.insert(&list.Row(row));
    list.SortByColumn(column);
    state_.undo.reset();
    if (selected.size() < list.Count()) view.SelectAll(false);
    for (size_t row = 0; row < list.Count() && selected.size() < list.Count(); ++row) {
        if (selected.contains(&list.Row(row))) view.Select(row);
    }
    control_.ShowSorted(true);
    control_.RedrawVisible();
    view_.Update();
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

void ListCommands::CopySelectedPaths() {
    std::wstring paths;
    for (const size_t row : control_.View().SelectedRows()) {
        if (!paths.empty()) paths += L"\r\n";
        paths += state_.list.FullPath(row);
    }
    if (!paths.empty()) CopyToClipboard(state_.window, paths);
}

void ListCommands::OpenFocusedResult() {
    const int row = control_.View().FocusedRow();
    if (row >= 0 && static_cast<size_t>(row) < state_.list.Count())
        Open(state_.list.Row(static_cast<size_t>(row)), ListColumn::Filename);
}

void ListCommands::OpenResult(const NMITEMACTIVATE& click) {
    const auto index = static_cast<size_t>(click.iItem);
    if (click.iItem < 0 || index >= state_.list.Count()) return;
    Open(state_.list.Row(index), control_.ColumnAt(static_cast<int>(click.ptAction.x)));
}

void ListCommands::Open(const ListRow& row, ListColumn column) const {
    if (column == ListColumn::Folder) return state_.prompts.open(state_.window, row.folder);
    if (!row.status.Final() || row.status.output.empty()) return;
    const std::wstring suffix = column == ListColumn::Status ? kReportSuffix : L"";
    state_.prompts.open(state_.window, row.status.output + suffix);
}

}  // namespace morvex
