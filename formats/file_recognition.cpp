#include "formats/file_recognition.h"

#include <algorithm>

namespace morvex {
namespace {

constexpr std::wstring_view kEveryFile = L"*";

// Lists are separated by blanks.
struct RecognitionRule {
    std::wstring_view inputFilterText;
    std::wstring_view extensions;
    std::wstring_view versionedExtensions = {};  // also accepted before a version number: bracket.prt.12
    std::wstring_view fileName = {};             // also accepted as the whole file name
};

// Close to the texts of the input formats, but with more texts, and without some of them.
// clang-format off
constexpr RecognitionRule kRules[] = {
    {L"ALL (*.*)", kEveryFile},
    {L"ACIS (*.sat;*.asat;*.sab;*.asab)", L"sat asat sab asab"},
    {L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)", L"step stp stpz stpx stpxz stpnc stpa"},
    {L"PARASOLID (*.x_t;*.x_b;*.xmt_txt;*.xmt_bin)", L"x_t x_b xmt_txt xmt_bin"},
    {L"IGES 3D (*.igs;*.iges)", L"igs iges"},
    {L"IGES 2D (*.igs;*.iges;*.ig2)", L"igs iges ig2"},
    {L"FBX (*.fbx)", L"fbx"},
    {L"glTF (*.gltf)", L"gltf"},
    {L"glTF Binary (*.glb)", L"glb"},
    {L"Fusion 360 (*.f3d)", L"f3d"},
    {L"3DVIA/SW/Catia Composer (*.smg;*.smggeom)", L"smg smggeom"},
    {L"SMG (*.smg;*.smggeom)", L"smg smggeom"},
    {L"DSTV (*.NC;*.NCC)", L"NC NCC"},
    {L"RVM (*.rvm)", L"rvm"},
    // Not the input format's text, which goes on with ";*.ifczip": that one accepts every file.
    {L"IFC (*.ifc;*.ifcxml)", L"ifc ifcxml"},
    {L"Cadds (_pd;*._pd)", L"_pd cadds", L"", L"_pd"},
    {L"CATIA V4 2D (*.model;*.dlv;*.dlv3;*.exp)", L"model dlv dlv3 exp"},
    {L"CATIA V4 3D (*.model;*.dlv;*.dlv3;*.exp;*.session)", L"model dlv dlv3 exp session"},
    {L"CATIA V5 2D (*.CATDrawing)", L"CATDrawing"},
    {L"CATIA V5 3D (*.CATPart;*.CATProduct)", L"CATPart CATProduct"},
    {L"CATIA V5 3D (*.CATPart)", L"CATPart"},
    {L"CATIA V5 3D (*.CATProduct)", L"CATProduct"},
    {L"CATIA V6/3DEXPERIENCE 3D (*.3dxml)", L"3dxml"},
    {L"CATIA V6/3DEXPERIENCE 2D (*.3dxml)", L"3dxml"},
    {L"JT (*.jt)", L"jt"},
    {L"ProE/Creo Parametric 3D (*.prt;*.prt.*;*.xpr;*.asm;*.asm.*;*.xas)", L"prt xpr asm xas", L"prt asm"},
    {L"ProE/Creo Parametric 2D (*.drw;*.drw.*)", L"drw", L"drw"},
    {L"RN XML (*.xml)", L"xml"},
    {L"Rhino (*.3dm)", L"3dm"},
    {L"Robface (*.rf)", L"rf"},
    {L"Robface facets (*.rf)", L"rf"},
    {L"SOLIDWORKS 3D (*.sldasm)", L"sldasm"},
    {L"SOLIDWORKS 3D (*.sldprt)", L"sldprt"},
    {L"SOLIDWORKS 3D (*.sldprt;*.sldasm)", L"sldprt sldasm"},
    {L"SOLIDWORKS 2D (*.slddrw)", L"slddrw"},
    {L"Solid Edge 3D (*.par;*.psm;*.asm;*.pwd)", L"par psm asm pwd"},
    {L"Solid Edge 2D (*.dft)", L"dft"},
    {L"UG NX 2D (*.prt)", L"prt"},
    {L"UG NX 3D (*.prt)", L"prt"},
    {L"UG NX (*.prt)", L"prt"},
    {L"Revit (*.rvt)", L"rvt rfa"},
    {L"Revit (*.rvt;*.rfa)", L"rvt rfa"},
    {L"VDAFS (*.vda)", L"vda"},
    // Not the input format's text, which has a comma for the semicolon: that one accepts every file.
    {L"Inventor 3D (*.ipt;*.iam)", L"ipt iam"},
    // Not "dae"; Collada is never the selected input.
    {L"Collada (*.dae)", L"vda"},
    {L"Cerec - Sirona (*.sdt;*.cdt;*.idt)", L"sdt cdt idt"},
    {L"CGR (*.cgr)", L"cgr"},
    {L"OBJ (*.obj)", L"obj"},
    {L"DXF (*.dxf)", L"dxf"},
    {L"XML (*.xml)", L"xml"},
    {L"DWG (*.dwg)", L"dwg"},
    {L"DWG/DXF 3D (*.dwg;*.dxf)", L"dwg dxf"},
    {L"DWG/DXF 2D (*.dwg;*.dxf)", L"dwg dxf"},
    {L"DWG 2D (*.dwg)", L"dwg"},
    {L"DXF 2D (*.dxf)", L"dxf"},
    {L"PLM XML (*.plmxml)", L"plmxml"},
    {L"OCC (*.brep)", L"brep"},
    {L"3Shape DCM (*.dcm)", L"dcm"},
    {L"Procera (*.c3s)", L"c3s"},
    {L"NORWEND (*.wbi)", L"wbi"},
    {L"Navisworks (*.nwd)", L"nwd"},
    {L"QIF 3D (*.qif)", L"qif"},
};
// clang-format on

// ASCII letters only: every extension in the table is ASCII, and folding more would let a look-alike of
// another script (the Kelvin sign for "k") pass.
constexpr wchar_t FoldCase(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool EqualNoCase(std::wstring_view a, std::wstring_view b) {
    return std::ranges::equal(a, b, {}, FoldCase, FoldCase);
}

bool ListHolds(std::wstring_view list, std::wstring_view extension) {
    while (!list.empty()) {
        const size_t blank = std::min(list.find(L' '), list.size());
        if (EqualNoCase(list.substr(0, blank), extension)) return true;
        list.remove_prefix(std::min(blank + 1, list.size()));
    }
    return false;
}

// What follows the last separator; the whole text when it has none.
std::wstring_view AfterLast(std::wstring_view text, wchar_t separator) {
    return text.substr(text.rfind(separator) + 1);
}

// "prt" of "bracket.prt.12"; empty when the name has fewer than two dots.
std::wstring_view VersionedExtension(std::wstring_view fileName) {
    const size_t versionDot = fileName.rfind(L'.');
    if (versionDot == std::wstring_view::npos) return {};
    const std::wstring_view unversioned = fileName.substr(0, versionDot);
    return unversioned.find(L'.') == std::wstring_view::npos ? std::wstring_view()
                                                             : AfterLast(unversioned, L'.');
}

bool Accepts(const RecognitionRule& rule, std::wstring_view path) {
    // A dot in a folder name counts when the file name has none; the fallbacks below need a backslash.
    if (rule.extensions == kEveryFile || ListHolds(rule.extensions, AfterLast(path, L'.'))) return true;
    if (path.find(L'\\') == std::wstring_view::npos) return false;
    const std::wstring_view fileName = AfterLast(path, L'\\');
    if (!rule.fileName.empty() && EqualNoCase(fileName, rule.fileName)) return true;
    return ListHolds(rule.versionedExtensions, VersionedExtension(fileName));
}

}  // namespace

bool IsFileOfInputFormat(std::wstring_view path, std::wstring_view inputFilterText) {
    const auto rule = std::ranges::find(kRules, inputFilterText, &RecognitionRule::inputFilterText);
    return rule == std::end(kRules) || Accepts(*rule, path);
}

bool NamesExtension(std::wstring_view inputFilterText, std::wstring_view path) {
    std::wstring_view patterns =
        inputFilterText.substr(std::min(inputFilterText.find(L"(*.") + 1, inputFilterText.size()));
    const std::wstring_view extension = AfterLast(path, L'.');
    while (patterns.starts_with(L"*.")) {
        const size_t end = std::min(patterns.find_first_of(L";,)"), patterns.size());
        if (EqualNoCase(patterns.substr(2, end - 2), extension)) return true;
        patterns.remove_prefix(std::min(end + 1, patterns.size()));
    }
    return false;
}

}  // namespace morvex
