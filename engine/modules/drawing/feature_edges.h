// The triangles of a model as one surface, and the edges of it that a drawing shows.
#pragma once

#include <TopoDS_Shape.hxx>
#include <array>
#include <cstdint>
#include <vector>

namespace morvex {

using Vector3d = std::array<double, 3>;

struct EdgedSurface {
    struct Triangle {
        std::array<std::uint32_t, 3> corners;
        std::uint32_t face;  // the number of the face it belongs to
    };
    struct Edge {
        std::uint32_t from, to;
        std::array<std::uint32_t, 2> opposite;  // corners of the triangles at both sides
        bool sharp;  // shown from everywhere; else only where the surface turns away from the viewer
    };
    std::vector<Vector3d> points;  // in millimetres; those of neighbours that meet are one
    std::vector<Triangle> triangles;
    std::vector<Edge> edges;
    double size = 0;  // the diagonal of the box
};

// Triangles with two corners in one place are left out. An edge is sharp where the surface ends, where more
// than two triangles meet, or where it bends by more than 30 degrees (10 between two faces).
EdgedSurface FindEdges(const TopoDS_Shape& whole);

}  // namespace morvex
