#pragma once

#include "dialogs/config_binding.h"
#include "res/settings_ids.h"
#include "res/string_ids.h"

// The keys that the settings dialogs edit. Sections and keys are the conversion library's vocabulary.
namespace morvex::config {

inline constexpr wchar_t kFilter[] = L"FILTRAGE DE DOMAINE";
inline constexpr wchar_t kTransform[] = L"TRANSFORMATION ENTITES";
inline constexpr wchar_t kAsk[] = L"DIALOG BOX";
inline constexpr wchar_t kStl[] = L"STL CONF";
inline constexpr wchar_t kPdf[] = L"PDF CONF";
inline constexpr wchar_t kRobcad[] = L"ROBCAD CONF";

constexpr ConfigBinding Switch(const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                               int control, int caption, int tooltip) {
    return {BindingKind::Check, section, key, fallback, {{control, 1, caption, tooltip}}};
}

// What becomes of hidden entities: "-1" leaves them out, "0" writes them.
constexpr ConfigBinding Blanked(const wchar_t* key, int deleteButton, int writeButton, bool asVisible,
                                BindingKind kind = BindingKind::BlankedPair) {
    return {kind,
            L"MODIFICATION D'ATTRIBUT",
            key,
            L"-1",
            {{deleteButton, -1, IDS_CFG_DELETE, IDS_TIP_CFG_DELETE},
             {writeButton, 0, asVisible ? IDS_CFG_WRITE_VISIBLE : IDS_CFG_WRITE_BLANKED,
              asVisible ? IDS_TIP_CFG_WRITE_VISIBLE : IDS_TIP_CFG_WRITE_BLANKED}}};
}

constexpr ConfigBinding Field(BindingKind kind, const wchar_t* section, const wchar_t* key,
                              const wchar_t* fallback, int control, int tooltip) {
    return {kind, section, key, fallback, {{control, 0, 0, tooltip}}};
}

// clang-format off
inline constexpr auto kPart            = Blanked(L"VISIBILITY", IDC_PART_DELETE, IDC_PART_WRITE, false);
inline constexpr auto kAssembly        = Blanked(L"ASM_VISIBILITY", IDC_ASSEMBLY_DELETE, IDC_ASSEMBLY_WRITE, false);
inline constexpr auto kAnnotation      = Blanked(L"FDT_VISIBILITY", IDC_FDT_DELETE, IDC_FDT_WRITE, false);
inline constexpr auto kPartVisible     = Blanked(L"VISIBILITY", IDC_PART_DELETE, IDC_PART_WRITE, true);
inline constexpr auto kAssemblyVisible = Blanked(L"ASM_VISIBILITY", IDC_ASSEMBLY_DELETE, IDC_ASSEMBLY_WRITE, true);
inline constexpr auto kHealingPart     = Blanked(L"VISIBILITY", IDC_HEALING_PART_DELETE, IDC_HEALING_PART_WRITE, true, BindingKind::Choice);
inline constexpr auto kHealingAssembly = Blanked(L"ASM_VISIBILITY", IDC_HEALING_ASSEMBLY_DELETE, IDC_HEALING_ASSEMBLY_WRITE, true, BindingKind::Choice);

inline constexpr auto kWireframe    = Switch(kFilter, L"FILAIRE", L"0", IDC_WIREFRAME, IDS_CFG_WIREFRAME, IDS_TIP_CFG_WIREFRAME);
inline constexpr auto kFdt          = Switch(kFilter, L"FDT", L"0", IDC_FDT, IDS_CFG_FDT, IDS_TIP_CFG_FDT);
inline constexpr auto kFdtPmi       = Switch(kFilter, L"FDT", L"0", IDC_FDT, IDS_CFG_FDT_PMI, IDS_TIP_CFG_FDT);
inline constexpr auto kRender       = Switch(kFilter, L"RENDER_INFOS", L"0", IDC_RENDER, IDS_CFG_RENDER, IDS_TIP_CFG_RENDER);
inline constexpr auto kModelDisplay = Switch(kFilter, L"MODEL_DISPLAY", L"0", IDC_MODEL_DISPLAY, IDS_CFG_MODEL_DISPLAY, IDS_TIP_CFG_MODEL_DISPLAY);
inline constexpr auto kMetadata     = Switch(kFilter, L"META_PARAMETERS", L"0", IDC_METADATA, IDS_CFG_METADATA, IDS_TIP_CFG_METADATA);
inline constexpr auto kGeomLink     = Switch(kFilter, L"GEOM_LINK", L"0", IDC_GEOM_LINK, IDS_CFG_GEOM_LINK, IDS_TIP_CFG_GEOM_LINK);
inline constexpr auto kBody         = Switch(kFilter, L"SOLID", L"0", IDC_BODY, IDS_CFG_BODY, IDS_TIP_CFG_BODY);
inline constexpr auto kMesh         = Switch(kFilter, L"MESH", L"0", IDC_MESH, IDS_CFG_MESH, IDS_TIP_CFG_MESH);
inline constexpr auto kNurbs        = Switch(kTransform, L"BODY_TO_NURBS", L"0", IDC_NURBS, IDS_CFG_NURBS, IDS_TIP_CFG_NURBS);
inline constexpr auto kSolidAsGroup = Switch(kTransform, L"EXPLOSE_GROUP", L"0", IDC_SOLID_AS_GROUP, IDS_CFG_SOLID_AS_GROUP, IDS_TIP_CFG_SOLID_AS_GROUP);
inline constexpr auto kKeepAssembly = Switch(kTransform, L"KEEP_ASSEMBLY", L"1", IDC_KEEP_ASSEMBLY, IDS_CFG_KEEP_ASSEMBLY, IDS_TIP_CFG_KEEP_ASSEMBLY);
inline constexpr auto kHealingKeepAssembly = Switch(kTransform, L"KEEP_ASSEMBLY", L"1", IDC_HEALING_KEEP_ASSEMBLY, IDS_CFG_KEEP_ASSEMBLY, IDS_TIP_CFG_KEEP_ASSEMBLY);
inline constexpr auto kSimplifyTree = Switch(kTransform, L"REMOVE_EMPTY_NODES", L"0", IDC_SIMPLIFY_TREE, IDS_CFG_SIMPLIFY_TREE, IDS_TIP_CFG_SIMPLIFY_TREE);

inline constexpr ConfigBinding kCatalog{BindingKind::StrictChoice, kAsk, L"CHOOSE_IN_CATALOG", L"-1",
    {{IDC_CATALOG_ALL, 0, IDS_CFG_CONVERT_ALL, IDS_TIP_CFG_PART_CATALOG},
     {IDC_CATALOG_DEFAULT, -1, IDS_CFG_CONVERT_DEFAULT, IDS_TIP_CFG_PART_CATALOG},
     {IDC_CATALOG_ASK, 1, IDS_CFG_OPEN_DIALOG, IDS_TIP_CFG_PART_CATALOG}}};
inline constexpr ConfigBinding kAxis{BindingKind::StrictChoice, kAsk, L"CHOOSE_AXIS", L"0",
    {{IDC_AXIS_NONE, 0, IDS_CFG_USE_NONE, IDS_TIP_CFG_AXIS_PLACEMENT},
     {IDC_AXIS_DEFAULT, -1, IDS_CFG_USE_DEFAULT, IDS_TIP_CFG_AXIS_PLACEMENT},
     {IDC_AXIS_ASK, 1, IDS_CFG_OPEN_DIALOG, IDS_TIP_CFG_AXIS_PLACEMENT}}};
inline constexpr ConfigBinding kLayer{BindingKind::StrictChoice, kAsk, L"CHOOSE_LAYER_FILTER", L"0",
    {{IDC_LAYER_NONE, 0, IDS_CFG_USE_NONE, IDS_TIP_CFG_LAYER_FILTERS},
     {IDC_LAYER_DEFAULT, -1, IDS_CFG_USE_DEFAULT, IDS_TIP_CFG_LAYER_FILTERS},
     {IDC_LAYER_ASK, 1, IDS_CFG_OPEN_DIALOG, IDS_TIP_CFG_LAYER_FILTERS}}};
inline constexpr ConfigBinding kReferenceSet{BindingKind::Choice, kAsk, L"CHOOSE_REFERENCESET_FILTER", L"0",
    {{IDC_REFERENCE_SET_ASK, 1, IDS_CFG_OPEN_DIALOG_REFERENCE_SET, IDS_TIP_CFG_REFERENCE_SET},
     {IDC_REFERENCE_SET_NONE, 0, IDS_CFG_USE_NONE, IDS_TIP_CFG_REFERENCE_SET}}};

inline constexpr ConfigBinding kUseMeshes{BindingKind::Choice, kStl, L"USE_TESSEL", L"1",
    {{IDC_EXISTING_MESHES, 1, IDS_CFG_USE_EXISTING_MESHES, IDS_TIP_CFG_USE_EXISTING_MESHES},
     {IDC_FORCE_TESSELLATION, 0, IDS_CFG_FORCE_TESSELLATION, IDS_TIP_CFG_FORCE_TESSELLATION}}};
inline constexpr auto kLinear         = Field(BindingKind::Length, kStl, L"LINEAR_TOL", L"0.10000", IDC_LINEAR_VALUE, IDS_TIP_CFG_LINEAR_TOLERANCE);
inline constexpr auto kLinearDisable  = Switch(kStl, L"LINEAR_DIS", L"1", IDC_LINEAR_DISABLE, IDS_CFG_DISABLE, IDS_TIP_CFG_LINEAR_DISABLE);
inline constexpr auto kAngular        = Field(BindingKind::Angle, kStl, L"ANGULAR_TOL", L"0.174533", IDC_ANGULAR_VALUE, IDS_TIP_CFG_ANGULAR_TOLERANCE);
inline constexpr auto kAngularDisable = Switch(kStl, L"ANGULAR_DIS", L"1", IDC_ANGULAR_DISABLE, IDS_CFG_DISABLE, IDS_TIP_CFG_ANGULAR_DISABLE);

inline constexpr ConfigBinding k3dFormat{BindingKind::Choice, kPdf, L"3D_FORMAT", L"0",
    {{IDC_3D_MESH, 0, IDS_CFG_MESH, IDS_TIP_CFG_3D_MESH},
     {IDC_3D_BREP, 1, IDS_CFG_BREP, IDS_TIP_CFG_3D_BREP},
     {IDC_3D_BOTH, 2, IDS_CFG_MESH_AND_BREP, IDS_TIP_CFG_3D_BOTH}}};
inline constexpr auto kPdfOption1 = Switch(kPdf, L"OPTION_1", L"0", IDC_PDF_OPTION_1, IDS_CFG_OPTION_1, 0);

inline constexpr auto kNameLength = Field(BindingKind::Number, kRobcad, L"NAME_LENGTH", L"14", IDC_NAME_LENGTH, IDS_TIP_CFG_NAME_LENGTH);
inline constexpr auto kMaxAngle   = Field(BindingKind::Text, kRobcad, L"WRITE_MAX_ANGLE", L"45", IDC_MAX_ANGLE, IDS_TIP_CFG_MAX_ANGLE);
inline constexpr auto kMaxSag     = Field(BindingKind::Text, kRobcad, L"WRITE_MAX_SAG", L"1", IDC_MAX_SAG, IDS_TIP_CFG_MAX_SAG);
// clang-format on

}  // namespace morvex::config
