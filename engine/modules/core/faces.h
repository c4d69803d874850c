// The faces of a shape and their triangles.
#pragma once

#include <Poly_Triangulation.hxx>
#include <TopoDS_Face.hxx>
#include <array>
#include <gp_Trsf.hxx>
#include <utility>
#include <vector>

namespace morvex {

// In the order of the shape; a face that is used twice comes twice. None of a null shape.
std::vector<TopoDS_Face> FacesOf(const TopoDS_Shape& shape);

bool HasSurface(const TopoDS_Face& face);
// Whether all faces of the shape have one; true of a shape without faces.
bool HasSurfaces(const TopoDS_Shape& shape);

// The triangles of a face as they lie in its part. Nodes and triangles count from 1.
class FaceTriangles {
  public:
    explicit FaceTriangles(const TopoDS_Face& face);

    bool IsNull() const { return mesh_.IsNull(); }  // the face has none; nothing below may be called then
    const Poly_Triangulation& Mesh() const { return *mesh_; }
    const gp_Trsf& Place() const { return place_; }  // of the mesh in the part
    int NodeCount() const { return mesh_->NbNodes(); }
    gp_Pnt Node(int number) const { return mesh_->Node(number).Transformed(place_); }
    int Count() const { return mesh_->NbTriangles(); }
    // The nodes of a triangle, counter-clockwise as seen from outside.
    std::array<int, 3> Corners(int number) const {
        std::array<int, 3> corners{};
        mesh_->Triangle(number).Get(corners[0], corners[1], corners[2]);
        if (turned_) std::swap(corners[1], corners[2]);
        return corners;
    }

  private:
    Handle(Poly_Triangulation) mesh_;
    gp_Trsf place_;
    bool turned_ = false;
};

// The nodes of a triangle in the order of the mesh.
std::array<int, 3> CornersOf(const Poly_Triangulation& mesh, int number);

}  // namespace morvex
