#pragma once

#include <functional>

#include "core/context.h"
#include "win/dialog.h"
#include "win/tooltip.h"

namespace morvex {

// Computer name, versions and the interface language. A language takes effect as it is chosen: it is stored,
// the texts of this dialog follow, and the caller is told so that its own do.
class OptionsDlg : public ModalDialog {
  public:
    // The context outlives the dialog. `languageChanged` runs while the dialog is open.
    OptionsDlg(AppContext& context, std::function<void()> languageChanged);
    INT_PTR Run(HWND parent);

  protected:
    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;

  private:
    void ShowTexts();
    void TakeLanguage();

    AppContext& context_;
    std::function<void()> languageChanged_;
    Tooltip tooltip_;
};

}  // namespace morvex
