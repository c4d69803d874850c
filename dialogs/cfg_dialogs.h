#pragma once

#include "dialogs/tessellation_dialog.h"

// The dialogs for the conversion settings of a pair of formats. Each is a table of keys; those that write
// meshes share the tessellation group.
namespace morvex {

class CfgHealingDlg : public ConfigDialog {
  public:
    explicit CfgHealingDlg(AppContext& context, Prompts prompts = {});
};

class CfgRobcadDlg : public ConfigDialog {
  public:
    explicit CfgRobcadDlg(AppContext& context, Prompts prompts = {});
};

class CfgNoHealingXmtDlg : public ConfigDialog {
  public:
    explicit CfgNoHealingXmtDlg(AppContext& context, Prompts prompts = {});
};

class CfgNoHealingDefaultDlg : public ConfigDialog {
  public:
    explicit CfgNoHealingDefaultDlg(AppContext& context, Prompts prompts = {});
};

class CfgNoHealingSTLDlg : public TessellationDialog {
  public:
    explicit CfgNoHealingSTLDlg(AppContext& context, Prompts prompts = {});
};

enum class PdfVariant { Pdf, Prc };

// For documents and for the 3D format inside them. Only documents have the advanced settings, whose button
// developers see.
class CfgNoHealingPDFDlg : public TessellationDialog {
  public:
    CfgNoHealingPDFDlg(AppContext& context, PdfVariant variant, Prompts prompts = {});

  protected:
    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;
    bool WritesMesh() const override;

  private:
    PdfVariant variant_;
};

class CfgPdfAdvancedDlg : public ConfigDialog {
  public:
    explicit CfgPdfAdvancedDlg(AppContext& context, Prompts prompts = {});
};

}  // namespace morvex
