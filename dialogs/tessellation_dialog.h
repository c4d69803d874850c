#pragma once

#include "dialogs/config_dialog.h"

namespace morvex {

// A settings dialog with the tessellation group: keeps the slider, the edits and their enabling in step with
// the group's switches.
class TessellationDialog : public ConfigDialog {
  protected:
    using ConfigDialog::ConfigDialog;

    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) override;
    void OnLoaded() override { ShowState(); }

    // False when the output holds no triangles, so that tolerances mean nothing.
    virtual bool WritesMesh() const { return true; }
    // Enables what the switches allow.
    void ShowState();

  private:
    bool Checked(int id) const;
    void ShowSlider();
};

}  // namespace morvex
