#include "engine/modules/core/faces.h"

#include <BRep_Tool.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <algorithm>

namespace morvex {

std::vector<TopoDS_Face> FacesOf(const TopoDS_Shape& shape) {
    std::vector<TopoDS_Face> faces;
    for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
        faces.push_back(TopoDS::Face(face.Current()));
    }
    return faces;
}

bool HasSurface(const TopoDS_Face& face) {
    TopLoc_Location location;
    return !BRep_Tool::Surface(face, location).IsNull();
}

bool HasSurfaces(const TopoDS_Shape& shape) {
    return std::ranges::all_of(FacesOf(shape), HasSurface);
}

FaceTriangles::FaceTriangles(const TopoDS_Face& face) {
    TopLoc_Location location;
    mesh_ = BRep_Tool::Triangulation(face, location);
    place_ = location.Transformation();
    turned_ = (face.Orientation() == TopAbs_REVERSED) != place_.IsNegative();
}

std::array<int, 3> CornersOf(const Poly_Triangulation& mesh, int number) {
    std::array<int, 3> corners{};
    mesh.Triangle(number).Get(corners[0], corners[1], corners[2]);
    return corners;
}

}  // namespace morvex
