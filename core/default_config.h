#pragma once

namespace morvex {

// One key of a fresh conversion configuration file. Sections and keys are the library's vocabulary.
struct ConfigDefault {
    const wchar_t* section;
    const wchar_t* key;
    const wchar_t* value;
};

// In the order in which they are written. The odd spellings of MAXSIZE (1e50 as the library prints it) and of
// ANGULAR_TOL (ten degrees in radians, after a blank) are what the library expects to find.
// clang-format off
inline constexpr ConfigDefault kConfigDefaults[] = {
    {L"FILTRAGE DE DOMAINE", L"COURBE_LIM_3D", L"0"},
    {L"FILTRAGE DE DOMAINE", L"FILAIRE", L"0"},
    {L"FILTRAGE DE DOMAINE", L"FDT", L"0"},
    {L"FILTRAGE DE DOMAINE", L"FEATURES", L"1"},
    {L"FILTRAGE DE DOMAINE", L"META_PARAMETERS", L"0"},
    {L"FILTRAGE DE DOMAINE", L"REFERENTIEL", L"1"},
    {L"FILTRAGE DE DOMAINE", L"MESH", L"1"},
    {L"FILTRAGE DE DOMAINE", L"RENDER_INFOS", L"1"},
    {L"FILTRAGE DE DOMAINE", L"MODEL_DISPLAY", L"0"},
    {L"FILTRAGE DE DOMAINE", L"DRAW", L"0"},
    {L"FILTRAGE DE DOMAINE", L"CONSTRUCT_SOLIDS", L"1"},
    {L"MODIFICATION D'ATTRIBUT", L"VISIBILITY", L"-1"},
    {L"MODIFICATION D'ATTRIBUT", L"ASM_VISIBILITY", L"-1"},
    {L"MODIFICATION D'ATTRIBUT", L"FDT_VISIBILITY", L"-1"},
    {L"TRANSFORMATION ENTITES", L"BODY_TO_NURBS", L"0"},
    {L"TRANSFORMATION ENTITES", L"KEEP_ASSEMBLY", L"1"},
    {L"TRANSFORMATION ENTITES", L"EXPLOSE_GROUP", L"1"},
    {L"TRANSFORMATION ENTITES", L"MERGE_BODIES", L"0"},
    {L"IGES CONF", L"NAME_AS_406", L"0"},
    {L"IGES CONF", L"BOUND_PREFERENCE", L"3"},
    {L"STL CONF", L"MAXSIZE", L"100000000000000010000000000000000000000000000000000.0000000"},
    {L"STL CONF", L"MINSIZE", L"0.0000000"},
    {L"STL CONF", L"RATIO", L"10000.0000000"},
    {L"STL CONF", L"LINEAR_DIS", L"1"},
    {L"STL CONF", L"LINEAR_TOL", L"0.1000000"},
    {L"STL CONF", L"ANGULAR_DIS", L"1"},
    {L"STL CONF", L"ANGULAR_TOL", L" 0.174532"},
    {L"STL CONF", L"WRITE_ASCII", L"0"},
    {L"STL CONF", L"COMPUTE_NORMALES_FROM_SURFACE", L"1"},
    {L"STL CONF", L"USE_TESSEL", L"1"},
    {L"STL CONF", L"COMPUTE_BOUNDARIES_FROM_MESH", L"1"},
    {L"DIALOG BOX", L"CHOOSE_AXIS", L"0"},
    {L"DIALOG BOX", L"CHOOSE_IN_CATALOG", L"-1"},
    {L"DIALOG BOX", L"CHOOSE_LAYER_FILTER", L"0"},
    {L"DIALOG BOX", L"CHOOSE_IN_ASSEMBLY_TREE", L"0"},
    {L"FILE CONF", L"WRITE_LST_FILE", L"0"},
    {L"FILE CONF", L"WRITE_LOG_FILE", L"1"},
    {L"SCISSION FICHIER", L"PAR_SOLIDE", L"0"},
    {L"SCISSION FICHIER", L"PER_CATALOG", L"0"},
    {L"XMT CONF", L"WRITE_BODY_ATTRIBUTES", L"1"},
    {L"CATIAV5 CONF", L"WRITE_REF_PLANE_AS_HIDDEN", L"1"},
    {L"CATIAV5 CONF", L"WRITE_HYBRID_BODIES", L"0"},
    {L"CATIAV5 CONF", L"WRITE_RELEASE", L"14"},
    {L"SW CONF", L"MULTI_BODY", L"1"},
    {L"STEP CONF", L"READ_FDT", L"0"},
    {L"STEP CONF", L"WRITE_FDT", L"1"},
    {L"STEP CONF", L"WRITE_FDT_POLYLINE", L"0"},
    {L"STEP CONF", L"WRITE_VERSION", L"0"},
    {L"COLLADA CONF", L"REVERSE_TRANSPARENCY", L"0"},
    {L"COLLADA CONF", L"KEEP_ZEL_TREE", L"1"},
    {L"COLLADA CONF", L"NO_INSTANCE_NODE", L"1"},
    {L"COLLADA CONF", L"VERSION", L"141"},
    {L"COLLADA CONF", L"USE_VERTEX_COLOR", L"0"},
    {L"COLLADA CONF", L"EXPLODE_ENTITIES", L"0"},
    {L"PDF CONF", L"RASTERIZE_TEXTS", L"1"},
    {L"PDF CONF", L"TRUETYPE_FONT", L"\"C:\\Windows\\Fonts\\unifont_0.ttf\""},
    {L"PDF CONF", L"WRITE_PRC", L"1"},
    {L"CATIAV5 2D CONF", L"FILTER_DETAIL_SHEETS", L"1"},
    {L"JT CONF", L"WRITE_XTBREP", L"0"},
    {L"TOLERANCE", L"NB_DECIMALE", L"10"},
    {L"TOLERANCE", L"TOL_CONTINUITE", L"0.01"},
};
// clang-format on

}  // namespace morvex
