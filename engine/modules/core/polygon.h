// Polygons cut into triangles.
#pragma once

#include <cstdint>
#include <gp_XYZ.hxx>
#include <vector>

namespace morvex {

// Three indices into `points` a triangle, in the direction of the polygon, which may be concave and a little
// out of its plane. Empty for fewer than three points.
std::vector<std::uint32_t> CutIntoTriangles(const std::vector<gp_XYZ>& points);

}  // namespace morvex
