#include "dialogs/settings_dialogs.h"

#include <algorithm>

#include "core/conversion_config.h"
#include "dialogs/cfg_dialogs.h"
#include "formats/format_groups.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "res/string_ids.h"

namespace morvex {
namespace {

// 38 is no output of the catalogue, but the library's number of another mesh format.
constexpr int kTessellatedOutputs[] = {kCodeJt, kCodeStl, kCodeVrml, kCodeCgr,  kCode3dxml, kCodeCollada,
                                       38,      kCodeObj, kCode3mf,  kCodeGltf, kCodeFbx,   kCodeSmg};

// The mangled letter belongs to the text.
constexpr wchar_t kNotInProfiles[] =
    L"La config. n'est pas pr\u00EF\u00BF\u00BDsente dans le fichier norwend_morvex.ini, il faut la "
    L"rajouter.";

void SayNoConfigFile(const AppContext& context, HWND parent, const Prompts& prompts) {
    const UINT style = MB_OK | MB_ICONWARNING;
    if (context.settings.developerMode.Get()) {
        prompts.message(parent, kNotInProfiles, product::kDeveloperCaption, style);
    } else {
        prompts.message(parent, context.text(IDS_NO_SETTINGS), kMessageCaption, style);
    }
}

}  // namespace

SettingsDialog ChooseSettingsDialog(int inputCode, int outputCode) {
    if (IsProgressGroup(inputCode, outputCode)) {
        return outputCode == kCodeRobfaceFacets ? SettingsDialog::Robcad : SettingsDialog::Healing;
    }
    if (outputCode == kCodeParasolid) return SettingsDialog::Xmt;
    if (outputCode == kCodePdf3d) return SettingsDialog::Pdf;
    if (outputCode == kCodePrc) return SettingsDialog::Prc;
    const bool tessellated =
        std::ranges::find(kTessellatedOutputs, outputCode) != std::end(kTessellatedOutputs);
    return tessellated ? SettingsDialog::Tessellated : SettingsDialog::Default;
}

bool OpenSettingsDialog(AppContext& context, HWND parent, const Prompts& prompts) {
    if (GetConfigFilePath(context).empty()) {
        SayNoConfigFile(context, parent, prompts);
        return false;
    }
    switch (ChooseSettingsDialog(InputFilterTextToFormatCode(context.settings.formatIn.Get()),
                                 OutputFilterTextToFormatCode(context.settings.formatOut.Get()))) {
        case SettingsDialog::Healing:
            CfgHealingDlg(context, prompts).Run(parent);
            break;
        case SettingsDialog::Robcad:
            CfgRobcadDlg(context, prompts).Run(parent);
            break;
        case SettingsDialog::Xmt:
            CfgNoHealingXmtDlg(context, prompts).Run(parent);
            break;
        case SettingsDialog::Pdf:
            CfgNoHealingPDFDlg(context, PdfVariant::Pdf, prompts).Run(parent);
            break;
        case SettingsDialog::Prc:
            CfgNoHealingPDFDlg(context, PdfVariant::Prc, prompts).Run(parent);
            break;
        case SettingsDialog::Tessellated:
            CfgNoHealingSTLDlg(context, prompts).Run(parent);
            break;
        case SettingsDialog::Default:
            CfgNoHealingDefaultDlg(context, prompts).Run(parent);
            break;
    }
    return true;
}

}  // namespace morvex
