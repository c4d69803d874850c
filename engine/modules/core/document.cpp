#include "engine/modules/core/document.h"

#include <BRep_Builder.hxx>
#include <TDF_TagSource.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Application.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <XCAFDoc_Color.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

// Sums that stop at a number far above what any limit allows: nested references multiply beyond all bounds.
constexpr std::int64_t kCountless = std::int64_t{1} << 40;
std::int64_t Plus(std::int64_t a, std::int64_t b) {
    return std::min(a + b, kCountless);
}
std::int64_t Times(std::int64_t a, std::int64_t b) {
    return b != 0 && a > kCountless / b ? kCountless : a * b;
}

struct ShapeCounts {
    std::int64_t solids = 0, faces = 0, triangles = 0, edges = 0;

    void Add(const ShapeCounts& other) {
        solids = Plus(solids, other.solids);
        faces = Plus(faces, other.faces);
        triangles = Plus(triangles, other.triangles);
        edges = Plus(edges, other.edges);
    }
};

// Counts each shape once and remembers it, however often it is used.
class ShapeCounter {
  public:
    const ShapeCounts& Count(const TopoDS_Shape& shape) {
        const auto known = known_.find(shape.TShape().get());
        if (known != known_.end()) return known->second;
        ShapeCounts counts;
        switch (shape.ShapeType()) {
            case TopAbs_FACE: {
                const FaceTriangles triangles(TopoDS::Face(shape));
                counts.faces = 1;
                if (!triangles.IsNull()) counts.triangles = triangles.Count();
                break;
            }
            case TopAbs_EDGE:
                counts.edges = 1;
                break;
            case TopAbs_VERTEX:
                break;
            default:
                counts.solids = shape.ShapeType() == TopAbs_SOLID;
                for (TopoDS_Iterator child(shape); child.More(); child.Next())
                    counts.Add(Count(child.Value()));
        }
        return known_[shape.TShape().get()] = counts;
    }

  private:
    std::unordered_map<const TopoDS_TShape*, ShapeCounts> known_;
};

// How many instances of a part or an assembly there are.
class InstanceCounter {
  public:
    std::int64_t Count(const TDF_Label& shape) {
        TCollection_AsciiString entry;
        TDF_Tool::Entry(shape, entry);
        const auto [place, isNew] = known_.try_emplace(entry.ToCString(), 0);
        if (!isNew) return place->second;
        if (XCAFDoc_ShapeTool::IsFree(shape)) return place->second = 1;
        TDF_LabelSequence users;
        XCAFDoc_ShapeTool::GetUsers(shape, users, Standard_False);
        std::int64_t number = 0;
        for (const TDF_Label& user : users) {
            number = Plus(number, Count(XCAFDoc_ShapeTool::IsComponent(user) ? user.Father() : user));
        }
        return known_[entry.ToCString()] = number;
    }

  private:
    std::unordered_map<std::string, std::int64_t> known_;
};

// "12", "NAUO12": what systems write that give their instances no names.
bool IsRunningNumber(const TCollection_ExtendedString& name) {
    std::string text = TCollection_AsciiString(name).ToCString();
    if (text.starts_with("NAUO")) text.erase(0, 4);
    return text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

Document::Document() {
    // Not the application that the library has for such documents: that one brings all of its drawing along.
    Handle(TDocStd_Application)(new TDocStd_Application)->NewDocument("BinXCAF", document_);
    XCAFDoc_DocumentTool::Set(document_->Main());
    shapes_ = XCAFDoc_DocumentTool::ShapeTool(document_->Main());
    colours_ = XCAFDoc_DocumentTool::ColorTool(document_->Main());
}

TDF_Label Document::AddPart(const TopoDS_Shape& shape, const std::string& name) {
    const TCollection_ExtendedString title(name.c_str(), Standard_True);
    const TopLoc_Location& location = shape.Location();
    const TDF_Label part = shapes_->AddShape(shape.Located(TopLoc_Location()), Standard_False);
    TDataStd_Name::Set(part, title);
    if (location.IsIdentity()) return part;
    const TDF_Label assembly = shapes_->NewShape();
    TDataStd_Name::Set(assembly, title);
    TDataStd_Name::Set(shapes_->AddComponent(assembly, part, location), title);
    return part;
}

void Document::NameInstances() {
    TDF_LabelSequence shapes;
    shapes_->GetShapes(shapes);
    for (const TDF_Label& shape : shapes) {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(shape, components);
        for (const TDF_Label& component : components) {
            TDF_Label part;
            Handle(TDataStd_Name) own, partName;
            if (!XCAFDoc_ShapeTool::GetReferredShape(component, part) ||
                !part.FindAttribute(TDataStd_Name::GetID(), partName)) {
                continue;
            }
            if (!component.FindAttribute(TDataStd_Name::GetID(), own) || IsRunningNumber(own->Get())) {
                TDataStd_Name::Set(component, partName->Get());
            }
        }
    }
}

void Document::SetColour(const TDF_Label& label, const Quantity_ColorRGBA& colour) {
    const auto key = [](const Quantity_ColorRGBA& of) {
        const NCollection_Vec4<float>& values = of;
        return std::array{values.r(), values.g(), values.b(), values.a()};
    };
    if (colourLabels_.empty()) {
        TDF_LabelSequence known;
        colours_->GetColors(known);
        for (const TDF_Label& at : known) {
            Quantity_ColorRGBA one;
            if (colours_->GetColor(at, one)) colourLabels_.try_emplace(key(one), at);
        }
    }
    const auto [place, isNew] = colourLabels_.try_emplace(key(colour));
    if (isNew) {
        place->second = TDF_TagSource::NewChild(colours_->Label());
        XCAFDoc_Color::Set(place->second, colour);
    }
    colours_->SetColor(label, place->second, XCAFDoc_ColorSurf);
}

bool Document::ColourOf(const TDF_Label& label, Quantity_ColorRGBA& colour) const {
    return colours_->GetColor(label, XCAFDoc_ColorSurf, colour) ||
           colours_->GetColor(label, XCAFDoc_ColorGen, colour);
}

bool Document::Hides(const XCAFPrs_DocumentExplorer& node) const {
    for (int depth = 0; depth <= node.CurrentDepth(); ++depth) {
        const XCAFPrs_DocumentNode& above = node.Current(depth);
        if (!colours_->IsVisible(above.Label) || !colours_->IsVisible(above.RefLabel)) return true;
    }
    return false;
}

TDF_LabelSequence Document::Roots() const {
    TDF_LabelSequence roots;
    shapes_->GetFreeShapes(roots);
    return roots;
}

std::vector<TDF_Label> Document::Parts() const {
    TDF_LabelSequence shapes;
    shapes_->GetShapes(shapes);
    std::vector<TDF_Label> parts;
    for (const TDF_Label& label : shapes) {
        if (XCAFDoc_ShapeTool::IsSimpleShape(label)) parts.push_back(label);
    }
    return parts;
}

TopoDS_Shape Document::WholeShape() const {
    const TDF_LabelSequence roots = Roots();
    if (roots.IsEmpty()) return {};
    if (roots.Length() == 1) return XCAFDoc_ShapeTool::GetShape(roots.First());
    TopoDS_Compound whole;
    const BRep_Builder builder;
    builder.MakeCompound(whole);
    for (const TDF_Label& root : roots) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(root);
        if (!shape.IsNull()) builder.Add(whole, shape);
    }
    return whole;
}

ModelCounts Document::Count() const {
    ModelCounts counts;
    TDF_LabelSequence colours;
    colours_->GetColors(colours);
    counts.colours = colours.Length();
    InstanceCounter instanceCounter;
    ShapeCounter shapes;
    for (const TDF_Label& part : Parts()) {
        const std::int64_t instances = instanceCounter.Count(part);
        const ShapeCounts& shape = shapes.Count(XCAFDoc_ShapeTool::GetShape(part));
        ++counts.parts;
        counts.instances = Plus(counts.instances, instances);
        counts.solids = Plus(counts.solids, Times(shape.solids, instances));
        counts.faces = Plus(counts.faces, Times(shape.faces, instances));
        counts.triangles = Plus(counts.triangles, Times(shape.triangles, instances));
        counts.edges = Plus(counts.edges, Times(shape.edges, instances));
    }
    return counts;
}

std::vector<TopoDS_Face> Document::Faces() const {
    std::vector<TopoDS_Face> faces;
    for (const TDF_Label& part : Parts()) {
        const std::vector<TopoDS_Face> own = FacesOf(XCAFDoc_ShapeTool::GetShape(part));
        faces.insert(faces.end(), own.begin(), own.end());
    }
    return faces;
}

std::string Document::MeshFault() const {
    for (const TopoDS_Face& face : Faces()) {
        const FaceTriangles triangles(face);
        if (triangles.IsNull()) {
            if (!HasSurface(face)) return "The triangles of a face are missing";
            continue;
        }
        for (int node = 1; node <= triangles.NodeCount(); ++node) {
            const gp_Pnt point = triangles.Node(node);
            if (!std::isfinite(point.X() + point.Y() + point.Z())) return "A coordinate is not a number";
        }
        for (int at = 1; at <= triangles.Count(); ++at) {
            const auto [least, most] = std::ranges::minmax(CornersOf(triangles.Mesh(), at));
            if (least < 1 || most > triangles.NodeCount()) return "A triangle has a corner that is not there";
        }
    }
    return {};
}

}  // namespace morvex
