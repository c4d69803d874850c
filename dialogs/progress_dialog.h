#pragma once

#include <string>

#include "core/text_catalogue.h"
#include "win/controls.h"
#include "win/dialog.h"
#include "win/theme.h"

namespace morvex {

// Shows the progress of a run in this process: the file being converted and the files done. Modeless; belongs
// to the thread of its owner window, which drives it.
class CProgressDlg : public ModelessDialog {
  public:
    // Created and shown over the owner.
    CProgressDlg(const TextCatalogue& text, COLORREF theme, HWND owner);

    void StartRun(size_t files);
    void StartFile(size_t position, size_t files, const std::wstring& name);
    void ShowPercent(int percent);  // of the file; clamped to 0...100

  protected:
    bool OnInit() override;
    void OnCancel() override {}  // it goes with the run
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) override;

  private:
    const TextCatalogue& text_;
    WindowTheme theme_;
};

}  // namespace morvex
