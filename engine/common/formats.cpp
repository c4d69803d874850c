#include "engine/common/formats.h"

#include <algorithm>
#include <array>
#include <string>

#include "engine/common/paths.h"
#include "engine/common/text.h"

namespace morvex {
namespace {

using Suffix = std::string_view;

constexpr int kStepCodes[] = {4}, kIgesCodes[] = {6}, kBrepCodes[] = {42}, kStlCodes[] = {22},
              kVrmlCodes[] = {23}, kObjCodes[] = {45}, kGltfCodes[] = {54}, kColladaCodes[] = {37},
              kFbxCodes[] = {55}, k3mfCodes[] = {50}, kIfcCodes[] = {48}, kDxfCodes[] = {63},
              kDrawingCodes[] = {33}, kDwgCodes[] = {35}, kPdfCodes[] = {43}, kEmfCodes[] = {49},
              kXmlCodes[] = {27};
constexpr std::span<const int> kNoCodes;  // of what only the command reads
constexpr Suffix kStepSuffixes[] = {".stp", ".step", ".stpnc", ".stpa", ".stpz", ".stpx", ".stpxz", ".p21"},
                 kIgesSuffixes[] = {".igs", ".iges", ".ig2"}, kBrepSuffixes[] = {".brep"},
                 kStlSuffixes[] = {".stl"}, kVrmlSuffixes[] = {".wrl", ".vrml"}, kObjSuffixes[] = {".obj"},
                 kGltfSuffixes[] = {".gltf"}, kGlbSuffixes[] = {".glb"}, kColladaSuffixes[] = {".dae"},
                 kFbxSuffixes[] = {".fbx"}, k3mfSuffixes[] = {".3mf"},
                 kIfcSuffixes[] = {".ifc", ".ifcxml", ".ifczip"}, kDxfSuffixes[] = {".dxf"},
                 kDwgSuffixes[] = {".dxf", ".dwg"}, kPdfSuffixes[] = {".pdf"}, kEmfSuffixes[] = {".emf"},
                 kXmlSuffixes[] = {".xml"}, kAmfSuffixes[] = {".amf"}, kX3dSuffixes[] = {".x3d", ".x3dv"},
                 k3dsSuffixes[] = {".3ds"}, kPlySuffixes[] = {".ply"}, kOffSuffixes[] = {".off"};

constexpr char kStepModule[] = "step", kIgesModule[] = "iges", kStlModule[] = "stl", kSceneModule[] = "scene",
               kAssimpModule[] = "assimp_reader", kGltfModule[] = "gltf_reader", kObjModule[] = "obj_reader",
               kDxfModule[] = "dxf_reader", kCoreModule[] = "core", kDrawingModule[] = "drawing",
               kPartsListModule[] = "parts_list", kPolygonModule[] = "polygon_reader",
               kX3dModule[] = "x3d_reader", k3mfModule[] = "three_mf_reader";

// Where two formats share a number the first is taken when the suffix does not tell.
constexpr auto kFormats = std::to_array<Format>({
    {FormatId::Step, "STEP", kStepCodes, kStepSuffixes, kStepModule, "ReadStep", kStepModule, "WriteStep",
     Needs::Surfaces, nullptr},
    {FormatId::Iges, "IGES", kIgesCodes, kIgesSuffixes, kIgesModule, "ReadIges", kIgesModule, "WriteIges",
     Needs::Surfaces, nullptr},
    {FormatId::Brep, "BREP", kBrepCodes, kBrepSuffixes, kCoreModule, "ReadBrep", kCoreModule, "WriteBrep",
     Needs::Anything, nullptr},
    {FormatId::Stl, "STL", kStlCodes, kStlSuffixes, kStlModule, "ReadStl", kStlModule, "WriteStl",
     Needs::Triangles, nullptr},
    {FormatId::Vrml, "VRML", kVrmlCodes, kVrmlSuffixes, kX3dModule, "ReadVrml", kSceneModule, "WriteVrml",
     Needs::Triangles, nullptr},
    {FormatId::Obj, "OBJ", kObjCodes, kObjSuffixes, kObjModule, "ReadObj", kSceneModule, "WriteObj",
     Needs::Triangles, ".mtl"},
    {FormatId::Gltf, "glTF", kGltfCodes, kGltfSuffixes, kGltfModule, "ReadGltf", kSceneModule, "WriteGltf",
     Needs::Triangles, ".bin"},
    {FormatId::Glb, "glb", kGltfCodes, kGlbSuffixes, kGltfModule, "ReadGltf", kSceneModule, "WriteGltf",
     Needs::Triangles, nullptr},
    {FormatId::Collada, "Collada", kColladaCodes, kColladaSuffixes, kAssimpModule, "ReadCollada",
     kSceneModule, "WriteCollada", Needs::Triangles, nullptr},
    {FormatId::Fbx, "FBX", kFbxCodes, kFbxSuffixes, kAssimpModule, "ReadFbx", kSceneModule, "WriteFbx",
     Needs::Triangles, nullptr},
    {FormatId::ThreeMf, "3MF", k3mfCodes, k3mfSuffixes, k3mfModule, "Read3mf", kSceneModule, "Write3mf",
     Needs::Triangles, nullptr},
    {FormatId::Ifc, "IFC", kIfcCodes, kIfcSuffixes, kAssimpModule, "ReadIfc", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::Dxf, "DXF 3D", kDxfCodes, kDxfSuffixes, kDxfModule, "ReadDxf", kSceneModule, "WriteDxf",
     Needs::Triangles, nullptr},
    {FormatId::DxfDrawing, "DXF", kDrawingCodes, kDxfSuffixes, kDxfModule, "ReadDxf", kDrawingModule,
     "WriteDxfDrawing", Needs::FineTriangles, nullptr},
    {FormatId::Dxf, "DWG/DXF", kDwgCodes, kDwgSuffixes, kDxfModule, "ReadDxf", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::Amf, "AMF", kNoCodes, kAmfSuffixes, kAssimpModule, "ReadAmf", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::X3d, "X3D", kNoCodes, kX3dSuffixes, kX3dModule, "ReadX3d", nullptr, nullptr, Needs::Anything,
     nullptr},
    {FormatId::ThreeDs, "3DS", kNoCodes, k3dsSuffixes, kAssimpModule, "Read3ds", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::Ply, "PLY", kNoCodes, kPlySuffixes, kPolygonModule, "ReadPly", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::Off, "OFF", kNoCodes, kOffSuffixes, kPolygonModule, "ReadOff", nullptr, nullptr,
     Needs::Anything, nullptr},
    {FormatId::PdfDrawing, "PDF 2D", kPdfCodes, kPdfSuffixes, nullptr, nullptr, kDrawingModule,
     "WritePdfDrawing", Needs::FineTriangles, nullptr},
    {FormatId::EmfDrawing, "EMF", kEmfCodes, kEmfSuffixes, nullptr, nullptr, kDrawingModule,
     "WriteEmfDrawing", Needs::FineTriangles, nullptr},
    {FormatId::PartsList, "XML", kXmlCodes, kXmlSuffixes, nullptr, nullptr, kPartsListModule,
     "WritePartsList", Needs::Anything, nullptr},
});

template <class Usable>
const Format* Find(int code, const std::filesystem::path& path, Usable usable) {
    const std::string suffix = LowerAscii(Utf8(path.extension()));
    const Format* byCode = nullptr;
    for (const Format& format : kFormats) {
        const bool hasCode = code == kAnyFormatCode || std::ranges::count(format.codes, code) != 0;
        if (!usable(format) || !hasCode) continue;
        if (std::ranges::count(format.suffixes, suffix) != 0) return &format;
        if (byCode == nullptr && code != kAnyFormatCode) byCode = &format;
    }
    return byCode;
}

}  // namespace

std::span<const Format> AllFormats() {
    return kFormats;
}

const Format* FindInputFormat(int code, const std::filesystem::path& path) {
    return Find(code, path, [](const Format& format) { return format.readModule != nullptr; });
}

const Format* FindOutputFormat(int code, const std::filesystem::path& path) {
    return Find(code, path, [](const Format& format) { return format.writeModule != nullptr; });
}

const Format* FindFormatByName(std::string_view name) {
    const auto found = std::ranges::find_if(
        kFormats, [&](const Format& format) { return LowerAscii(format.name) == LowerAscii(name); });
    return found == kFormats.end() ? nullptr : &*found;
}

}  // namespace morvex
