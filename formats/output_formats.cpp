#include "formats/output_formats.h"

#include <algorithm>
#include <iterator>

#include "formats/format_codes.h"

namespace morvex {
namespace {

// One row a format: display name, filter text, identifier, extension, code.
// No filter text stands twice, so the first match is the only one.
// clang-format off
constexpr OutputFormat kOutputFormats[] = {
    {L"ACIS", L"ACIS (*.sat)", "ZEL_ACIS", L".sat", 2},
    {L"STEP", L"STEP (*.stp)", "ZEL_STEP", L".stp", 4},
    {L"PARASOLID", L"PARASOLID (*.x_t)", "ZEL_PARASOLID", L".x_t", 5},
    {L"PARASOLID Binary", L"PARASOLID Binary (*.x_b)", "ZEL_PARASOLID", L".x_b", 46},
    {L"IGES", L"IGES (*.igs)", "ZEL_IGES", L".igs", 6},
    // No extension: as an output this filter text was never given one.
    {L"IGES 2D", L"IGES 2D (*.igs;*.iges;*.ig2)", "ZEL_IGES", L"", 6},
    {L"IFC", L"IFC (*.ifc)", "ZEL_IFC", L".ifc", 48},
    // No extension of its own, see kCaddsExtensionKey.
    {L"Cadds", L"Cadds (_pd)", "ZEL_CADDS", L"", 7},
    {L"CATIA V4", L"CATIA V4 (*.model)", "ZEL_CATIAV4_3D", L".model", 8},
    {L"CATIA V5", L"CATIA V5 (*.CATPart;*.CATProduct)", "ZEL_CATIAV5_3D", L".CATPart", 9},
    {L"XML", L"XML (*.xml)", "ZEL_XML", L".xml", 27},
    {L"3MF", L"3MF (*.3mf)", "ZEL_3MF", L".3mf", 50},
    {L"FBX", L"FBX (*.fbx)", "ZEL_FBX", L".fbx", 55},
    {L"PRC", L"PRC (*.prc)", "ZEL_PRC", L".prc", 47},
    {L"EMF", L"EMF (*.emf)", "ZEL_EMF", L".emf", 49},
    {L"Robface", L"Robface (*.rf)", "ZEL_ROBFACE", L".rf", 13},
    // Code 14, while the input of that name has 13.
    {L"Robface facets", L"Robface facets (*.rf)", "ZEL_ROBFACE", L".rf", 14},
    {L"SOLIDWORKS", L"SOLIDWORKS (*.sldprt;*.sldasm)", "ZEL_SOLIDWORKS_3D", L".sldprt", 15},
    {L"UG NX", L"UG NX (*.prt)", "ZEL_UNIGRAPHICS_3D", L".prt", 17},
    {L"VDAFS", L"VDAFS (*.vda)", "ZEL_VDAFS", L".vda", 18},
    {L"JT", L"JT (*.jt)", "ZEL_JT", L".jt", 21},
    {L"NORWEND", L"NORWEND (*.wbi)", "ZEL_WBI", L".wbi", 101},
    {L"Revit", L"Revit (*.rvt)", "ZEL_REVIT", L".rvt", 52},
    // The test format: no identifier and no code of its own.
    {L"EMPTY", L"EMPTY (*.empty)", "", L".empty", 1},
    {L"FDT Multi XML New", L"FDT Multi XML New (*.MultiXmlNew)", "ZEL_XML_NEW_FDT", L".MultiXmlNew", 111},
    {L"DWG 3D", L"DWG 3D (*.dwg)", "ZEL_DWG", L".dwg", 35},
    {L"STL", L"STL (*.stl)", "ZEL_STL", L".stl", 22},
    {L"OBJ", L"OBJ (*.obj)", "ZEL_OBJ", L".obj", 45},
    {L"CGR", L"CGR (*.cgr)", "ZEL_CGR", L".cgr", 26},
    {L"OCC", L"OCC (*.brep)", "ZEL_OCC", L".brep", 42},
    {L"VRML", L"VRML (*.wrl)", "ZEL_VRML", L".wrl", 23},
    {L"3DXML", L"3DXML (*.3dxml)", "ZEL_3DXML", L".3dxml", 28},
    {L"Collada", L"Collada (*.dae)", "ZEL_COLLADA", L".dae", 37},
    {L"Unisurf", L"Unisurf (*.uni)", "ZEL_UNISURF", L".uni", 20},
    {L"PDF 2D", L"PDF 2D (*.pdf)", "ZEL_PDF_2D", L".pdf", 43},
    {L"PDF 3D", L"PDF 3D (*.pdf)", "ZEL_PDF_3D", L".pdf", 39},
    {L"glTF", L"glTF (*.gltf)", "ZEL_GLTF", L".gltf", 54},
    {L"glTF Binary", L"glTF Binary (*.glb)", "ZEL_GLTF", L".glb", 54},
    {L"DXF", L"DXF (*.dxf)", "ZEL_DXF", L".dxf", 33},
    // Code 63, while "DXF" has 33.
    {L"DXF 3D", L"DXF 3D (*.dxf)", "ZEL_DXF", L".dxf", 63},
    // Can be named and shown, but has no identifier and no code of its own.
    {L"DWG", L"DWG (*.dwg)", "", L".dwg", 1},
    {L"PLMXML", L"PLM XML (*.plmxml)", "ZEL_PLMXML", L".plmxml", 36},
};
// clang-format on

// The extension of Cadds is listed under a text that is not the format's filter text ("Cadds (_pd)"): a run
// into Cadds therefore gets no extension.
constexpr std::wstring_view kCaddsExtensionKey = L"Cadds (*._pd)";
constexpr std::wstring_view kCaddsExtension = L"._pd";

const OutputFormat* FindByFilterText(std::wstring_view filterText) {
    const auto row = std::ranges::find(kOutputFormats, filterText, &OutputFormat::filterText);
    return row == std::end(kOutputFormats) ? nullptr : &*row;
}

}  // namespace

std::span<const OutputFormat> OutputFormats() {
    return kOutputFormats;
}

std::wstring OutputDisplayNameToFilterText(std::wstring_view displayName) {
    const auto row = std::ranges::find(kOutputFormats, displayName, &OutputFormat::displayName);
    return row == std::end(kOutputFormats) ? L"" : row->filterText;
}

std::string OutputFilterTextToIdentifier(std::wstring_view filterText) {
    const OutputFormat* row = FindByFilterText(filterText);
    return row ? row->identifier : "";
}

int OutputFilterTextToFormatCode(std::wstring_view filterText) {
    const OutputFormat* row = FindByFilterText(filterText);
    return row ? row->code : kCodeAny;
}

std::wstring OutputFilterTextToExtension(std::wstring_view filterText) {
    if (filterText == kCaddsExtensionKey) return std::wstring(kCaddsExtension);
    const OutputFormat* row = FindByFilterText(filterText);
    return row ? row->extension : L"";
}

}  // namespace morvex
