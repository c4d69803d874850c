// Triangles turned into plane faces.
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <Poly_Triangulation.hxx>
#include <Precision.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <TopoDS_Wire.hxx>
#include <XCAFDoc.hxx>
#include <array>
#include <cstring>
#include <map>
#include <unordered_map>

#include "engine/cad/prepare.h"

namespace morvex {
namespace {

struct PointHash {
    std::size_t operator()(const std::array<double, 3>& point) const {
        std::size_t hash = 0;
        for (const double x : point) hash = hash * 1'000'003 ^ std::hash<double>()(x);
        return hash;
    }
};

// Grows one shell from triangles. Equal points are one vertex, and neighbouring triangles share their edge.
class FacetShell {
  public:
    FacetShell() { builder_.MakeShell(shell_); }

    void AddFace(const TopoDS_Face& face) {
        TopLoc_Location location;
        const auto triangles = BRep_Tool::Triangulation(face, location);
        if (triangles.IsNull()) return;
        std::vector<int> nodes(static_cast<std::size_t>(triangles->NbNodes()) + 1);
        for (int node = 1; node <= triangles->NbNodes(); ++node) {
            nodes[static_cast<std::size_t>(node)] =
                Vertex(triangles->Node(node).Transformed(location.Transformation()));
        }
        for (int at = 1; at <= triangles->NbTriangles(); ++at) {
            std::array<int, 3> corner{};
            triangles->Triangle(at).Get(corner[0], corner[1], corner[2]);
            if (face.Orientation() == TopAbs_REVERSED) std::swap(corner[1], corner[2]);
            for (int& node : corner) node = nodes[static_cast<std::size_t>(node)];
            AddTriangle(corner);
        }
    }

    // The shell, as a solid when it closes and `solid` is wanted. Null when no triangle had an area.
    TopoDS_Shape Take(bool solid) {
        if (shell_.NbChildren() == 0) return {};
        bool closed = true;
        for (const auto& [ends, edge] : edges_) closed = closed && edge.forward == 1 && edge.backward == 1;
        shell_.Closed(closed);
        if (!closed || !solid) return shell_;
        if (volume_ < 0) shell_.Reverse();
        TopoDS_Solid body;
        builder_.MakeSolid(body);
        builder_.Add(body, shell_);
        return body;
    }

  private:
    struct Edge {
        TopoDS_Edge edge;
        int forward = 0, backward = 0;
    };

    int Vertex(const gp_Pnt& point) {
        const auto [place, isNew] = indices_.try_emplace({point.X() + 0.0, point.Y() + 0.0, point.Z() + 0.0},
                                                         static_cast<int>(points_.size()));
        if (isNew) {
            TopoDS_Vertex vertex;
            builder_.MakeVertex(vertex, point, Precision::Confusion());
            points_.push_back(point);
            vertices_.push_back(vertex);
        }
        return place->second;
    }

    TopoDS_Edge EdgeBetween(int from, int to) {
        const auto low = static_cast<std::size_t>(std::min(from, to)),
                   high = static_cast<std::size_t>(std::max(from, to));
        Edge& entry = edges_[low << 32 | high];
        if (entry.edge.IsNull()) {
            const gp_Pnt &start = points_[low], &end = points_[high];
            builder_.MakeEdge(entry.edge, new Geom_Line(start, gp_Dir(gp_Vec(start, end))),
                              Precision::Confusion());
            builder_.Add(entry.edge, vertices_[low].Oriented(TopAbs_FORWARD));
            builder_.Add(entry.edge, vertices_[high].Oriented(TopAbs_REVERSED));
            builder_.Range(entry.edge, 0, start.Distance(end));
        }
        ++(from < to ? entry.forward : entry.backward);
        return TopoDS::Edge(entry.edge.Oriented(from < to ? TopAbs_FORWARD : TopAbs_REVERSED));
    }

    void AddTriangle(const std::array<int, 3>& corner) {
        if (corner[0] == corner[1] || corner[1] == corner[2] || corner[2] == corner[0]) return;
        const auto point = [&](int at) {
            return points_[static_cast<std::size_t>(corner[static_cast<std::size_t>(at)])];
        };
        const gp_Vec first(point(0), point(1)), second(point(0), point(2));
        const gp_Vec normal = first.Crossed(second);
        const double longest = std::max({first.Magnitude(), second.Magnitude(), point(1).Distance(point(2))});
        const double shortest =
            std::min({first.Magnitude(), second.Magnitude(), point(1).Distance(point(2))});
        if (shortest <= gp::Resolution() || normal.Magnitude() <= 1e-12 * longest * longest) return;

        TopoDS_Wire wire;
        builder_.MakeWire(wire);
        for (std::size_t side = 0; side < 3; ++side)
            builder_.Add(wire, EdgeBetween(corner[side], corner[(side + 1) % 3]));
        wire.Closed(true);
        TopoDS_Face face;
        builder_.MakeFace(face, new Geom_Plane(gp_Ax3(point(0), gp_Dir(normal), gp_Dir(first))),
                          Precision::Confusion());
        builder_.Add(face, wire);
        builder_.Add(shell_, face);
        volume_ += gp_Vec(point(0).XYZ()).Dot(gp_Vec(point(1).XYZ()).Crossed(gp_Vec(point(2).XYZ())));
    }

    const BRep_Builder builder_{};
    TopoDS_Shell shell_;
    std::vector<gp_Pnt> points_;
    std::vector<TopoDS_Vertex> vertices_;
    std::unordered_map<std::array<double, 3>, int, PointHash> indices_;
    std::unordered_map<std::uint64_t, Edge> edges_;
    double volume_ = 0;  // six times it, signed
};

struct Painted {
    TopoDS_Shape shape;
    Quantity_ColorRGBA colour;
};

// The colour that a face, or the part under it, has on its own label.
bool OwnColour(const Document& document, const TDF_Label& part, const TopoDS_Shape& shape,
               Quantity_ColorRGBA& colour) {
    TDF_Label label = part;
    if (!shape.IsSame(XCAFDoc_ShapeTool::GetShape(part)) &&
        !document.Shapes()->FindSubShape(part, shape, label)) {
        return false;
    }
    return document.ColourOf(label, colour);
}

// Faces of one colour become one body; that keeps a closed mesh of several patches closed.
void Rebuild(const Document& document, const TDF_Label& part, bool solids) {
    const TopoDS_Shape old = XCAFDoc_ShapeTool::GetShape(part);
    struct Less {
        bool operator()(const Quantity_ColorRGBA& a, const Quantity_ColorRGBA& b) const {
            const auto key = [](const Quantity_ColorRGBA& c) {
                return std::array{c.GetRGB().Red(), c.GetRGB().Green(), c.GetRGB().Blue(),
                                  static_cast<double>(c.Alpha())};
            };
            return key(a) < key(b);
        }
    };
    std::map<Quantity_ColorRGBA, FacetShell, Less> painted;
    FacetShell plain;
    for (TopExp_Explorer face(old, TopAbs_FACE); face.More(); face.Next()) {
        Quantity_ColorRGBA colour;
        const bool own = OwnColour(document, part, face.Current(), colour);
        (own ? painted[colour] : plain).AddFace(TopoDS::Face(face.Current()));
    }

    std::vector<Painted> bodies;
    for (auto& [colour, shell] : painted) bodies.push_back({shell.Take(solids), colour});
    TopoDS_Shape rest = plain.Take(solids);
    TDF_LabelSequence faces;
    XCAFDoc_ShapeTool::GetSubShapes(part, faces);
    for (const TDF_Label& face : faces) face.ForgetAllAttributes();

    TopoDS_Compound all;
    const BRep_Builder builder;
    builder.MakeCompound(all);
    if (!rest.IsNull()) builder.Add(all, rest);
    for (const Painted& body : bodies) {
        if (!body.shape.IsNull()) builder.Add(all, body.shape);
    }
    const bool single = all.NbChildren() == 1;
    document.Shapes()->SetShape(part,
                                single ? (rest.IsNull() ? bodies.front().shape : rest) : TopoDS_Shape(all));
    for (const Painted& body : bodies) {
        if (body.shape.IsNull()) continue;
        const TDF_Label label = single ? part : document.Shapes()->AddSubShape(part, body.shape);
        document.Colours()->SetColor(label, body.colour, XCAFDoc_ColorSurf);
    }
}

}  // namespace

Outcome TrianglesToFaces(JobContext& context) {
    std::int64_t triangles = 0;
    for (const TDF_Label& part : context.document.Parts()) {
        for (TopExp_Explorer face(XCAFDoc_ShapeTool::GetShape(part), TopAbs_FACE); face.More(); face.Next()) {
            TopLoc_Location location;
            const auto mesh = BRep_Tool::Triangulation(TopoDS::Face(face.Current()), location);
            if (!mesh.IsNull()) triangles += mesh->NbTriangles();
        }
    }
    if (triangles > kMostFacets) {
        return Outcome::Fail(ZEL_FAILED, "The mesh has " + std::to_string(triangles) +
                                             " triangles; only up to " + std::to_string(kMostFacets) +
                                             " are turned into faces of a " + context.request.to->name +
                                             " file");
    }
    context.journal.Warn("The triangles of the mesh became plane faces");
    for (const TDF_Label& part : context.document.Parts()) {
        Rebuild(context.document, part, context.settings.constructSolids);
    }
    context.document.Shapes()->UpdateAssemblies();
    return Outcome::Ok();
}

}  // namespace morvex
