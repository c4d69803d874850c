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
    std::optional<std::int64_t> solids, faces, triangles, edges, colours;
    std::optional<TriangleMoments> geometry;
};

// `bytes` are those of the file, of a package those of its model.
WrittenFacts ScanWritten(FormatId format, std::string_view bytes);

}  // namespace morvex
