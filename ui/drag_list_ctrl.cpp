#include "ui/drag_list_ctrl.h"

#include <windowsx.h>

#include <algorithm>
#include <sstream>

#include "res/string_ids.h"
#include "win/theme.h"
#include "win/window_device.h"

namespace morvex {
namespace {

struct ColumnLayout {
    int title;
    int format;
    int width;   // pixels at 96 dpi
    bool grows;  // with the control, in proportion to its width
};
constexpr ColumnLayout kColumns[kListColumns] = {
    {IDS_FILENAME, LVCFMT_LEFT, 415, true},
    {IDS_SIZE, LVCFMT_CENTER, 76, false},
    {IDS_FOLDER, LVCFMT_LEFT, 268, true},
    {IDS_STATUS, LVCFMT_CENTER, 162, true},
};
constexpr int kRowsInSight = 22;
constexpr int kScrollBarRoom = 17;  // pixels at 96 dpi, as the scroll bar's width is
constexpr int kLeastColumn = 24;    // pixels at 96 dpi
constexpr int kRowPadding = 5;      // pixels at 96 dpi, above and below the text together

constexpr COLORREF kGoodBackground = RGB(232, 253, 227), kGoodText = RGB(0, 128, 0);
constexpr COLORREF kBadBackground = RGB(255, 234, 234), kBadText = RGB(255, 0, 0);
constexpr COLORREF kBusyBackground = RGB(236, 241, 255), kBusyText = RGB(0, 64, 128);

// Of a cell that shows the whole text, in pixels.
int WidthOf(const WindowDevice& device, const std::wstring& text) {
    const std::wstring drawn = L" " + text + L" ";
    SIZE size{};
    GetTextExtentPoint32W(device.Get(), drawn.c_str(), static_cast<int>(drawn.size()), &size);
    return static_cast<int>(size.cx) + 1;  // the grid line
}

}  // namespace

CDragListCtrl::CDragListCtrl(const ConversionList& model, const TextCatalogue& text)
    : model_(model), text_(text) {
    for (int i = 0; i < kListColumns; ++i) widths_[static_cast<size_t>(i)] = kColumns[i].width;
}

CDragListCtrl::~CDragListCtrl() {
    if (view_.Handle()) RemoveWindowSubclass(view_.Handle(), Subclass, 0);
}

void CDragListCtrl::Attach(HWND control) {
    view_ = ListView(control);
    view_.SetExtendedStyle(LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    dpi_ = static_cast<int>(GetDpiForWindow(control));
    for (int i = 0; i < kListColumns; ++i)
        view_.InsertColumn(i, L"", kColumns[i].format, Scaled(kColumns[i].width));
    Rescale();
    dropTarget_.Register(control);
    SetWindowSubclass(control, Subclass, 0, reinterpret_cast<DWORD_PTR>(this));
}

void CDragListCtrl::Localise() {
    for (int i = 0; i < kListColumns; ++i)
        view_.SetColumnTitle(i, text_(kColumns[i].title), kColumns[i].format);
    // Titles take the arrow along; statuses in another language are not in their order any more.
    ShowSorted(sorted_ && model_.SortedColumn() != ListColumn::Status);
    hint_ = text_(IDS_EMPTY_HINT);
    InvalidateRect(view_.Handle(), nullptr, TRUE);
}

void CDragListCtrl::Refresh() {
    const bool emptiness = (view_.RowCount() == 0) != model_.Empty();
    view_.SetRowCount(model_.Count());
    if (emptiness) InvalidateRect(view_.Handle(), nullptr, TRUE);
}

void CDragListCtrl::ShowSorted(bool sorted) {
    sorted_ = sorted;
    view_.ShowSortArrow(sorted ? static_cast<int>(model_.SortedColumn()) : -1, model_.Ascending());
}

void CDragListCtrl::RedrawVisible() {
    if (model_.Empty()) return;
    const size_t first = view_.FirstVisible();
    const size_t last = std::min(first + view_.VisibleCount(), model_.Count() - 1);
    if (first > last) return;
    WidenStatusColumn(first, last);
    view_.RedrawRows(first, last);
}

void CDragListCtrl::FitColumnsToRows() {
    // A window that the screen clips shows fewer rows than it was made for.
    if (roomForScrollBar_ || model_.Count() <= std::min<size_t>(kRowsInSight, view_.VisibleCount())) return;
    roomForScrollBar_ = true;
    FitColumnsToWidth();
}

int CDragListCtrl::RoomOfColumns() const {
    RECT outer{};
    GetWindowRect(view_.Handle(), &outer);
    WINDOWINFO info{};
    info.cbSize = sizeof info;
    GetWindowInfo(view_.Handle(), &info);
    return static_cast<int>(outer.right - outer.left) - 2 * static_cast<int>(info.cxWindowBorders) -
           (roomForScrollBar_ ? Scaled(kScrollBarRoom) : 0);
}

void CDragListCtrl::FitColumnsToWidth() {
    int extra = RoomOfColumns() + (roomForScrollBar_ ? Scaled(kScrollBarRoom) : 0), shares = 0;
    for (size_t i = 0; i < kListColumns; ++i) {
        extra -= Scaled(widths_[i]);
        shares += kColumns[i].grows ? widths_[i] : 0;
    }
    std::array<int, kListColumns> pixels{};
    for (size_t i = 0; i < kListColumns; ++i) {
        const int weight = kColumns[i].grows ? widths_[i] : 0;
        const int share = weight > 0 ? MulDiv(extra, weight, shares) : 0;
        pixels[i] = std::max(Scaled(widths_[i]) + share, 0);
        extra -= share;
        shares -= weight;
    }
    if (roomForScrollBar_) pixels.back() = std::max(pixels.back() - Scaled(kScrollBarRoom), 0);
    SetColumnWidths(pixels);
}

void CDragListCtrl::SetColumnWidths(const std::array<int, kListColumns>& pixels) {
    fitting_ = true;
    for (int i = 0; i < kListColumns; ++i) {
        const int width = pixels[static_cast<size_t>(i)];
        if (view_.ColumnWidth(i) != width) view_.SetColumnWidth(i, width);
    }
    fitting_ = false;
}

// The folder takes what a dragged divider leaves, or gives what it needs; its own divider moves the status.
void CDragListCtrl::OnDivider(int column) {
    if (fitting_) return;
    const auto moved = static_cast<size_t>(column);
    const auto folder = static_cast<size_t>(ListColumn::Folder);
    const size_t taker = moved == folder ? static_cast<size_t>(ListColumn::Status) : folder;
    const int least = Scaled(kLeastColumn);
    std::array<int, kListColumns> pixels{};
    int rest = RoomOfColumns();
    for (size_t i = 0; i < kListColumns; ++i) {
        pixels[i] = view_.ColumnWidth(static_cast<int>(i));
        rest -= i == taker ? 0 : pixels[i];
    }
    pixels[moved] -= std::max(least - rest, 0);
    pixels[taker] = std::max(rest, least);
    SetColumnWidths(pixels);
    if (roomForScrollBar_) pixels.back() += Scaled(kScrollBarRoom);
    for (size_t i = 0; i < kListColumns; ++i)
        widths_[i] = std::max(MulDiv(pixels[i], USER_DEFAULT_SCREEN_DPI, dpi_), 1);
    ownWidths_ = true;
}

// Makes room for the statuses in sight; the file name gives what that takes.
void CDragListCtrl::WidenStatusColumn(size_t first, size_t last) {
    if (ownWidths_) return;
    const WindowDevice device(view_.Handle());
    const int column = static_cast<int>(ListColumn::Status);
    int missing = 0;
    for (size_t row = first; row <= last; ++row)
        missing = std::max(missing, WidthOf(device, model_.Row(row).status.text) - view_.ColumnWidth(column));
    if (missing <= 0) return;
    constexpr int kRounding = 2;  // what may get lost when the widths are scaled and shared out
    missing = std::min(MulDiv(missing, USER_DEFAULT_SCREEN_DPI, dpi_) + kRounding, widths_.front() / 2);
    widths_.front() -= missing;
    widths_.back() += missing;
    FitColumnsToWidth();
}

std::wstring CDragListCtrl::Widths() const {
    std::wstring text;
    for (const int width : widths_) text += (text.empty() ? L"" : L",") + std::to_wstring(width);
    return ownWidths_ ? text : L"";
}

void CDragListCtrl::SetWidths(const std::wstring& widths) {
    std::array<int, kListColumns> read{};
    std::wistringstream text(widths);
    wchar_t comma = L',';
    for (int& width : read) {
        if (comma != L',' || !(text >> width) || width < kLeastColumn) return;
        text >> comma;
    }
    widths_ = read;
    ownWidths_ = true;
    FitColumnsToWidth();
}

SIZE CDragListCtrl::NaturalSize() const {
    WINDOWINFO info{};
    info.cbSize = sizeof info;
    GetWindowInfo(view_.Handle(), &info);
    SIZE size{2 * static_cast<LONG>(info.cxWindowBorders), 2 * static_cast<LONG>(info.cyWindowBorders)};
    for (const ColumnLayout& column : kColumns) size.cx += Scaled(column.width);
    const bool empty = view_.RowCount() == 0;
    if (empty) view_.SetRowCount(1);
    const RECT row = view_.RowRect(view_.FirstVisible());  // right below the header
    if (empty) view_.SetRowCount(0);
    size.cy += row.top + kRowsInSight * (row.bottom - row.top);
    return size;
}

void CDragListCtrl::Rescale() {
    dpi_ = static_cast<int>(GetDpiForWindow(view_.Handle()));
    TEXTMETRICW metrics{};
    GetTextMetricsW(WindowDevice(view_.Handle()).Get(), &metrics);
    view_.SetRowHeight(static_cast<int>(metrics.tmHeight) + Scaled(kRowPadding));
}

void CDragListCtrl::Draw(const DRAWITEMSTRUCT& item) const {
    if (item.itemID >= model_.Count()) return;
    const ListRow& row = model_.Row(item.itemID);
    const bool selected = (item.itemState & ODS_SELECTED) != 0;
    RECT cell = item.rcItem;
    for (int i = 0; i < kListColumns; ++i) {
        const auto column = static_cast<ListColumn>(i);
        const std::wstring& text = row.Text(column);
        cell.right = cell.left + view_.ColumnWidth(i);
        DrawCell(item.hDC, cell, text, kColumns[i].format, ColoursOf(row.status.state, column, selected));
        cell.left = cell.right;
    }
    if (item.itemState & ODS_FOCUS) DrawFocusRect(item.hDC, &item.rcItem);
}

CDragListCtrl::Colours CDragListCtrl::ColoursOf(RowState state, ListColumn column, bool selected) {
    if (selected) return {GetSysColor(COLOR_HIGHLIGHT), GetSysColor(COLOR_HIGHLIGHTTEXT)};
    const Colours plain{GetSysColor(COLOR_WINDOW), GetSysColor(COLOR_WINDOWTEXT)};
    if (column != ListColumn::Status || WindowTheme::HighContrast()) return plain;
    switch (state) {
        case RowState::Idle:
            return plain;
        case RowState::Running:
            return {kBusyBackground, kBusyText};
        case RowState::Converted:
            return {kGoodBackground, kGoodText};
        default:
            return {kBadBackground, kBadText};
    }
}

void CDragListCtrl::DrawCell(HDC device, const RECT& cell, const std::wstring& text, int format,
                             const Colours& colours) const {
    constexpr size_t kLongestShown = 1000;  // more never fits, and drawing it would be slow
    std::wstring shown = text.substr(0, kLongestShown);
    UINT flags = DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS;
    if (format == LVCFMT_RIGHT) {
        shown += L' ';
        flags |= DT_RIGHT;
    } else {
        shown.insert(0, 1, L' ');
        if (format == LVCFMT_CENTER) {
            shown += L' ';
            flags |= DT_CENTER;
        }
    }
    SetBkColor(device, colours.background);
    SetTextColor(device, colours.text);
    const RECT filled{cell.left, cell.top, cell.right - 1, cell.bottom - 1};  // leaves the grid lines
    ExtTextOutW(device, 0, 0, ETO_OPAQUE | ETO_CLIPPED, &filled, nullptr, 0, nullptr);
    RECT place = filled;
    DrawTextW(device, shown.c_str(), static_cast<int>(shown.size()), &place, flags);
}

void CDragListCtrl::DrawHint() const {
    RECT area{};
    GetClientRect(view_.Handle(), &area);
    const WindowDevice device(view_.Handle());
    SetBkMode(device.Get(), TRANSPARENT);
    SetTextColor(device.Get(), GetSysColor(COLOR_GRAYTEXT));
    DrawTextW(device.Get(), hint_.c_str(), -1, &area,
              DT_SINGLELINE | DT_CENTER | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
}

void CDragListCtrl::GiveText(NMLVDISPINFOW& question) const {
    LVITEMW& item = question.item;
    if (!(item.mask & LVIF_TEXT) || item.cchTextMax <= 0) return;
    const auto row = static_cast<size_t>(item.iItem);
    const bool known = row < model_.Count() && item.iSubItem < kListColumns;
    const std::wstring text =
        known ? model_.Text(row, static_cast<ListColumn>(item.iSubItem)) : std::wstring();
    lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
}

int CDragListCtrl::FindByName(const NMLVFINDITEMW& question) const {
    const UINT flags = question.lvfi.flags;
    if (!(flags & (LVFI_STRING | LVFI_PARTIAL)) || !question.lvfi.psz || model_.Empty()) return -1;
    const std::wstring wanted = question.lvfi.psz;
    const size_t count = model_.Count();
    const size_t start = question.iStart < 0 ? 0 : static_cast<size_t>(question.iStart);
    for (size_t i = 0; i < count; ++i) {
        const size_t row = (start + i) % count;
        const std::wstring& name = model_.Row(row).name;
        const int length = static_cast<int>(wanted.size());
        if (name.size() >= wanted.size() &&
            CompareStringOrdinal(name.c_str(), length, wanted.c_str(), length, TRUE) == CSTR_EQUAL) {
            return static_cast<int>(row);
        }
    }
    return -1;
}

std::wstring CDragListCtrl::TipAtPointer() const {
    if (tipRow_ < 0 || static_cast<size_t>(tipRow_) >= model_.Count()) return {};
    const ListRow& row = model_.Row(static_cast<size_t>(tipRow_));
    const std::wstring& text = row.Text(tipColumn_);
    const bool cut =
        WidthOf(WindowDevice(view_.Handle()), text) > view_.ColumnWidth(static_cast<int>(tipColumn_));
    if (tipColumn_ == ListColumn::Status && !row.status.reason.empty())
        return text + L"\n" + row.status.reason;
    return cut ? text : L"";
}

void CDragListCtrl::OnPointer(POINT point) {
    const int row = view_.RowAt(point);
    const ListColumn column = ColumnAt(static_cast<int>(point.x));
    if (row == tipRow_ && column == tipColumn_) return;
    tipRow_ = row;
    tipColumn_ = column;
    if (cellChanged) cellChanged();
}

ListColumn CDragListCtrl::ColumnAt(int x) const {
    int edge = model_.Empty() ? 0 : static_cast<int>(view_.RowRect(view_.FirstVisible()).left);
    for (int i = 0; i + 1 < kListColumns; ++i) {
        edge += view_.ColumnWidth(i);
        if (x < edge) return static_cast<ListColumn>(i);
    }
    return ListColumn::Status;
}

LONG CDragListCtrl::StatusesLeft() const {
    POINT edge{};
    for (int i = 0; i + 1 < kListColumns; ++i) edge.x += view_.ColumnWidth(i);
    ClientToScreen(view_.Handle(), &edge);
    return edge.x;
}

LRESULT CALLBACK CDragListCtrl::Subclass(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                         DWORD_PTR self) {
    auto* list = reinterpret_cast<CDragListCtrl*>(self);
    if (message == WM_DESTROY) list->dropTarget_.Revoke();
    if (message == WM_NCDESTROY) {
        RemoveWindowSubclass(window, Subclass, 0);
        list->view_ = ListView(nullptr);
        return DefSubclassProc(window, message, wParam, lParam);
    }
    if (message == WM_MOUSEMOVE) list->OnPointer({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
    const LRESULT result = DefSubclassProc(window, message, wParam, lParam);
    if (message == WM_NOTIFY) {
        const auto& header = *reinterpret_cast<const NMHEADERW*>(lParam);
        const bool dragged = header.hdr.code == HDN_ITEMCHANGEDW && header.pitem->mask & HDI_WIDTH;
        if (dragged) list->OnDivider(header.iItem);
    }
    if (message == WM_PAINT && list->model_.Empty()) list->DrawHint();
    return result;
}

}  // namespace morvex
