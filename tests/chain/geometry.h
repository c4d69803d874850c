#pragma once

#include <TopoDS_Shape.hxx>
#include <filesystem>

namespace morvex::chain {

// What can be compared between two files of one part. Lengths in mm.
struct Measure {
    int faces = 0;
    int solids = 0;
    int triangles = 0;
    double volume = 0;
    double box[6] = {};  // least x, y, z, most x, y, z
};

TopoDS_Shape ReadShape(
    const std::filesystem::path& path);  // STEP or IGES by its suffix; null when unreadable

// The exact shape: volume of its solids, box.
Measure MeasureShape(const TopoDS_Shape& shape);

// The shape meshed by Open CASCADE with these tolerances (mm, radians).
Measure MeasureMesh(const TopoDS_Shape& shape, double linear, double angular);

Measure MeasureStl(const std::filesystem::path& path);

}  // namespace morvex::chain
