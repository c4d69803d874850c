#pragma once

#include <array>
#include <functional>
#include <string>

#include "core/text_catalogue.h"
#include "list/conversion_list.h"
#include "ui/list_ole_drop_target.h"
#include "win/list_view.h"

namespace morvex {

// The list control of the main window. It stores no row: it draws what the model answers, with the colours of
// the Status column. Belongs to the user-interface thread.
class CDragListCtrl {
  public:
    CDragListCtrl(const ConversionList& model, const TextCatalogue& text);
    CDragListCtrl(const CDragListCtrl&) = delete;
    CDragListCtrl& operator=(const CDragListCtrl&) = delete;
    ~CDragListCtrl();

    // Takes over a control made with LVS_REPORT, LVS_OWNERDATA and LVS_OWNERDRAWFIXED: columns, row height,
    // drops.
    void Attach(HWND control);
    const ListView& View() const { return view_; }
    CListOleDropTarget& DropTarget() { return dropTarget_; }

    // Column titles and the empty list's hint, in the chosen language.
    void Localise();
    // After rows came or went: shows the model's number of rows, nothing selected that is not there any more.
    void Refresh();
    // Whether the rows stand in the model's order of sorting now: its arrow shows in the header.
    void ShowSorted(bool sorted);
    // After the texts of rows changed; the Status column widens when one in sight does not fit.
    void RedrawVisible();
    // Once, when the list has more rows than fit: makes room for the vertical scroll bar.
    void FitColumnsToRows();
    // All columns but Size share what the control's width has beyond, or lacks of, its natural size.
    void FitColumnsToWidth();
    // The outer size at which all columns and kRowsInSight rows fit exactly.
    SIZE NaturalSize() const;
    // Row height for the window's scaling now; the columns follow with FitColumnsToWidth.
    void Rescale();

    void Draw(const DRAWITEMSTRUCT& item) const;
    // Answers the control's question for a text.
    void GiveText(NMLVDISPINFOW& question) const;
    // The first row at or after the start, going round, whose name begins with the text; -1 for none.
    int FindByName(const NMLVFINDITEMW& question) const;
    // What a tooltip at the pointer's place says: a text that its cell cuts, and why a file was not converted
    // as it should.
    std::wstring TipAtPointer() const;
    // Called when the pointer comes to another cell.
    std::function<void()> cellChanged;
    // The widths of the columns as a text, and back. A text that is none is ignored.
    std::wstring Widths() const;
    void SetWidths(const std::wstring& widths);
    // The column at that horizontal position of the control's client area; the last one beyond it.
    ListColumn ColumnAt(int x) const;
    // Where the Status column begins on the screen.
    LONG StatusesLeft() const;

  private:
    struct Colours {
        COLORREF background;
        COLORREF text;
    };
    static Colours ColoursOf(RowState state, ListColumn column, bool selected);
    void DrawCell(HDC device, const RECT& cell, const std::wstring& text, int format,
                  const Colours& colours) const;
    void DrawHint() const;
    int Scaled(int pixels) const { return MulDiv(pixels, dpi_, USER_DEFAULT_SCREEN_DPI); }
    void SetColumnWidths(const std::array<int, kListColumns>& pixels);
    void WidenStatusColumn(size_t first, size_t last);
    void OnDivider(int column);
    int RoomOfColumns() const;
    void OnPointer(POINT point);
    static LRESULT CALLBACK Subclass(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR);

    const ConversionList& model_;
    const TextCatalogue& text_;
    ListView view_{nullptr};
    CListOleDropTarget dropTarget_;
    std::array<int, kListColumns> widths_;  // pixels at 96 dpi, in the natural size
    bool ownWidths_ = false;                // the user has chosen them
    int dpi_ = USER_DEFAULT_SCREEN_DPI;     // since Rescale; each question to the system takes long
    bool fitting_ = false;                  // widths are being set by this class
    int tipRow_ = -1;                       // the cell that the pointer was in last
    ListColumn tipColumn_ = ListColumn::Filename;
    bool roomForScrollBar_ = false;
    bool sorted_ = false;
    std::wstring hint_;
};

}  // namespace morvex
