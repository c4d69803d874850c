// A mesh of polygons, as simple formats hold it.
#pragma once

#include <array>
#include <cstdint>
#include <gp_GTrsf.hxx>
#include <gp_XYZ.hxx>
#include <optional>
#include <vector>

#include "engine/modules/core/scene.h"
#include "engine/modules/core/vertex_colours.h"

namespace morvex {

struct PolygonMesh {
    std::vector<gp_XYZ> points;
    std::vector<std::array<float, 3>> normals;  // one a point, or none at all
    std::vector<VertexColour> colours;          // one a point, or none at all
    std::vector<std::uint32_t> corners;         // three a triangle
    std::vector<VertexColour> triangleColours;  // one a triangle, or none at all; before those of the points

    // Adds the triangles of a polygon with those points. Throws ReadError when one of them is not there.
    // Answers false, and adds nothing, for fewer than three corners. Where only some polygons have a colour,
    // the others are white.
    bool AddPolygon(const std::vector<std::uint32_t>& polygon, std::optional<VertexColour> colour = {});

    // The triangles by their colours, with their coordinates mapped; those without a colour have `colour`.
    std::vector<SceneFace> Faces(const gp_GTrsf& toOurs,
                                 const std::optional<Quantity_ColorRGBA>& colour = {}) const;

  private:
    Handle(Poly_Triangulation) Triangles(const std::vector<std::uint32_t>& of) const;
};

}  // namespace morvex
