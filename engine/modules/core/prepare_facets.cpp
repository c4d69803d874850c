// Triangles turned into plane faces.
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <Poly_Triangulation.hxx>
#include <Precision.hxx>
#include <TopExp_Explorer.hxx>
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
#include <unordered_map>

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
        TopLoc_Location location;
        const auto triangles = BRep_Tool::Triangulation(face, location);
        if (triangles.IsNull()) return;
        std::vector<std::size_t> nodes(static_cast<std::size_t>(triangles->NbNodes()) + 1);
        for (int node = 1; node <= triangles->NbNodes(); ++node) {
            nodes[static_cast<std::size_t>(node)] =
                Vertex(triangles->Node(node).Transformed(location.Transformation()));
        }
        for (int at = 1; at <= triangles->NbTriangles(); ++at) {
            int corner[3];
            triangles->Triangle(at).Get(corner[0], corner[1], corner[2]);
            if (face.Orientation() == TopAbs_REVERSED) std::swap(corner[1], corner[2]);
            AddTriangle(
                {nodes[static_cast<std::size_t>(corner[0])], nodes[static_cast<std::size_t>(corner[1])],
                 nodes[static_cast<std::size_t>(corner[2])]},
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
        volumes_.push_back(gp_Vec(a.XYZ()).Dot(gp_Vec(b.XYZ()).Crossed(gp_Vec(c.XYZ()))));
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
            body.volume += volumes_[face];
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

    // The smallest solid whose box holds that of the hollow.
    static Body* Around(std::vector<Body>& bodies, const Body& hollow) {
        Body* smallest = nullptr;
        for (Body& body : bodies) {
            if (body.solid.IsNull() || body.volume < -hollow.volume) continue;
            const bool holds =
                !body.box.IsOut(hollow.box.CornerMin()) && !body.box.IsOut(hollow.box.CornerMax());
            if (holds && (smallest == nullptr || body.volume < smallest->volume)) smallest = &body;
        }
        return smallest;
    }

    const BRep_Builder builder_{};
    std::vector<gp_Pnt> points_;
    std::vector<TopoDS_Vertex> vertices_;
    std::vector<std::pair<TopoDS_Face, int>> faces_;
    std::vector<double> volumes_;
    std::vector<std::size_t> parents_;
    std::unordered_map<std::array<double, 3>, std::size_t, PointHash> indices_;
    std::unordered_map<std::uint64_t, Edge> edges_;
};

// The colour that a face of the part has on its own label.
bool FaceColour(const Document& document, const TDF_Label& part, const TopoDS_Shape& face,
                Quantity_ColorRGBA& colour) {
    TDF_Label label;
    return document.Shapes()->FindSubShape(part, face, label) && document.ColourOf(label, colour);
}

// Gives the part its new shape. The commonest colour of its faces becomes its own, the other faces keep
// theirs.
void Rebuild(const Document& document, const TDF_Label& part, bool solids) {
    std::vector<Quantity_ColorRGBA> colours;
    std::vector<std::size_t> uses;
    FacetBuilder facets;
    constexpr int kNoColour = -1;
    for (TopExp_Explorer face(XCAFDoc_ShapeTool::GetShape(part), TopAbs_FACE); face.More(); face.Next()) {
        Quantity_ColorRGBA colour;
        int group = kNoColour;
        if (FaceColour(document, part, face.Current(), colour)) {
            const auto found = std::ranges::find(colours, colour);
            group = static_cast<int>(found - colours.begin());
            if (found == colours.end()) colours.push_back(colour);
        }
        facets.AddFace(TopoDS::Face(face.Current()), group);
    }
    TDF_LabelSequence old;
    XCAFDoc_ShapeTool::GetSubShapes(part, old);
    for (const TDF_Label& label : old) label.ForgetAllAttributes();
    const TopoDS_Shape shape = facets.Take(solids);
    if (shape.IsNull()) return;
    document.Shapes()->SetShape(part, shape);

    uses.resize(colours.size());
    bool allColoured = true;
    for (const auto& [face, group] : facets.Faces()) {
        if (group == kNoColour) {
            allColoured = false;
        } else {
            ++uses[static_cast<std::size_t>(group)];
        }
    }
    const auto commonest = std::ranges::max_element(uses) - uses.begin();
    const bool partTakesColour = allColoured && !colours.empty();
    if (partTakesColour) {
        document.Colours()->SetColor(part, colours[static_cast<std::size_t>(commonest)], XCAFDoc_ColorSurf);
    }
    for (const auto& [face, group] : facets.Faces()) {
        if (group == kNoColour || (partTakesColour && group == commonest)) continue;
        const TDF_Label label = document.Shapes()->AddSubShape(part, face);
        if (label.IsNull()) continue;
        document.Colours()->SetColor(label, colours[static_cast<std::size_t>(group)], XCAFDoc_ColorSurf);
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
