#include "formats/input_formats.h"

#include <algorithm>
#include <iterator>

#include "formats/format_codes.h"

namespace morvex {
namespace {

// One row a format: display name, filter text, identifier, code; below them the dialog filter, one line a
// pair. No filter text stands twice, so the first match is the only one.
// clang-format off
constexpr InputFormat kInputFormats[] = {
    {L"ACIS", L"ACIS (*.sat;*.asat;*.sab;*.asab)", "ZEL_ACIS", 2,
     L"ACIS (*.sat;*.asat;*.sab;*.asab)|*.sat;*.asat;*.sab;*.asab|"
     L"ACIS (*.sat)|*.sat|"
     L"ACIS (*.asat)|*.asat|"
     L"ACIS (*.sab)|*.sab|"
     L"ACIS (*.asab)|*.asab|"},
    // The missing ")" of the third label and the patterns missing from the first pair are meant to be so.
    {L"STEP", L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)", "ZEL_STEP", 4,
     L"STEP AP203/214 (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc)|*.step;*.stp;*.stpz;*.stpx;*.stpxz|"
     L"STEP AP203/214 (*.step)|*.step|"
     L"STEP AP203/214 (*.stp|*.stp|"
     L"STEP AP203/214 (*.stpz)|*.stpz|"
     L"STEP AP203/214 (*.stpx)|*.stpx|"
     L"STEP AP203/214 (*.stpnc)|*.stpnc|"
     L"STEP AP203/214 (*.stpa)|*.stpa|"},
    {L"PARASOLID", L"PARASOLID (*.x_t;*.x_b;*.xmt_txt;*.xmt_bin)", "ZEL_PARASOLID", 5,
     L"Parasolid (*.x_t;*.x_b;*.xmt_txt;*.xmt_bin)|*.x_t;*.x_b;*.xmt_txt;*.xmt_bin|"
     L"Parasolid (*.x_t)|*.x_t|"
     L"Parasolid (*.x_b)|*.x_b|"
     L"Parasolid (*.xmt_txt)|*.xmt_txt|"
     L"Parasolid (*.xmt_bin)|*.xmt_bin|"},
    {L"IGES 3D", L"IGES 3D (*.igs;*.iges)", "ZEL_IGES", 6,
     L"IGES 3D (*.igs;*.iges)|*.igs;*.iges|"
     L"IGES 3D (*.igs)|*.igs|"
     L"IGES 3D (*.iges)|*.iges|"},
    {L"IGES 2D", L"IGES 2D (*.igs;*.iges;*.ig2)", "ZEL_IGES", 6,
     L"IGES 2D (*.igs;*.iges;*.ig2)|*.igs;*.iges;*.ig2|"
     L"IGES 2D (*.igs)|*.igs|"
     L"IGES 2D (*.iges)|*.iges|"
     L"IGES 2D (*.ig2)|*.ig2|"},
    {L"IFC", L"IFC (*.ifc;*.ifcxml;*.ifczip)", "ZEL_IFC", 48,
     L"IFC (*.ifc;*.ifcxml;*.ifczip)|*.ifc;*.ifcxml;*.ifczip|"},
    {L"Cadds", L"Cadds (_pd;*._pd)", "ZEL_CADDS", 7,
     L"Cadds (_pd;*._pd)|_pd;*._pd|"},
    // "*.session" is offered by the dialog though the filter text has it in 3D only.
    {L"CATIA V4 2D", L"CATIA V4 2D (*.model;*.dlv;*.dlv3;*.exp)", "ZEL_CATIAV4_2D", 8,
     L"CATIA V4 2D (*.model;*.dlv;*.dlv3;*.exp;*.session)|*.model;*.dlv;*.dlv3;*.exp;*.session|"
     L"CATIA V4 2D (*.model)|*.model|"
     L"CATIA V4 2D (*.dlv)|*.dlv|"
     L"CATIA V4 2D (*.dlv3)|*.dlv3|"
     L"CATIA V4 2D (*.exp)|*.exp|"},
    {L"CATIA V4 3D", L"CATIA V4 3D (*.model;*.dlv;*.dlv3;*.exp;*.session)", "ZEL_CATIAV4_3D", 8,
     L"CATIA V4 3D (*.model;*.dlv;*.dlv3;*.exp;*.session)|*.model;*.dlv;*.dlv3;*.exp;*.session|"
     L"CATIA V4 3D (*.model)|*.model|"
     L"CATIA V4 3D (*.dlv)|*.dlv|"
     L"CATIA V4 3D (*.dlv3)|*.dlv3|"
     L"CATIA V4 3D (*.exp)|*.exp|"
     L"CATIA V4 3D (*.session)|*.session|"},
    {L"CATIA V5 3D", L"CATIA V5 3D (*.CATPart;*.CATProduct)", "ZEL_CATIAV5_3D", 9,
     L"CATIA V5 3D (*.CATPart;*.CATProduct)|*.CATPart;*.CATProduct|"
     L"CATIA V5 3D (*.CATPart)|*.CATPart|"
     L"CATIA V5 3D (*.CATProduct)|*.CATProduct|"},
    {L"CATIA V5 2D", L"CATIA V5 2D (*.CATDrawing)", "ZEL_CATIAV5_2D", 9,
     L"CATIA V5 2D (*.CATDrawing)|*.CATDrawing|"},
    {L"glTF", L"glTF (*.gltf)", "ZEL_GLTF", 54,
     L"glTF (*.gltf)|*.gltf|"},
    {L"glTF Binary", L"glTF Binary (*.glb)", "ZEL_GLTF", 54,
     L"glTF Binary (*.glb)|*.glb|"},
    {L"FBX", L"FBX (*.fbx)", "ZEL_FBX", 55,
     L"FBX (*.fbx)|*.fbx|"},
    {L"SMG", L"3DVIA/SW/Catia Composer (*.smg;*.smggeom)", "ZEL_SMG", 58,
     L"3DVIA/SW/Catia Composer (*.smg;*.smggeom)|*.smg;*.smggeom|"
     L"3DVIA/SW/Catia Composer (*.smg)|*.smg|"
     L"3DVIA/SW/Catia Composer (*.smggeom)|*.smggeom|"},
    // The dialog labels of this system and of the next are shorter than its display name.
    {L"CATIA V6/3DEXPERIENCE 2D", L"CATIA V6/3DEXPERIENCE 2D (*.3dxml)", "ZEL_CATIAV6_2D", 34,
     L"CATIA V6 2D (*.3dxml)|*.3dxml|"},
    {L"CATIA V6/3DEXPERIENCE 3D", L"CATIA V6/3DEXPERIENCE 3D (*.3dxml)", "ZEL_CATIAV6_3D", 34,
     L"CATIA V6 3D (*.3dxml)|*.3dxml|"},
    {L"ProE/Creo Parametric 2D", L"ProE/Creo Parametric 2D (*.drw;*.drw.*)", "ZEL_PROE_2D", 12,
     L"ProE 2D (*.drw;*.drw.*)|*.drw;*.drw.*|"
     L"ProE 2D (*.drw)|*.drw|"
     L"ProE 2D (*.drw.*)|*.drw.*|"},
    // "*.prt." and "*.asm." stand without a closing star.
    {L"ProE/Creo Parametric 3D", L"ProE/Creo Parametric 3D (*.prt;*.prt.*;*.xpr;*.asm;*.asm.*;*.xas)",
     "ZEL_PROE_3D", 12,
     L"ProE 3D (*.prt;*.prt.*;*.xpr;*.asm;*.asm.*;*.xas)|*.prt;*.prt.*;*.xpr;*.asm;*.asm.*;*.xas|"
     L"ProE 3D (*.prt)|*.prt|"
     L"ProE 3D (*.prt.)|*.prt.|"
     L"ProE 3D (*.xpr)|*.xpr|"
     L"ProE 3D (*.asm)|*.asm|"
     L"ProE 3D (*.asm.)|*.asm.|"
     L"ProE 3D (*.xas)|*.xas|"},
    // The first pattern list goes beyond its label.
    {L"Creo View", L"Creo View (*.ol;*.ed;*.edz;*.pvz;*.pvs)", "ZEL_CREOVIEW", 53,
     L"Creo View (*.ol;*.ed;*.edz;*.pvz;*.pvs)|*.ol;*.ed*;*.edz;*.pvz;*.pvs*;*.xas|"
     L"Creo View (*.ol)|*.ol|"
     L"Creo View (*.ed)|*.ed|"
     L"Creo View (*.edz)|*.edz|"
     L"Creo View (*.pvz)|*.pvz|"
     L"Creo View (*.pvs)|*.pvs|"},
    {L"Rhino", L"Rhino (*.3dm)", "ZEL_3DM", 44,
     L"Rhino (*.3dm)|*.3dm|"},
    {L"Robface", L"Robface (*.rf)", "ZEL_ROBFACE", 13,
     L"Robface (*.rf)|*.rf|"},
    {L"Robface facets", L"Robface facets (*.rf)", "ZEL_ROBFACE", 13,
     L"Robface facets (*.rf)|*.rf|"},
    {L"SOLIDWORKS 3D", L"SOLIDWORKS 3D (*.sldprt;*.sldasm)", "ZEL_SOLIDWORKS_3D", 15,
     L"SOLIDWORKS 3D (*.sldprt;*.sldasm)|*.sldprt;*.sldasm|"
     L"SOLIDWORKS 3D (*.sldprt)|*.sldprt|"
     L"SOLIDWORKS 3D (*.sldasm)|*.sldasm|"},
    {L"SOLIDWORKS 2D", L"SOLIDWORKS 2D (*.slddrw)", "ZEL_SOLIDWORKS_2D", 15,
     L"SOLIDWORKS 2D (*.slddrw)|*.slddrw|"},
    // "*.pwd" has a pair of its own but is missing from the first one.
    {L"Solid Edge 3D", L"Solid Edge 3D (*.par;*.psm;*.asm;*.pwd)", "ZEL_SOLIDEDGE_3D", 16,
     L"Solid Edge 3D (*.par;*.psm;*.asm)|*.par;*.psm;*.asm|"
     L"Solid Edge 3D (*.par)|*.par|"
     L"Solid Edge 3D (*.psm)|*.psm|"
     L"Solid Edge 3D (*.asm)|*.asm|"
     L"Solid Edge 3D (*.pwd)|*.pwd|"},
    {L"Solid Edge 2D", L"Solid Edge 2D (*.dft)", "ZEL_SOLIDEDGE_2D", 16,
     L"Solid Edge 2D (*.dft)|*.dft|"},
    {L"UG NX 2D", L"UG NX 2D (*.prt)", "ZEL_UNIGRAPHICS_2D", 17,
     L"UG NX 2D (*.prt)|*.prt|"},
    {L"UG NX 3D", L"UG NX 3D (*.prt)", "ZEL_UNIGRAPHICS_3D", 17,
     L"UG NX 3D (*.prt)|*.prt|"},
    // Can be named and shown, but has no identifier, no code of its own and no dialog filter.
    {L"PDF 3D", L"PDF 3D (*.pdf)", "", 1,
     L""},
    // The comma of the filter text is part of it: saved settings hold it.
    {L"Inventor 3D", L"Inventor 3D (*.ipt,*.iam)", "ZEL_INVENTOR", 25,
     L"Inventor 3D (*.ipt;*.iam)|*.ipt;*.iam|"
     L"Inventor 3D (*.ipt)|*.ipt|"
     L"Inventor 3D (*.iam)|*.iam|"},
    {L"VDAFS", L"VDAFS (*.vda)", "ZEL_VDAFS", 18,
     L"VDAFS (*.vda)|*.vda|"},
    {L"JT", L"JT (*.jt)", "ZEL_JT", 21,
     L"Jt (*.jt)|*.jt|"},
    {L"NORWEND", L"NORWEND (*.wbi)", "ZEL_WBI", 101,
     L"NORWEND (*.wbi)|*.wbi|"},
    {L"Revit", L"Revit (*.rvt;*.rfa)", "ZEL_REVIT", 52,
     L"Revit (*.rvt;*.rfa)|*.rvt;*.rfa|"},
    // The test format: no identifier and no code of its own.
    {L"EMPTY", L"EMPTY (*.empty)", "", 1,
     L"EMPTY (*.empty)|*.empty|"},
    // No dialog filter: its key lacked the blank before "(" and so never matched.
    {L"FDT Multi XML New", L"FDT Multi XML New (*.MultiXmlNew)", "ZEL_XML_NEW_FDT", 111,
     L""},
    {L"ALL", L"ALL (*.*)", "ZEL_IN", 1,
     L"ALL (*.*)|*.*|"},
    {L"DWG/DXF 3D", L"DWG/DXF 3D (*.dwg;*.dxf)", "ZEL_DWG_3D", 35,
     L"DWG/DXF (*.dwg;*.dxf)|*.dwg;*.dxf|"},
    {L"DXF 2D", L"DXF 2D (*.dxf)", "ZEL_DWG_2D", 33,
     L"DXF 2D (*.dxf)|*.dxf|"},
    {L"DWG 2D", L"DWG 2D (*.dwg)", "ZEL_DWG_2D", 35,
     L"DWG 2D (*.dwg)|*.dwg|"},
    {L"STL", L"STL (*.stl)", "ZEL_STL", 22,
     L"STL (*.stl)|*.stl|"},
    {L"OBJ", L"OBJ (*.obj)", "ZEL_OBJ", 45,
     L"OBJ (*.obj)|*.obj|"},
    {L"CGR", L"CGR (*.cgr)", "ZEL_CGR", 26,
     L"CGR (*.cgr)|*.cgr|"},
    {L"Procera", L"Procera (*.c3s)", "ZEL_PROCERA", 31,
     L"Procera (*.c3s)|*.c3s|"},
    {L"PLM XML", L"PLM XML (*.plmxml)", "ZEL_PLMXML", 36,
     L"PLM XML (*.plmxml)|*.plmxml|"},
    {L"Cerec - Sirona", L"Cerec - Sirona (*.sdt;*.cdt;*.idt)", "ZEL_CEREC", 29,
     L"Cerec - Sirona (*.sdt;*.cdt;*.idt)|*.sdt;*.cdt;*.idt|"},
    {L"3Shape DCM", L"3Shape DCM (*.dcm)", "ZEL_DCM", 30,
     L"3Shape DCM (*.dcm)|*.dcm|"},
    {L"Cercon", L"Cercon (*.art)", "ZEL_CERCON", 32,
     L"Cercon (*.art)|*.art|"},
    {L"Fusion 360", L"Fusion 360 (*.f3d)", "ZEL_F3D", 59,
     L"Fusion 360 (*.f3d)|*.f3d|"},
    {L"DSTV", L"DSTV (*.NC;*.NCC)", "ZEL_DSTV", 60,
     L"DSTV (*.NC;*.NCC)|*.NC;*.NCC|"},
    {L"RVM", L"RVM (*.rvm)", "ZEL_RVM", 64,
     L"RVM (*.rvm)|*.rvm|"},
    {L"RN XML", L"RN XML (*.xml)", "ZEL_RNXML", 41,
     L"RN XML (*.xml)|*.xml|"},
    {L"Navisworks", L"Navisworks (*.nwd)", "ZEL_NAVIS", 62,
     L"Navisworks (*.nwd)|*.nwd|"},
    {L"QIF 3D", L"QIF 3D (*.qif)", "ZEL_QIF", 65,
     L"QIF 3D (*.qif)|*.qif|"},
};
// clang-format on

// The filter text of no format, whose dialog filter is answered all the same.
constexpr std::wstring_view kSmgFilterText = L"SMG (*.smg;*.smggeom)";
constexpr std::wstring_view kSmgDialogFilter =
    L"SMG (*.smg;*.smggeom)|*.smg;*.smggeom|SMG (*.smg)|*.smg|SMG (*.smggeom)|*.smggeom|";

const InputFormat* FindByFilterText(std::wstring_view filterText) {
    const auto row = std::ranges::find(kInputFormats, filterText, &InputFormat::filterText);
    return row == std::end(kInputFormats) ? nullptr : &*row;
}

}  // namespace

std::span<const InputFormat> InputFormats() {
    return kInputFormats;
}

std::wstring InputDisplayNameToFilterText(std::wstring_view displayName) {
    const auto row = std::ranges::find(kInputFormats, displayName, &InputFormat::displayName);
    return row == std::end(kInputFormats) ? L"" : row->filterText;
}

std::string InputFilterTextToIdentifier(std::wstring_view filterText) {
    const InputFormat* row = FindByFilterText(filterText);
    return row ? row->identifier : "";
}

int InputFilterTextToFormatCode(std::wstring_view filterText) {
    const InputFormat* row = FindByFilterText(filterText);
    return row ? row->code : kCodeAny;
}

std::wstring InputFilterTextToDialogFilter(std::wstring_view filterText) {
    if (filterText == kSmgFilterText) return std::wstring(kSmgDialogFilter);
    const InputFormat* row = FindByFilterText(filterText);
    return row ? row->dialogFilter : L"";
}

}  // namespace morvex
