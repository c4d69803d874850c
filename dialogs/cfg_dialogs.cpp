#include "dialogs/cfg_dialogs.h"

#include "dialogs/config_keys.h"
#include "res/resource.h"
#include "win/controls.h"

namespace morvex {
namespace {

using Keys = const ConfigBinding* const[];
namespace c = config;

constexpr Keys kHealingKeys = {&c::kHealingPart, &c::kHealingAssembly, &c::kHealingKeepAssembly,
                               &c::kWireframe, &c::kNurbs};
constexpr Keys kRobcadKeys = {&c::kPartVisible, &c::kAssemblyVisible, &c::kNameLength, &c::kMaxAngle,
                              &c::kMaxSag};
constexpr Keys kXmtKeys = {&c::kPart,    &c::kAssembly, &c::kWireframe, &c::kReferenceSet, &c::kAxis,
                           &c::kCatalog, &c::kLayer,    &c::kNurbs,     &c::kKeepAssembly};
constexpr Keys kDefaultKeys = {&c::kPart,         &c::kAssembly, &c::kWireframe,  &c::kReferenceSet,
                               &c::kAxis,         &c::kCatalog,  &c::kLayer,      &c::kNurbs,
                               &c::kKeepAssembly, &c::kFdt,      &c::kAnnotation, &c::kSolidAsGroup,
                               &c::kBody,         &c::kMesh};
constexpr Keys kStlKeys = {&c::kPart,           &c::kAssembly,      &c::kAnnotation,   &c::kWireframe,
                           &c::kFdtPmi,         &c::kRender,        &c::kModelDisplay, &c::kKeepAssembly,
                           &c::kReferenceSet,   &c::kCatalog,       &c::kLayer,        &c::kUseMeshes,
                           &c::kAngularDisable, &c::kLinearDisable, &c::kAngular,      &c::kLinear};
constexpr Keys kPdfKeys = {&c::kPart,           &c::kAssembly,      &c::kAnnotation,   &c::kWireframe,
                           &c::kFdtPmi,         &c::kRender,        &c::kModelDisplay, &c::kKeepAssembly,
                           &c::kReferenceSet,   &c::kCatalog,       &c::kLayer,        &c::kUseMeshes,
                           &c::kAngularDisable, &c::kLinearDisable, &c::kAngular,      &c::kLinear,
                           &c::kMetadata,       &c::kGeomLink,      &c::kSimplifyTree, &c::k3dFormat};
constexpr Keys kPdfAdvancedKeys = {&c::kPdfOption1};

constexpr ConfigDialogTable kHealing{IDD_CFG_HEALING, IDS_CFG_TITLE_WRITE, IDC_CFG_PATH_HEALING,
                                     kHealingKeys};
constexpr ConfigDialogTable kRobcad{IDD_CFG_ROBCAD, IDS_CFG_TITLE_WRITE, IDC_CFG_PATH_ROBCAD, kRobcadKeys};
constexpr ConfigDialogTable kXmt{IDD_CFG_XMT, IDS_CFG_TITLE_SETTINGS, IDC_CFG_PATH, kXmtKeys};
constexpr ConfigDialogTable kDefault{IDD_CFG_DEFAULT, IDS_CFG_TITLE_WRITE, IDC_CFG_PATH, kDefaultKeys};
constexpr ConfigDialogTable kStl{IDD_CFG_STL, IDS_CFG_TITLE_TESSELLATED, IDC_CFG_PATH, kStlKeys};
constexpr ConfigDialogTable kPdf{IDD_CFG_PDF, IDS_CFG_TITLE_PDF, IDC_CFG_PATH, kPdfKeys};
constexpr ConfigDialogTable kPdfAdvanced{IDD_CFG_PDF_ADVANCED, IDS_CFG_TITLE_PDF_ADVANCED, 0,
                                         kPdfAdvancedKeys};

}  // namespace

CfgHealingDlg::CfgHealingDlg(AppContext& context, Prompts prompts)
    : ConfigDialog(context, kHealing, std::move(prompts)) {}

CfgRobcadDlg::CfgRobcadDlg(AppContext& context, Prompts prompts)
    : ConfigDialog(context, kRobcad, std::move(prompts)) {}

CfgNoHealingXmtDlg::CfgNoHealingXmtDlg(AppContext& context, Prompts prompts)
    : ConfigDialog(context, kXmt, std::move(prompts)) {}

CfgNoHealingDefaultDlg::CfgNoHealingDefaultDlg(AppContext& context, Prompts prompts)
    : ConfigDialog(context, kDefault, std::move(prompts)) {}

CfgNoHealingSTLDlg::CfgNoHealingSTLDlg(AppContext& context, Prompts prompts)
    : TessellationDialog(context, kStl, std::move(prompts)) {}

CfgPdfAdvancedDlg::CfgPdfAdvancedDlg(AppContext& context, Prompts prompts)
    : ConfigDialog(context, kPdfAdvanced, std::move(prompts)) {}

CfgNoHealingPDFDlg::CfgNoHealingPDFDlg(AppContext& context, PdfVariant variant, Prompts prompts)
    : TessellationDialog(context, kPdf, std::move(prompts)), variant_(variant) {}

bool CfgNoHealingPDFDlg::OnInit() {
    const bool advanced = variant_ == PdfVariant::Pdf && Context().settings.developerMode.Get();
    Control(Item(IDC_PDF_ADVANCED)).Show(advanced);
    return TessellationDialog::OnInit();
}

bool CfgNoHealingPDFDlg::OnCommand(int id, int notification, HWND control) {
    switch (id) {
        case IDC_PDF_ADVANCED:
            CfgPdfAdvancedDlg(Context(), Prompt()).Run(Handle());
            return true;
        case IDC_3D_MESH:
        case IDC_3D_BREP:
        case IDC_3D_BOTH:
            ShowState();
            return true;
        default:
            return TessellationDialog::OnCommand(id, notification, control);
    }
}

bool CfgNoHealingPDFDlg::WritesMesh() const {
    return !CheckBox(Item(IDC_3D_BREP)).Checked();
}

}  // namespace morvex
