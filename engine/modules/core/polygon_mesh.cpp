#include "engine/modules/core/polygon_mesh.h"

#include <numeric>

#include "engine/modules/core/affine.h"
#include "engine/modules/core/polygon.h"
#include "engine/modules/core/read_error.h"

namespace morvex {

bool PolygonMesh::AddPolygon(const std::vector<std::uint32_t>& polygon, std::optional<VertexColour> colour) {
    std::vector<gp_XYZ> outline;
    outline.reserve(polygon.size());
    for (const std::uint32_t corner : polygon) {
        if (corner >= points.size()) throw ReadError("A polygon has a corner that is not there");
        outline.push_back(points[corner]);
    }
    const std::vector<std::uint32_t> cut = CutIntoTriangles(outline);
    constexpr VertexColour kWhite{1, 1, 1, 1};
    if (colour && triangleColours.empty()) triangleColours.assign(corners.size() / 3, kWhite);
    if (colour || !triangleColours.empty())
        triangleColours.insert(triangleColours.end(), cut.size() / 3, colour.value_or(kWhite));
    for (const std::uint32_t at : cut) corners.push_back(polygon[at]);
    return !cut.empty();
}

std::vector<SceneFace> PolygonMesh::Faces(const gp_GTrsf& toOurs,
                                          const std::optional<Quantity_ColorRGBA>& colour) const {
    std::vector<SceneFace> faces;
    if (corners.empty()) return faces;
    if (colours.empty() && triangleColours.empty()) {
        faces.push_back({Transformed(Triangles(corners), toOurs), colour, {}});
        return faces;
    }
    std::vector<std::uint32_t> order(corners.size());
    std::iota(order.begin(), order.end(), 0u);
    for (const ColouredCorners& group : GroupByColour(order, [this](std::uint32_t at) {
             return triangleColours.empty() ? colours[corners[at]] : triangleColours[at / 3];
         })) {
        std::vector<std::uint32_t> own;
        own.reserve(group.corners.size());
        for (const std::uint32_t at : group.corners) own.push_back(corners[at]);
        const auto& [red, green, blue, alpha] = group.colour;
        faces.push_back({Transformed(Triangles(own), toOurs),
                         Quantity_ColorRGBA(Quantity_Color(red, green, blue, Quantity_TOC_sRGB), alpha),
                         {}});
    }
    return faces;
}

// With the points that they use.
Handle(Poly_Triangulation) PolygonMesh::Triangles(const std::vector<std::uint32_t>& of) const {
    std::vector<int> numbers(points.size(), 0);
    int used = 0;
    for (const std::uint32_t corner : of)
        if (numbers[corner] == 0) numbers[corner] = ++used;
    Handle(Poly_Triangulation) triangles =
        new Poly_Triangulation(used, static_cast<int>(of.size() / 3), Standard_False, !normals.empty());
    for (std::size_t at = 0; at < points.size(); ++at) {
        if (numbers[at] == 0) continue;
        triangles->SetNode(numbers[at], points[at]);
        if (normals.empty()) continue;
        const auto& [x, y, z] = normals[at];
        triangles->SetNormal(numbers[at], gp_Vec3f(x, y, z));
    }
    for (std::size_t at = 0; at < of.size(); at += 3) {
        triangles->SetTriangle(static_cast<int>(at / 3) + 1,
                               Poly_Triangle(numbers[of[at]], numbers[of[at + 1]], numbers[of[at + 2]]));
    }
    return triangles;
}

}  // namespace morvex
