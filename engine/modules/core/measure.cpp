#include "engine/modules/core/measure.h"

#include <BRepBndLib.hxx>
#include <BRepGProp.hxx>
#include <Bnd_Box.hxx>
#include <GProp_GProps.hxx>
#include <TopExp_Explorer.hxx>
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

std::optional<Measures> MeasureTriangles(const Document& document) {
    const ModelCounts counts = document.Count();
    if (counts.triangles == 0 || counts.triangles > kMostTriangles) return std::nullopt;
    TriangleMoments moments;
    for (const TopoDS_Face& face : FacesOf(document.WholeShape())) {
        const FaceTriangles triangles(face);
        if (triangles.IsNull()) return std::nullopt;
        std::vector<Point> nodes(static_cast<std::size_t>(triangles.NodeCount()) + 1);
        for (int at = 1; at <= triangles.NodeCount(); ++at)
            nodes[static_cast<std::size_t>(at)] = PointOf(triangles.Node(at).XYZ());
        for (int at = 1; at <= triangles.Count(); ++at) {
            const auto [a, b, c] = triangles.Corners(at);
            moments.Add(nodes[static_cast<std::size_t>(a)], nodes[static_cast<std::size_t>(b)],
                        nodes[static_cast<std::size_t>(c)]);
        }
    }
    return MeasuresOf(moments);
}

std::optional<Measures> MeasureSurfaces(const Document& document) {
    const TopoDS_Shape whole = document.WholeShape();
    if (whole.IsNull()) return std::nullopt;
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

PartCounts CountParts(const Document& document) {
    PartCounts counts;
    std::unordered_set<const TopoDS_TShape*> solids, faces;
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        for (TopExp_Explorer at(shape, TopAbs_SOLID); at.More(); at.Next())
            solids.insert(at.Current().TShape().get());
        for (const TopoDS_Face& face : FacesOf(shape)) {
            if (!faces.insert(face.TShape().get()).second) continue;
            const FaceTriangles triangles(face);
            if (triangles.IsNull()) continue;
            counts.triangles += triangles.Count();
            for (int at = 1; at <= triangles.Count(); ++at) {
                const auto corners = triangles.Corners(at);
                const gp_Pnt a = triangles.Node(corners[0]), b = triangles.Node(corners[1]),
                             c = triangles.Node(corners[2]);
                counts.collapsed += a.IsEqual(b, 0) || b.IsEqual(c, 0) || c.IsEqual(a, 0);
            }
        }
    }
    counts.solids = static_cast<std::int64_t>(solids.size());
    counts.faces = static_cast<std::int64_t>(faces.size());
    return counts;
}

}  // namespace morvex
