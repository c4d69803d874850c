// Triangles turned into plane faces.
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <Precision.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopTools_ListOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <TopoDS_Wire.hxx>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <unordered_map>

#include "engine/modules/core/faces.h"
#include "engine/modules/core/prepare.h"

namespace morvex {
namespace {

struct PointHash {
    std::size_t operator()(const std::array<double, 3>& point) const {
        std::size_t hash = 0;
        for (const double x : point) hash = hash * 1'000'003 ^ std::hash<double>()(x);
        return hash;
    }
};

// Plane faces grown from triangles. Equal points are one vertex, and neighbouring triangles share their edge.
class FacetBuilder {
  public:
    // Adds the triangles of a face. Those of one `group` can be found again.
    void AddFace(const TopoDS_Face& face, int group) {
        const FaceTriangles triangles(face);
        if (triangles.IsNull()) return;
        std::vector<std::size_t> nodes{0};  // they count from 1
        for (int node = 1; node <= triangles.NodeCount(); ++node)
            nodes.push_back(Vertex(triangles.Node(node)));
        for (int at = 1; at <= triangles.Count(); ++at) {
            const auto [a, b, c] = triangles.Corners(at);
            AddTriangle({nodes[static_cast<std::size_t>(a)], nodes[static_cast<std::size_t>(b)],
                         nodes[static_cast<std::size_t>(c)]},
                        group);
        }
    }

    // The faces so far, each with its group.
    const std::vector<std::pair<TopoDS_Face, int>>& Faces() const { return faces_; }

    // The faces as bodies: what hangs together is one shell, and a closed shell a solid if `solids` is set.
    // Shells that are inside out bound the hollow of a solid around them. Null when no triangle had an area.
    TopoDS_Shape Take(bool solids) {
        std::vector<Body> bodies = Shells();
        TopoDS_Compound all;
        builder_.MakeCompound(all);
        for (Body& body : bodies) {
            if (!solids || !body.closed || body.volume < 0) continue;
            builder_.MakeSolid(body.solid);
            builder_.Add(body.solid, body.shell);
        }
        for (Body& body : bodies) {
            if (!solids || !body.closed || body.volume >= 0) continue;
            if (Body* const around = Around(bodies, body)) {
                builder_.Add(around->solid, body.shell);
                body.isHollow = true;
            } else {
                builder_.MakeSolid(body.solid);
                builder_.Add(body.solid, body.shell.Reversed());
            }
        }
        for (const Body& body : bodies) {
            if (!body.isHollow)
                builder_.Add(all, body.solid.IsNull() ? TopoDS_Shape(body.shell) : TopoDS_Shape(body.solid));
        }
        if (all.NbChildren() == 0) return {};
        return all.NbChildren() == 1 ? TopoDS_Iterator(all).Value() : TopoDS_Shape(all);
    }

  private:
    struct Edge {
        TopoDS_Edge edge;
        int forward = 0, backward = 0;
        std::size_t face = 0;  // one of those at it
    };
    struct Body {
        TopoDS_Shell shell;
        TopoDS_Solid solid;
        bool closed = true, isHollow = false;
        double volume = 0;  // six times it, signed
        Bnd_Box box;
        std::vector<std::size_t> faces;
    };

    std::size_t Vertex(const gp_Pnt& point) {
        // Adding zero makes -0 and 0 the same.
        const auto [place, isNew] =
            indices_.try_emplace({point.X() + 0.0, point.Y() + 0.0, point.Z() + 0.0}, points_.size());
        if (isNew) {
            TopoDS_Vertex vertex;
            builder_.MakeVertex(vertex, point, Precision::Confusion());
            points_.push_back(point);
            vertices_.push_back(vertex);
        }
        return place->second;
    }

    TopoDS_Edge EdgeBetween(std::size_t from, std::size_t to) {
        const std::size_t low = std::min(from, to), high = std::max(from, to);
        Edge& entry = edges_[low << 32 | high];
        if (entry.edge.IsNull()) {
            const gp_Pnt &start = points_[low], &end = points_[high];
            builder_.MakeEdge(entry.edge, new Geom_Line(start, gp_Dir(gp_Vec(start, end))),
                              Precision::Confusion());
            builder_.Add(entry.edge, vertices_[low].Oriented(TopAbs_FORWARD));
            builder_.Add(entry.edge, vertices_[high].Oriented(TopAbs_REVERSED));
            builder_.Range(entry.edge, 0, start.Distance(end));
            entry.face = faces_.size();
        }
        Join(entry.face, faces_.size());
        ++(from < to ? entry.forward : entry.backward);
        return TopoDS::Edge(entry.edge.Oriented(from < to ? TopAbs_FORWARD : TopAbs_REVERSED));
    }

    void AddTriangle(const std::array<std::size_t, 3>& corner, int group) {
        const gp_Pnt &a = points_[corner[0]], &b = points_[corner[1]], &c = points_[corner[2]];
        const gp_Vec first(a, b), second(a, c);
        const gp_Vec normal = first.Crossed(second);
        const auto [shortest, longest] = std::minmax({first.Magnitude(), second.Magnitude(), b.Distance(c)});
        constexpr double kFlat = 1e-12;
        if (shortest <= gp::Resolution() || normal.Magnitude() <= kFlat * longest * longest) return;

        parents_.push_back(faces_.size());
        TopoDS_Wire wire;
        builder_.MakeWire(wire);
        for (std::size_t at = 0; at < 3; ++at)
            builder_.Add(wire, EdgeBetween(corner[at], corner[(at + 1) % 3]));
        wire.Closed(true);
        TopoDS_Face face;
        const gp_Ax3 axes(a, gp_Dir(normal), gp_Dir(first));
        builder_.MakeFace(face, new Geom_Plane(axes), Precision::Confusion());
        builder_.Add(face, wire);
        faces_.emplace_back(face, group);
        corners_.push_back(corner);
    }

    // Which faces hang together: a forest in which each face points towards the first of its body.
    std::size_t First(std::size_t face) {
        while (parents_[face] != face) face = parents_[face] = parents_[parents_[face]];
        return face;
    }
    void Join(std::size_t one, std::size_t other) { parents_[First(one)] = First(other); }

    std::vector<Body> Shells() {
        std::vector<Body> bodies;
        std::unordered_map<std::size_t, std::size_t> numbers;
        for (std::size_t face = 0; face < faces_.size(); ++face) {
            const auto [place, isNew] = numbers.try_emplace(First(face), bodies.size());
            if (isNew) builder_.MakeShell(bodies.emplace_back().shell);
            Body& body = bodies[place->second];
            builder_.Add(body.shell, faces_[face].first);
            body.faces.push_back(face);
            const auto [a, b, c] = CornersFrom(gp_Pnt(), face);
            body.volume += a.Dot(b.Crossed(c));
        }
        for (const auto& [ends, edge] : edges_) {
            Body& body = bodies[numbers[First(edge.face)]];
            body.closed = body.closed && edge.forward == 1 && edge.backward == 1;
            body.box.Add(points_[ends >> 32]);
            body.box.Add(points_[ends & 0xffffffff]);
        }
        for (Body& body : bodies) body.shell.Closed(body.closed);
        return bodies;
    }

    std::array<gp_Vec, 3> CornersFrom(const gp_Pnt& point, std::size_t face) const {
        const auto& [a, b, c] = corners_[face];
        return {gp_Vec(point, points_[a]), gp_Vec(point, points_[b]), gp_Vec(point, points_[c])};
    }

    // How much of what can be seen from a point a closed body hides: all (1) within it and nothing outside.
    // The solid angles of its triangles sum up to that.
    double ShareOfSight(const gp_Pnt& point, const Body& body) const {
        constexpr double kFlat = 1e-9;
        double halfAngle = 0;
        for (const std::size_t face : body.faces) {
            const auto [a, b, c] = CornersFrom(point, face);
            const double la = a.Magnitude(), lb = b.Magnitude(), lc = c.Magnitude();
            const double space = a.Dot(b.Crossed(c));
            if (std::abs(space) <= kFlat * la * lb * lc) continue;  // seen edge on, or the point lies on it
            halfAngle += std::atan2(space, la * lb * lc + a.Dot(b) * lc + b.Dot(c) * la + c.Dot(a) * lb);
        }
        return halfAngle / (2 * std::numbers::pi);
    }

    // By the first face of the hollow that does not touch the body.
    bool IsWithin(const Body& hollow, const Body& body) const {
        constexpr double kNearly = 0.9;
        for (const std::size_t face : hollow.faces) {
            const auto [a, b, c] = CornersFrom(gp_Pnt(), face);
            const double share = ShareOfSight((a + b + c).XYZ() / 3, body);
            if (share > kNearly || share < 1 - kNearly) return share > kNearly;
        }
        return false;
    }

    // The smallest solid that the hollow lies in.
    Body* Around(std::vector<Body>& bodies, const Body& hollow) const {
        Body* smallest = nullptr;
        for (Body& body : bodies) {
            if (body.solid.IsNull() || body.volume < -hollow.volume) continue;
            if (smallest != nullptr && body.volume >= smallest->volume) continue;
            if (body.box.IsOut(hollow.box.CornerMin()) || body.box.IsOut(hollow.box.CornerMax())) continue;
            if (IsWithin(hollow, body)) smallest = &body;
        }
        return smallest;
    }

    const BRep_Builder builder_{};
    std::vector<gp_Pnt> points_;
    std::vector<TopoDS_Vertex> vertices_;
    std::vector<std::pair<TopoDS_Face, int>> faces_;
    std::vector<std::array<std::size_t, 3>> corners_;  // of the faces
    std::vector<std::size_t> parents_;
    std::unordered_map<std::array<double, 3>, std::size_t, PointHash> indices_;
    std::unordered_map<std::uint64_t, Edge> edges_;
};

constexpr int kNoColour = -1;

// The shape that the faces of a part become, and their colours; a group of faces is an index into these.
struct ColouredFacets {
    FacetBuilder facets;
    std::vector<Quantity_ColorRGBA> colours;
    TopTools_ListOfShape exact;  // what stays as it is
};

// Sorts what the shape consists of: faces with nothing but triangles go to the facets.
void CollectFacets(const Document& document, const TDF_Label& part, const TopoDS_Shape& shape,
                   ColouredFacets& result) {
    if (HasSurfaces(shape)) {
        result.exact.Append(shape);
        return;
    }
    if (shape.ShapeType() != TopAbs_FACE) {
        for (TopoDS_Iterator child(shape); child.More(); child.Next())
            CollectFacets(document, part, child.Value(), result);
        return;
    }
    Quantity_ColorRGBA colour;
    TDF_Label label;
    int group = kNoColour;
    if (document.Shapes()->FindSubShape(part, shape, label) && document.ColourOf(label, colour)) {
        const auto found = std::ranges::find(result.colours, colour);
        group = static_cast<int>(found - result.colours.begin());
        if (found == result.colours.end()) result.colours.push_back(colour);
    }
    result.facets.AddFace(TopoDS::Face(shape), group);
}

// The commonest colour when every face is a facet with one: that of the part.
int PartColour(const ColouredFacets& coloured) {
    if (!coloured.exact.IsEmpty()) return kNoColour;
    std::vector<std::size_t> uses(coloured.colours.size());
    for (const auto& [face, group] : coloured.facets.Faces()) {
        if (group == kNoColour) return kNoColour;
        ++uses[static_cast<std::size_t>(group)];
    }
    return uses.empty() ? kNoColour : static_cast<int>(std::ranges::max_element(uses) - uses.begin());
}

TopoDS_Shape Together(const TopoDS_Shape& facets, const TopTools_ListOfShape& exact) {
    if (exact.IsEmpty()) return facets;
    TopoDS_Compound all;
    const BRep_Builder builder;
    builder.MakeCompound(all);
    for (const TopoDS_Shape& shape : exact) builder.Add(all, shape);
    if (!facets.IsNull()) builder.Add(all, facets);
    return all;
}

// Gives the part its new shape, with the colours that its faces had. False when nothing is left, since no
// triangle has an area.
bool Rebuild(Document& document, const TDF_Label& part, bool solids) {
    ColouredFacets coloured;
    CollectFacets(document, part, XCAFDoc_ShapeTool::GetShape(part), coloured);
    const TopoDS_Shape shape = Together(coloured.facets.Take(solids), coloured.exact);
    TopTools_IndexedMapOfShape kept;
    if (!shape.IsNull()) TopExp::MapShapes(shape, kept);
    TDF_LabelSequence old;
    XCAFDoc_ShapeTool::GetSubShapes(part, old);
    for (const TDF_Label& label : old) {
        if (!kept.Contains(XCAFDoc_ShapeTool::GetShape(label))) label.ForgetAllAttributes();
    }
    if (shape.IsNull()) return false;
    document.Shapes()->SetShape(part, shape);

    const auto paint = [&](const TDF_Label& label, int group) {
        if (label.IsNull() || group == kNoColour) return;
        document.SetColour(label, coloured.colours[static_cast<std::size_t>(group)]);
    };
    const int partColour = PartColour(coloured);
    paint(part, partColour);
    for (const auto& [face, group] : coloured.facets.Faces()) {
        if (group != partColour) paint(document.Shapes()->AddSubShape(part, face), group);
    }
    return true;
}

}  // namespace

Outcome TrianglesToFaces(JobContext& context) {
    std::int64_t count = 0;
    for (const TopoDS_Face& face : context.document.Faces()) {
        if (HasSurface(face)) continue;
        const FaceTriangles triangles(face);
        if (!triangles.IsNull()) count += triangles.Count();
    }
    if (count > kMostFacets) {
        return Outcome::Fail(ZEL_FAILED, "The mesh has " + std::to_string(count) + " triangles; only up to " +
                                             std::to_string(kMostFacets) + " are turned into faces of a " +
                                             context.request.to->name + " file");
    }
    context.journal.Warn("The triangles of the mesh were converted to plane faces");
    std::int64_t flat = 0;
    for (const TDF_Label& part : context.document.Parts()) {
        if (HasSurfaces(XCAFDoc_ShapeTool::GetShape(part))) continue;
        if (Rebuild(context.document, part, context.settings.constructSolids)) continue;
        Remove(context.document, part);
        ++flat;
    }
    if (flat > 0) {
        context.journal.Warn(std::to_string(flat) + " parts have no triangle with an area and were left out");
        RemoveEmptyAssemblies(context.document);
    }
    context.document.Shapes()->UpdateAssemblies();
    return context.document.Roots().IsEmpty()
               ? Outcome::Fail(ZEL_EMPTY, "No triangle of the mesh has an area")
               : Outcome::Ok();
}

}  // namespace morvex
