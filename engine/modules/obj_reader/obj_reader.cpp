// OBJ. The format says nothing of units and axes: millimetres and Z up are taken for granted.
#include <algorithm>
#include <set>
#include <unordered_map>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/scene.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/core/vertex_colours.h"
#include "engine/modules/obj_reader/obj_file.h"
#include "engine/modules/obj_reader/obj_materials.h"

namespace morvex {
namespace {

struct CornerHash {
    std::size_t operator()(const ObjCorner& corner) const {
        return (corner.point * 0x9e3779b97f4a7c15u) ^ (corner.texture * 0xc2b2ae3d27d4eb4fu) ^
               (corner.normal * 0x165667b19e3779f9u);
    }
};

// The triangles with those points, texture points and normals that they use.
Handle(Poly_Triangulation) MakeTriangles(const ObjFile& file, const std::vector<ObjCorner>& corners) {
    std::unordered_map<ObjCorner, int, CornerHash> numbers;
    numbers.reserve(corners.size() / 2);
    std::vector<int> nodes;
    nodes.reserve(corners.size());
    std::vector<ObjCorner> used;
    for (const ObjCorner& corner : corners) {
        const auto [place, isNew] = numbers.try_emplace(corner, static_cast<int>(used.size()) + 1);
        if (isNew) used.push_back(corner);
        nodes.push_back(place->second);
    }
    const auto all = [&](auto member) {
        return std::ranges::none_of(
            used, [&](const ObjCorner& corner) { return corner.*member == ObjCorner::kNone; });
    };
    const bool normals = all(&ObjCorner::normal), texture = all(&ObjCorner::texture);
    Handle(Poly_Triangulation) triangles = new Poly_Triangulation(
        static_cast<int>(used.size()), static_cast<int>(nodes.size() / 3), texture, normals);
    for (std::size_t at = 0; at < used.size(); ++at) {
        const int node = static_cast<int>(at) + 1;
        const auto& [x, y, z] = file.points[used[at].point];
        triangles->SetNode(node, gp_Pnt(x, y, z));
        if (texture) {
            const auto& [u, v] = file.texture[used[at].texture];
            triangles->SetUVNode(node, gp_Pnt2d(static_cast<double>(u), static_cast<double>(v)));
        }
        if (normals) {
            const auto& [nx, ny, nz] = file.normals[used[at].normal];
            triangles->SetNormal(node, gp_Vec3f(nx, ny, nz));
        }
    }
    for (std::size_t at = 0; at < nodes.size(); at += 3) {
        triangles->SetTriangle(static_cast<int>(at / 3) + 1,
                               Poly_Triangle(nodes[at], nodes[at + 1], nodes[at + 2]));
    }
    return triangles;
}

// The colours of the points stand in for the material, but give way to a texture.
void AddColoured(const ObjFile& file, const ObjPatch& patch, std::vector<SceneFace>& faces) {
    std::vector<std::uint32_t> order(patch.corners.size());
    for (std::uint32_t at = 0; at < order.size(); ++at) order[at] = at;
    for (const ColouredCorners& group : GroupByColour(order, [&](std::uint32_t corner) {
             const auto& [red, green, blue] = file.colours[patch.corners[corner].point];
             return VertexColour{red, green, blue, 1};
         })) {
        std::vector<ObjCorner> corners;
        for (const std::uint32_t at : group.corners) corners.push_back(patch.corners[at]);
        const auto& [red, green, blue, alpha] = group.colour;
        faces.push_back({MakeTriangles(file, corners),
                         Quantity_ColorRGBA(Quantity_Color(red, green, blue, Quantity_TOC_sRGB), alpha),
                         {}});
    }
}

// The whole text is one name, or else several with blanks between them.
void ReadMaterialFiles(JobContext& context, const ObjFile& file, ObjMaterials& materials) {
    std::set<std::string> names(file.materialFiles.begin(), file.materialFiles.end());
    for (const std::string& text : names) {
        std::error_code error;
        const bool several = text.find(' ') != std::string::npos &&
                             !std::filesystem::exists(context.request.input.parent_path() / text, error);
        std::string_view rest = text;
        if (!several) ReadObjMaterials(context, text, materials);
        for (auto word = TakeWord(rest); several && !word.empty(); word = TakeWord(rest))
            ReadObjMaterials(context, std::string(word), materials);
    }
}

}  // namespace

extern "C" Outcome ReadObj(JobContext& context) {
    const InputBytes bytes(context.file);
    const ObjFile file = ParseObj(DecodedText(bytes.View()).View(), context.settings.keepPartial);
    if (file.lost > 0)
        context.journal.Lose(std::to_string(file.lost) + " lines of the file, which make no sense");
    if (file.surfaces > 0) {
        throw ReadError(std::to_string(file.surfaces) + " free-form surfaces are not supported", ZEL_VERSION);
    }
    if (file.curves > 0) {
        context.journal.Warn(std::to_string(file.curves) + " lines, points or curves were left out");
    }
    ObjMaterials materials;
    ReadMaterialFiles(context, file, materials);
    Scene scene;
    for (const ObjGroup& group : file.groups) {
        SceneMesh mesh{group.name.empty() ? Utf8(context.file.stem()) : group.name, {}};
        for (const ObjPatch& patch : group.patches) {
            const auto found = materials.find(patch.material);
            const Handle(XCAFDoc_VisMaterial) material = found == materials.end() ? nullptr : found->second;
            const bool textured = !material.IsNull() && !material->CommonMaterial().DiffuseTexture.IsNull();
            if (!file.colours.empty() && !textured)
                AddColoured(file, patch, mesh.faces);
            else
                mesh.faces.push_back({MakeTriangles(file, patch.corners), {}, material});
        }
        scene.roots.push_back({scene.nodes.size(), gp_GTrsf(), {}});
        scene.nodes.push_back({mesh.name, {scene.meshes.size()}, {}});
        scene.meshes.push_back(std::move(mesh));
    }
    AddScene(context.document, scene, Utf8(context.file.stem()));
    return Outcome::Ok();
}

}  // namespace morvex
