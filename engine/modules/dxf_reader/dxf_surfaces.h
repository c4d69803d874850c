// The entities that have a surface.
#pragma once

#include <vector>

#include "engine/modules/dxf_reader/dxf_drawing.h"
#include "engine/modules/dxf_reader/dxf_groups.h"

namespace morvex {

// Turns the axes of a plane entity, which stand in its groups 210 to 230, into those of the drawing.
gp_GTrsf EntityAxes(const DxfRecord& record);

// Each adds the triangles of an entity to a mesh, and throws ReadError where it contradicts itself.
void AddFace(const DxfRecord& record, DxfMesh& mesh);   // 3DFACE
void AddSolid(const DxfRecord& record, DxfMesh& mesh);  // SOLID, TRACE
void AddMesh(const DxfRecord& record, DxfMesh& mesh);   // MESH, without its subdivision
// POLYLINE with its vertices: a polygon mesh or a polyface mesh. False when it is a curve.
bool AddPolyline(const DxfRecord& record, const std::vector<DxfRecord>& vertices, DxfMesh& mesh);

}  // namespace morvex
