// The size of a model.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/modules/core/document.h"
#include "engine/modules/scan/triangle_moments.h"

namespace morvex {

// Of all parts in all their places, in millimetres.
struct Measures {
    Extent box;
    double area = 0;
    std::optional<double> volume;  // only when the surfaces are closed
    Point centre{};                // of gravity: of the body, or of the surface when it is not closed
};

// By the triangles, when all faces have some; none when that would take too long or a face has none.
std::optional<Measures> MeasureTriangles(const Document& document);
// By the surfaces, which takes about as long as meshing them.
std::optional<Measures> MeasureSurfaces(const Document& document);

Measures MeasuresOf(const TriangleMoments& moments);

// The numbers of faces, solids and triangles with each part counted once, as most formats store them.
struct PartCounts {
    std::int64_t solids = 0, faces = 0, triangles = 0;
    std::int64_t collapsed = 0;  // triangles with two corners at one place
};
PartCounts CountParts(const Document& document);

}  // namespace morvex
