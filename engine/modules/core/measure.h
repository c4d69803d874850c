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

// By the triangles; none when that would take too long, or when a face has none and they must be `complete`.
std::optional<Measures> MeasureTriangles(const Document& document, bool complete);
// By the surfaces, which takes about as long as meshing them.
std::optional<Measures> MeasureSurfaces(const Document& document);
// One shape, by its surfaces where all faces have them, else by its triangles.
std::optional<Measures> MeasureShape(const TopoDS_Shape& shape);

Measures MeasuresOf(const TriangleMoments& moments);

// The numbers of faces, solids and triangles with each part counted once, as most formats store them.
struct PartCounts {
    std::int64_t solids = 0, faces = 0, triangles = 0;
};
PartCounts CountParts(const Document& document);

// Triangles with two corners at one place, each part counted once.
std::int64_t CountCollapsed(const Document& document);

// Of the corners of triangles, each part where it lies by itself.
Extent ExtentOfTriangles(const Document& document);

// Of the corners of faces. Formats differ in where they have those of a shape that is placed within others.
struct CornerExtents {
    std::int64_t count = 0;  // of corners, each part once
    Extent bare, inParts, placed;
};
CornerExtents SurveyCorners(const Document& document);

}  // namespace morvex
