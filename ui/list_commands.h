#pragma once

#include "ui/drag_list_ctrl.h"
#include "ui/window_state.h"

namespace morvex {

// What the user does with the rows of the list. Not for a busy window.
class ListCommands {
  public:
    ListCommands(WindowState& state, WindowView& view, CDragListCtrl& control)
        : state_(state), view_(view), control_(control) {}

    void RemoveSelectedRows();
    void MoveSelectedRow(bool up);
    void SortByColumn(ListColumn column);
    // Each acts on the one selected row.
    void CopyFilePath();
    void OpenContainingFolder();
    void OpenOutputFolder();
    // A double click: opens the row's folder, its converted file or the report of that.
    void OpenResult(const NMITEMACTIVATE& click);

  private:
    const ListRow* SelectedRow() const;  // null unless exactly one is

    WindowState& state_;
    WindowView& view_;
    CDragListCtrl& control_;
};

}  // namespace morvex
