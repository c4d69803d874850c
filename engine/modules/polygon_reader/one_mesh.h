// A file that is one mesh.
#pragma once

#include "engine/modules/core/context.h"
#include "engine/modules/core/polygon_mesh.h"

namespace morvex {

// Adds the mesh, in millimetres and Z up, to the document as a part with the file's name, and books its
// polygons; those with fewer than three corners are no loss but a warning.
void AddOneMesh(JobContext& context, const PolygonMesh& mesh, std::int64_t polygons, std::int64_t flat);

}  // namespace morvex
