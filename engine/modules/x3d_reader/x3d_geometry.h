// The geometry nodes of VRML and X3D as meshes.
#pragma once

#include <optional>

#include "engine/modules/core/polygon_mesh.h"
#include "engine/modules/x3d_reader/x3d_node.h"

namespace morvex {

// In the units and axes of the file; empty for a node that is no geometry with faces. Throws ReadError when
// the node refers to what is not there.
std::optional<PolygonMesh> MeshOfSet(const X3dNode& geometry);   // of points that the node lists
std::optional<PolygonMesh> MeshOfBody(const X3dNode& geometry);  // that the node describes by measures

}  // namespace morvex
