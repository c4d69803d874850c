#pragma once

#include "ui/drag_list_ctrl.h"
#include "ui/format_choice.h"
#include "ui/window_state.h"

namespace morvex {

// What the user does with the rows of the list. Not for a busy window.
class ListCommands {
  public:
    ListCommands(WindowState& state, WindowView& view, CDragListCtrl& control, FormatChoice& formats)
        : state_(state), view_(view), control_(control), formats_(formats) {}

    void EmptyList();
    void RemoveSelectedRows();
    // Brings the rows back that went away last.
    void Undo();
    void SelectAll() { control_.View().SelectAll(true); }
    void MoveSelectedRow(bool up, bool keepSelected);
    void SortByColumn(ListColumn column);
    void CopySelectedPaths();
    // Opens the result of the row that has the focus.
    void OpenFocusedResult();
    // Each acts on the one selected row.
    void CopyFilePath();
    void OpenContainingFolder();
    void OpenOutputFolder();
    // A double click: opens the row's folder, its converted file or the report of that.
    void OpenResult(const NMITEMACTIVATE& click);
    // Null unless exactly one is.
    const ListRow* SelectedRow() const;

  private:
    void KeepForUndo(ConversionList::RemovedRows rows);
    void Open(const ListRow& row, ListColumn column) const;

    WindowState& state_;
    WindowView& view_;
    CDragListCtrl& control_;
    FormatChoice& formats_;
};

}  // namespace morvex
