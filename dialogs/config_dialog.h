#pragma once

#include <span>
#include <string>

#include "core/context.h"
#include "dialogs/config_binding.h"
#include "dialogs/prompts.h"
#include "win/balloon.h"
#include "win/dialog.h"
#include "win/tooltip.h"

namespace morvex {

// What one settings dialog is made of: its template and the keys that it edits, in the order of writing.
struct ConfigDialogTable {
    int templateId;
    int title;        // text id
    int pathControl;  // edit that shows the configuration file; 0 for none
    std::span<const ConfigBinding* const> bindings;
};

// A dialog that edits keys of the conversion configuration file in use. It reads the file when it opens and
// writes it on OK; nothing is kept in between. Another file can be chosen while it is open.
class ConfigDialog : public ModalDialog {
  public:
    // Shows the dialog until it is closed; IDOK when the file has been written.
    INT_PTR Run(HWND parent) { return ModalDialog::Run(table_.templateId, parent); }

  protected:
    // Context and table outlive the dialog.
    ConfigDialog(AppContext& context, const ConfigDialogTable& table, Prompts prompts);

    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;
    bool OnNotify(NMHDR& header, LRESULT&) override { return tooltip_.Answer(header); }
    void OnOk() override;
    // The controls show the file's values.
    virtual void OnLoaded() {}

    AppContext& Context() const { return context_; }
    const Prompts& Prompt() const { return prompts_; }

  private:
    void Localise();
    void LoadValues();
    // The focus has left the control: a number that cannot be used gives way to one that can, and a balloon
    // says so.
    void CorrectNumber(int id);
    // True when OK came right after a number that gave way: the edit has the focus then, to be looked at.
    bool RefusesTypedNumber();
    void ShowRemark(int id);
    bool SaveValues(const std::wstring& file);
    void LoadOtherFile();
    void UseDefaultFile();

    AppContext& context_;
    const ConfigDialogTable& table_;
    Prompts prompts_;
    Tooltip tooltip_;
    Balloon balloon_;
    int refused_ = 0;  // edit whose typed number gave way just before OK; 0 for none
};

}  // namespace morvex
