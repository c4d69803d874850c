// What a file holds that one of the writers here has made. Not for other files: it goes by how they lay out
// theirs.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "engine/common/formats.h"
#include "engine/modules/scan/triangle_moments.h"

namespace morvex {

// What the format cannot say, or only with great effort, is left open.
struct WrittenFacts {
    std::optional<std::int64_t> solids, faces, corners, triangles, edges, colours;
    // In millimetres, Z up. Either of all triangles in their places, or of the points (of B-rep files the
    // corners of faces) each part where it lies by itself.
    std::optional<TriangleMoments> geometry;
    std::optional<Extent> points;
    // Of a drawing: the box that its views show, and the lines in them.
    std::optional<Extent> box;
    std::optional<std::int64_t> lines;
};

// `bytes` are those of the file, of a package those of its model; `side` those of the file beside it.
WrittenFacts ScanWritten(FormatId format, std::string_view bytes, std::string_view side);

}  // namespace morvex
