#pragma once

#include <array>
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
    CDragListCtrl(const ConversionList& model, const TextCatalogue& text) : model_(model), text_(text) {}
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
    // After the texts of rows changed.
    void RedrawVisible() const;
    // Once, when the list has more rows than fit: makes room for the vertical scroll bar.
    void FitColumnsToRows();
    // All columns but Size share what the control's width has beyond, or lacks of, its natural size.
    void FitColumnsToWidth();
    // The outer size at which all columns and kRowsInSight rows fit exactly.
    SIZE NaturalSize() const;
    // Row height and column widths for the window's scaling now.
    void Rescale();

    void Draw(const DRAWITEMSTRUCT& item) const;
    // Answers the control's question for a text.
    void GiveText(NMLVDISPINFOW& question) const;
    // The first row at or after the start, going round, whose name begins with the text; -1 for none.
    int FindByName(const NMLVFINDITEMW& question) const;
    // The column at that horizontal position of the control's client area; the last one beyond it.
    ListColumn ColumnAt(int x) const;

  private:
    struct Colours {
        COLORREF background;
        COLORREF text;
    };
    static Colours ColoursOf(RowState state, ListColumn column, bool selected);
    void DrawCell(HDC device, const RECT& cell, const std::wstring& text, int format,
                  const Colours& colours) const;
    void DrawHint() const;
    int Scaled(int pixels) const;
    static LRESULT CALLBACK Subclass(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR);

    const ConversionList& model_;
    const TextCatalogue& text_;
    ListView view_{nullptr};
    CListOleDropTarget dropTarget_;
    bool roomForScrollBar_ = false;
    bool sorted_ = false;
    std::wstring hint_;
};

}  // namespace morvex
