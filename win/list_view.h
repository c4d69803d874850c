#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "win/controls.h"

namespace morvex {

// View of a report list whose rows its owner keeps (LVS_OWNERDATA): the control knows only their number and
// which are selected.
class ListView : public Control {
  public:
    using Control::Control;

    int RowCount() const { return static_cast<int>(Send(LVM_GETITEMCOUNT)); }
    // Keeps the scroll position; draws anew what is in sight, unless rows came below it only.
    void SetRowCount(size_t rows) const;
    void SetExtendedStyle(DWORD style) const {
        Send(LVM_SETEXTENDEDLISTVIEWSTYLE, 0, static_cast<LPARAM>(style));
    }
    // The size of the (undrawn) small images decides the height of a row. The control destroys the image
    // list.
    void SetRowHeight(int pixels) const;

    // Formats are LVCFMT_LEFT, _RIGHT or _CENTER.
    void InsertColumn(int index, const std::wstring& title, int format, int width) const;
    void SetColumnTitle(int index, const std::wstring& title, int format) const;
    int ColumnWidth(int index) const {
        return static_cast<int>(Send(LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(index)));
    }
    void SetColumnWidth(int index, int width) const {
        Send(LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(index), width);
    }
    // Shows the arrow of the sorted column in its header.
    void ShowSortArrow(int column, bool ascending) const;

    size_t SelectedCount() const { return static_cast<size_t>(Send(LVM_GETSELECTEDCOUNT)); }
    std::vector<size_t> SelectedRows() const;  // ascending
    int FirstSelected() const { return NextSelected(-1); }
    void Select(size_t row, bool on = true) const { SetState(static_cast<int>(row), on); }
    void SelectAll(bool on) const;
    // The row that has the focus; -1 for none.
    int FocusedRow() const {
        return static_cast<int>(Send(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED));
    }
    void FocusRow(size_t row) const;
    void ScrollTo(size_t row) const { Send(LVM_ENSUREVISIBLE, row, FALSE); }

    // The row's whole rectangle in the control's client area, also where it is scrolled out of sight.
    RECT RowRect(size_t row) const;
    // Draws the rows anew, soon.
    void RedrawRows(size_t first, size_t last) const {
        Send(LVM_REDRAWITEMS, first, static_cast<LPARAM>(last));
    }
    // The row at this point of the client area; -1 for none.
    int RowAt(POINT point) const {
        LVHITTESTINFO hit{};
        hit.pt = point;
        return static_cast<int>(Send(LVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
    }
    size_t FirstVisible() const { return static_cast<size_t>(Send(LVM_GETTOPINDEX)); }
    size_t VisibleCount() const { return static_cast<size_t>(Send(LVM_GETCOUNTPERPAGE)); }

  private:
    int NextSelected(int row) const {
        return static_cast<int>(Send(LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED));
    }
    void SetState(int row, bool selected) const;
};

}  // namespace morvex
