#pragma once

#include "core/text_catalogue.h"
#include "win/dialog.h"

namespace morvex {

// The legal notice: the program's own license and what it owes to others.
class CAboutDlg : public ModalDialog {
  public:
    // The texts outlive the dialog.
    explicit CAboutDlg(const TextCatalogue& text) : text_(text) {}
    INT_PTR Run(HWND parent);

  protected:
    bool OnInit() override;

  private:
    const TextCatalogue& text_;
};

}  // namespace morvex
