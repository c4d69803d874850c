#pragma once

#include <string>

#include "convert/conversion_report.h"
#include "core/text_catalogue.h"
#include "list/list_row.h"
#include "win/dialog.h"
#include "win/picture.h"

namespace morvex {

// A small window beside its owner that shows what is known of a row's file: the picture and the facts of the
// conversion's report, or, without one, what the row says. It never takes the focus by itself.
class ResultCard : private ModelessDialog {
  public:
    explicit ResultCard(const TextCatalogue& text) : text_(text) {}

    bool Shown() const { return Handle() != nullptr; }
    // Opens the card, if it is not open, and shows this row; reads its report when it shows another now.
    // Where it has to cover the owner, it ends left of `statuses`, a place on the screen.
    void ShowRow(HWND owner, LONG statuses, const ListRow& row);
    void Hide() { Destroy(); }
    // Out of sight while another program or a dialog of the owner is in front: the card must not cover them.
    void ComeForward(bool forward) const;
    // Before the dialog manager gets a message of the thread: true when the card has dealt with it.
    bool PreTranslate(const MSG& message);

  private:
    bool OnInit() override { return false; }  // no control of it takes the focus
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) override;
    void DrawPicture(const DRAWITEMSTRUCT& item) const;
    void PlaceBeside(HWND owner, LONG statuses) const;
    void FitScrollBar() const;

    const TextCatalogue& text_;
    Picture picture_;
    std::wstring shown_;  // the file and the status that the card was made for
};

// The facts as lines of label, tabulator and value.
std::wstring FactsOf(const ListRow& row, const ConversionReport& report, const TextCatalogue& text);

}  // namespace morvex
