#include "formats/format_groups.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace morvex {
namespace {

// clang-format off
constexpr const wchar_t* kAll3d[] = {
    L"IGES", L"STEP", L"CATIA V5", L"VRML", L"STL", L"Collada", L"PDF 3D", L"OCC", L"SOLIDWORKS",
    L"OBJ", L"3DXML", L"ACIS", L"UG NX", L"3MF", L"PRC", L"CGR", L"JT", L"PARASOLID",
    L"PARASOLID Binary", L"FBX", L"glTF", L"glTF Binary", L"IFC", L"PLMXML",
};
constexpr const wchar_t* kAll2d[] = {
    L"PDF 2D", L"DXF",
};
constexpr const wchar_t* kAllMesh[] = {
    L"Collada", L"JT", L"PDF 3D", L"PRC", L"STL", L"VRML", L"OBJ", L"3MF", L"3DXML", L"FBX",
    L"glTF", L"glTF Binary", L"IFC",
};
constexpr const wchar_t* kAllSurf[] = {
    L"IGES", L"STEP", L"CATIA V5", L"PDF 3D", L"OCC", L"SOLIDWORKS", L"3DXML", L"ACIS", L"UG NX",
    L"CGR", L"PARASOLID", L"PARASOLID Binary",
};
// clang-format on

struct Group {
    std::wstring_view name;
    std::span<const wchar_t* const> outputs;
};
constexpr Group kGroups[] = {
    {L"ALL_3D", kAll3d}, {L"ALL_2D", kAll2d}, {L"ALL_MESH", kAllMesh}, {L"ALL_SURF", kAllSurf}};

constexpr std::array kProgressInputs = {kCodeRnXml, kCodeRobface};
constexpr std::array kProgressOutputs = {kCodeCadds,         kCodeCatiaV4, kCodeRobface,
                                         kCodeRobfaceFacets, kCodeVdafs,   kCodeUnisurf};

}  // namespace

std::span<const wchar_t* const> OutputGroup(std::wstring_view name) {
    const auto group = std::ranges::find(kGroups, name, &Group::name);
    return group == std::end(kGroups) ? std::span<const wchar_t* const>() : group->outputs;
}

bool IsProgressGroup(int inputCode, int outputCode) {
    return std::ranges::find(kProgressInputs, inputCode) != kProgressInputs.end() ||
           std::ranges::find(kProgressOutputs, outputCode) != kProgressOutputs.end();
}

}  // namespace morvex
