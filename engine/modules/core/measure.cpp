#include "engine/modules/core/measure.h"

#include <BRepBndLib.hxx>
#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GProp_GProps.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Vertex.hxx>
#include <algorithm>
#include <unordered_set>

#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

constexpr std::int64_t kMostTriangles = 20'000'000;

Point PointOf(const gp_XYZ& point) {
    return {point.X(), point.Y(), point.Z()};
}

}  // namespace

Measures MeasuresOf(const TriangleMoments& moments) {
    Measures measures;
    measures.box = moments.Box();
    measures.area = moments.Area();
    if (moments.IsClosed()) measures.volume = moments.Volume();
    measures.centre = moments.Centre();
    return measures;
}

namespace {

std::optional<Measures> TrianglesOf(const TopoDS_Shape& shape, bool complete) {
    TriangleMoments moments;
    for (const TopoDS_Face& face : FacesOf(shape)) {
        const FaceTriangles triangles(face);
        if (triangles.IsNull() && complete) return std::nullopt;
        if (triangles.IsNull()) continue;
        std::vector<Point> nodes(static_cast<std::size_t>(triangles.NodeCount()) + 1);
        for (int at = 1; at <= triangles.NodeCount(); ++at)
            nodes[static_cast<std::size_t>(at)] = PointOf(triangles.Node(at).XYZ());
        for (int at = 1; at <= triangles.Count(); ++at) {
            const auto [a, b, c] = triangles.Corners(at);
            moments.Add(nodes[static_cast<std::size_t>(a)], nodes[static_cast<std::size_t>(b)],
                        nodes[static_cast<std::size_t>(c)]);
        }
    }
    return moments.Count() == 0 ? std::nullopt : std::optional(MeasuresOf(moments));
}

std::optional<Measures> SurfacesOf(const TopoDS_Shape& whole) {
    Bnd_Box box;
    BRepBndLib::AddOptimal(whole, box, Standard_False, Standard_False);
    if (box.IsVoid()) return std::nullopt;
    Measures measures;
    measures.box.Add(PointOf(box.CornerMin().XYZ()));
    measures.box.Add(PointOf(box.CornerMax().XYZ()));
    GProp_GProps surface, body;
    BRepGProp::SurfaceProperties(whole, surface);
    measures.area = surface.Mass();
    measures.centre = PointOf(surface.CentreOfMass().XYZ());
    if (!TopExp_Explorer(whole, TopAbs_SOLID).More() ||
        TopExp_Explorer(whole, TopAbs_FACE, TopAbs_SOLID).More()) {
        return measures;
    }
    BRepGProp::VolumeProperties(whole, body);
    measures.volume = body.Mass();
    measures.centre = PointOf(body.CentreOfMass().XYZ());
    return measures;
}

}  // namespace

std::optional<Measures> MeasureTriangles(const Document& document, bool complete) {
    const ModelCounts counts = document.Count();
    if (counts.triangles == 0 || counts.triangles > kMostTriangles) return std::nullopt;
    return TrianglesOf(document.WholeShape(), complete);
}

std::optional<Measures> MeasureSurfaces(const Document& document) {
    const TopoDS_Shape whole = document.WholeShape();
    return whole.IsNull() ? std::nullopt : SurfacesOf(whole);
}

std::optional<Measures> MeasureShape(const TopoDS_Shape& shape) {
    return std::ranges::all_of(FacesOf(shape), HasSurface) ? SurfacesOf(shape) : TrianglesOf(shape, false);
}

namespace {

// Of the corners of the faces, in the places that the shape gives them, or in none.
void AddCorners(const TopoDS_Shape& shape, bool placed, Extent& extent) {
    for (TopExp_Explorer at(shape, TopAbs_VERTEX); at.More(); at.Next()) {
        const TopoDS_Vertex& vertex = TopoDS::Vertex(at.Current());
        extent.Add(PointOf(
            BRep_Tool::Pnt(placed ? vertex : TopoDS::Vertex(vertex.Located(TopLoc_Location()))).XYZ()));
    }
}

}  // namespace

PartCounts CountParts(const Document& document) {
    PartCounts counts;
    std::unordered_set<const TopoDS_TShape*> known;
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        for (TopExp_Explorer at(shape, TopAbs_SOLID); at.More(); at.Next())
            counts.solids += known.insert(at.Current().TShape().get()).second;
        for (const TopoDS_Face& face : FacesOf(shape)) {
            if (!known.insert(face.TShape().get()).second) continue;
            const FaceTriangles triangles(face);
            ++counts.faces;
            if (!triangles.IsNull()) counts.triangles += triangles.Count();
        }
    }
    return counts;
}

std::int64_t CountCollapsed(const Document& document) {
    std::int64_t count = 0;
    for (const TopoDS_Face& face : document.Faces()) {
        const FaceTriangles triangles(face);
        for (int at = 1; !triangles.IsNull() && at <= triangles.Count(); ++at) {
            const auto corners = triangles.Corners(at);
            const gp_Pnt a = triangles.Node(corners[0]), b = triangles.Node(corners[1]),
                         c = triangles.Node(corners[2]);
            count += a.IsEqual(b, 0) || b.IsEqual(c, 0) || c.IsEqual(a, 0);
        }
    }
    return count;
}

Extent ExtentOfTriangles(const Document& document) {
    Extent extent;
    for (const TopoDS_Face& face : document.Faces()) {
        const FaceTriangles triangles(face);
        for (int at = 1; !triangles.IsNull() && at <= triangles.NodeCount(); ++at)
            extent.Add(PointOf(triangles.Node(at).XYZ()));
    }
    return extent;
}

CornerExtents SurveyCorners(const Document& document) {
    CornerExtents extents;
    std::unordered_set<const TopoDS_TShape*> known;
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        AddCorners(shape, true, extents.inParts);
        AddCorners(shape, false, extents.bare);
        for (TopExp_Explorer at(shape, TopAbs_VERTEX); at.More(); at.Next())
            known.insert(at.Current().TShape().get());
    }
    AddCorners(document.WholeShape(), true, extents.placed);
    extents.count = std::ssize(known);
    return extents;
}

}  // namespace morvex
