#include "engine/modules/gltf_reader/gltf_mesh.h"

#include <algorithm>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/vertex_colours.h"

namespace morvex {
namespace {

constexpr unsigned kTriangles = 4, kStrip = 5, kFan = 6;

// What tells the geometry of a primitive from that of another.
std::string KeyOf(const Json& primitive) {
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    for (const char* key : {"attributes", "indices", "mode", "extensions"}) {
        if (const Json* const value = Member(primitive, key)) value->Accept(writer);
        writer.Reset(text);
        text.Put('|');
    }
    return {text.GetString(), text.GetSize()};
}

// Strips and fans as separate triangles, in the direction of the first, without the flat ones that join
// strips.
std::vector<std::uint32_t> Unrolled(const std::vector<std::uint32_t>& corners, std::uint64_t mode) {
    if (mode == kTriangles) {
        if (corners.size() % 3 != 0) throw ReadError("The last triangle of a mesh is incomplete");
        return corners;
    }
    std::vector<std::uint32_t> triangles;
    for (std::size_t at = 2; at < corners.size(); ++at) {
        const bool odd = mode == kStrip && at % 2 != 0;
        const std::uint32_t first = corners[mode == kFan ? 0 : at - 2];
        std::uint32_t second = corners[at - 1], third = corners[at];
        if (first == second || second == third || first == third) continue;
        if (odd) std::swap(second, third);
        triangles.insert(triangles.end(), {first, second, third});
    }
    return triangles;
}

gp_Pnt PointOf(const float* point) {
    constexpr double kMillimetres = 1000;
    return {point[0] * kMillimetres, -point[2] * kMillimetres, point[1] * kMillimetres};
}

// The triangles with those vertices that they use. Metres, Y up, become millimetres, Z up.
Handle(Poly_Triangulation)
    MakeTriangles(const GltfVertices& vertices, const std::vector<std::uint32_t>& corners) {
    const std::size_t all = vertices.points.size() / 3;
    std::vector<int> numbers(all, 0);
    int used = 0;
    for (const std::uint32_t corner : corners) {
        if (corner >= all) throw ReadError("A triangle has a corner that is not there");
        if (numbers[corner] == 0) numbers[corner] = ++used;
    }
    const bool normals = vertices.normals.size() == all * 3, texture = vertices.texture.size() == all * 2;
    Handle(Poly_Triangulation) triangles = new Poly_Triangulation();
    triangles->SetDoublePrecision(false);
    triangles->ResizeNodes(used, false);
    triangles->ResizeTriangles(static_cast<int>(corners.size() / 3), false);
    if (texture) triangles->AddUVNodes();
    if (normals) triangles->AddNormals();
    for (std::size_t at = 0; at < all; ++at) {
        const int number = numbers[at];
        if (number == 0) continue;
        triangles->SetNode(number, PointOf(&vertices.points[at * 3]));
        if (texture) {
            // Pictures begin at the top there, at the bottom here.
            triangles->SetUVNode(number, gp_Pnt2d(static_cast<double>(vertices.texture[at * 2]),
                                                  1 - static_cast<double>(vertices.texture[at * 2 + 1])));
        }
        if (normals) {
            const float* const normal = &vertices.normals[at * 3];
            triangles->SetNormal(number, gp_Vec3f(normal[0], -normal[2], normal[1]));
        }
    }
    for (std::size_t at = 0; at < corners.size(); at += 3) {
        triangles->SetTriangle(
            static_cast<int>(at / 3) + 1,
            Poly_Triangle(numbers[corners[at]], numbers[corners[at + 1]], numbers[corners[at + 2]]));
    }
    return triangles;
}

std::vector<SceneFace> MakeFaces(const GltfVertices& vertices, const std::vector<std::uint32_t>& corners) {
    std::vector<SceneFace> faces;
    if (vertices.colours.empty()) {
        faces.push_back({MakeTriangles(vertices, corners), {}, {}});
        return faces;
    }
    const std::size_t each = vertices.colourComponents;
    for (const ColouredCorners& group : GroupByColour(corners, [&](std::uint32_t vertex) {
             const std::size_t at = vertex * each;
             if (at + each > vertices.colours.size())
                 throw ReadError("A triangle has a corner that is not there");
             const float* const colour = &vertices.colours[at];
             return std::array<float, 4>{colour[0], colour[1], colour[2], each == 4 ? colour[3] : 1};
         })) {
        const auto& [red, green, blue, alpha] = group.colour;
        faces.push_back({MakeTriangles(vertices, group.corners),
                         Quantity_ColorRGBA(Quantity_Color(red, green, blue, Quantity_TOC_RGB), alpha),
                         {}});
    }
    return faces;
}

}  // namespace

GltfVertices GltfMeshes::ReadVertices(const Json& primitive) {
    if (const Json* const extensions = Member(primitive, "extensions")) {
        if (const Json* const draco = Member(*extensions, "KHR_draco_mesh_compression"))
            return ReadDraco(file_, *draco);
    }
    GltfVertices vertices;
    const Json* const attributes = Member(primitive, "attributes");
    const auto points = attributes == nullptr ? std::nullopt : Whole(*attributes, "POSITION");
    if (!points) throw ReadError("A mesh has no points");
    vertices.points = file_.Floats(*points, 3);
    if (const auto normals = Whole(*attributes, "NORMAL")) vertices.normals = file_.Floats(*normals, 3);
    if (const auto texture = Whole(*attributes, "TEXCOORD_0")) vertices.texture = file_.Floats(*texture, 2);
    if (const auto colours = Whole(*attributes, "COLOR_0")) {
        vertices.colourComponents = file_.Components(*colours) == 3 ? 3 : 4;
        vertices.colours = file_.Floats(*colours, vertices.colourComponents);
    }
    if (const auto indices = Whole(primitive, "indices")) {
        vertices.corners = file_.Indices(*indices);
    } else {
        vertices.corners.resize(vertices.points.size() / 3);
        for (std::uint32_t at = 0; at < vertices.corners.size(); ++at) vertices.corners[at] = at;
    }
    return vertices;
}

std::vector<SceneFace> GltfMeshes::Faces(const Json& primitive) {
    const std::uint64_t mode = Whole(primitive, "mode").value_or(kTriangles);
    if (mode > kFan) throw ReadError("A mesh has primitives of an unknown kind");
    if (mode < kTriangles) {
        ++flat_;
        return {};
    }
    const auto [place, isNew] = known_.try_emplace(KeyOf(primitive));
    if (isNew) {
        GltfVertices vertices = ReadVertices(primitive);
        const std::vector<std::uint32_t> corners = Unrolled(vertices.corners, mode);
        if (!corners.empty()) place->second = MakeFaces(vertices, corners);
    }
    return place->second;
}

}  // namespace morvex
