#include "win/list_view.h"

#include <numeric>
#include <utility>

namespace morvex {

void ListView::SetRowHeight(int pixels) const {
    const HIMAGELIST images = ImageList_Create(1, pixels, ILC_COLOR, 0, 0);
    const auto old =
        reinterpret_cast<HIMAGELIST>(Send(LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(images)));
    if (old) ImageList_Destroy(old);
}

void ListView::SetRowCount(size_t rows) const {
    const auto before = static_cast<size_t>(RowCount());
    const bool outOfSight = rows > before && before > FirstVisible() + VisibleCount();
    Send(LVM_SETITEMCOUNT, rows, LVSICF_NOSCROLL | (outOfSight ? LVSICF_NOINVALIDATEALL : 0));
}

void ListView::InsertColumn(int index, const std::wstring& title, int format, int width) const {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_FMT | LVCF_WIDTH;
    column.fmt = format;
    column.cx = width;
    column.pszText = const_cast<wchar_t*>(title.c_str());
    Send(LVM_INSERTCOLUMNW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&column));
}

void ListView::SetColumnTitle(int index, const std::wstring& title, int format) const {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_FMT;  // a text alone would reset the header's alignment
    column.fmt = format;
    column.pszText = const_cast<wchar_t*>(title.c_str());
    Send(LVM_SETCOLUMNW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&column));
}

void ListView::ShowSortArrow(int column, bool ascending) const {
    const auto header = reinterpret_cast<HWND>(Send(LVM_GETHEADER));
    const int count = static_cast<int>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0));
    for (int i = 0; i < count; ++i) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        SendMessageW(header, HDM_GETITEMW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&item));
        const int before = std::exchange(item.fmt, item.fmt & ~(HDF_SORTUP | HDF_SORTDOWN));
        if (i == column) item.fmt |= ascending ? HDF_SORTUP : HDF_SORTDOWN;
        if (item.fmt == before) continue;
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&item));
    }
}

std::vector<size_t> ListView::SelectedRows() const {
    std::vector<size_t> rows(SelectedCount());
    if (rows.size() ==
        static_cast<size_t>(RowCount())) {  // asking for each would take seconds in a large list
        std::iota(rows.begin(), rows.end(), size_t{0});
        return rows;
    }
    rows.clear();
    for (int row = FirstSelected(); row >= 0; row = NextSelected(row))
        rows.push_back(static_cast<size_t>(row));
    return rows;
}

// The control may look at every row and ask for its drawing: once is enough.
void ListView::SelectAll(bool on) const {
    Send(WM_SETREDRAW, FALSE);
    SetState(-1, on);
    Send(WM_SETREDRAW, TRUE);
    InvalidateRect(Handle(), nullptr, FALSE);
}

void ListView::FocusRow(size_t row) const {
    LVITEMW item{};
    item.state = item.stateMask = LVIS_FOCUSED;
    Send(LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
}

RECT ListView::RowRect(size_t row) const {
    RECT rect{};
    rect.left = LVIR_BOUNDS;
    Send(LVM_GETITEMRECT, row, reinterpret_cast<LPARAM>(&rect));
    return rect;
}

void ListView::SetState(int row, bool selected) const {
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED;
    item.state = selected ? LVIS_SELECTED : 0;
    Send(LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

}  // namespace morvex
