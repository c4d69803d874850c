// Scale and mirroring taken out of locations and into copies of the parts.
#include <BRepBuilderAPI_Transform.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TDataStd_TreeNode.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Iterator.hxx>
#include <XCAFDoc.hxx>
#include <XCAFDoc_Editor.hxx>
#include <XCAFDoc_Location.hxx>
#include <algorithm>
#include <cmath>
#include <compare>
#include <gp_Quaternion.hxx>
#include <map>
#include <vector>

#include "engine/modules/core/affine.h"
#include "engine/modules/core/faces.h"
#include "engine/modules/core/prepare.h"

namespace morvex {
namespace {

constexpr double kSameScale = 1e-9;  // factors that differ by a smaller share are one

struct FactorKey {
    explicit FactorKey(double factor)
        : mirrored(factor < 0),
          size(std::llround(std::log(std::max(std::abs(factor), gp::Resolution())) / kSameScale)) {}
    auto operator<=>(const FactorKey&) const = default;

    bool mirrored;
    long long size;
};

// A location is a rigid motion after a scaling about the origin; a negative factor mirrors. The scaling and a
// rotation may change places, so the factors of nested locations simply multiply.
struct Similarity {
    explicit Similarity(const TopLoc_Location& location) {
        const gp_Trsf& map = location.Transformation();
        factor = map.ScaleFactor();
        if (IsPlain()) {
            rigid = map;
            return;
        }
        const gp_Mat& m = map.HVectorialPart();
        const gp_XYZ& t = map.TranslationPart();
        rigid.SetValues(m(1, 1), m(1, 2), m(1, 3), t.X(), m(2, 1), m(2, 2), m(2, 3), t.Y(), m(3, 1), m(3, 2),
                        m(3, 3), t.Z());
    }
    bool IsPlain() const { return std::abs(factor - 1) < kSameScale; }
    // Whether the rigid part moves nothing.
    bool IsAtHome() const {
        return rigid.TranslationPart().Modulus() < gp::Resolution() &&
               rigid.GetRotation().IsEqual(gp_Quaternion());
    }

    gp_Trsf rigid;
    double factor;
};

TopLoc_Location Scaled(gp_Trsf rigid, double factor) {
    rigid.SetTranslationPart(rigid.TranslationPart() * factor);
    return rigid;
}

bool AnySurface(const TopoDS_Shape& shape) {
    return std::ranges::any_of(FacesOf(shape), HasSurface);
}

// Whether compounds within the shape hold something at a scaled location.
bool HoldsScaled(const TopoDS_Shape& shape) {
    if (!Similarity(shape.Location()).IsPlain()) return true;
    if (shape.ShapeType() != TopAbs_COMPOUND) return false;
    for (TopoDS_Iterator child(shape, Standard_False, Standard_False); child.More(); child.Next()) {
        if (HoldsScaled(child.Value())) return true;
    }
    return false;
}

// Copies of shapes times factors, the same one each time.
class ShapeScaler {
  public:
    TopoDS_Shape Scale(const TopoDS_Shape& shape, double factor) {
        const Similarity own(shape.Location());
        const TopoDS_Shape inner =
            Copy(shape.Located(TopLoc_Location()).Oriented(TopAbs_FORWARD), factor * own.factor);
        return inner.Located(Scaled(own.rigid, factor)).Oriented(shape.Orientation());
    }

  private:
    TopoDS_Shape Copy(const TopoDS_Shape& shape, double factor) {
        const auto [place, isNew] = known_.try_emplace({shape.TShape().get(), factor});
        if (isNew) place->second = NewCopy(shape, factor);
        return place->second;
    }

    TopoDS_Shape NewCopy(const TopoDS_Shape& shape, double factor) {
        gp_Trsf scaling;
        scaling.SetScale(gp::Origin(), factor);
        const TopAbs_ShapeEnum type = shape.ShapeType();
        const bool whole = type != TopAbs_COMPOUND && (type > TopAbs_FACE || AnySurface(shape));
        if (whole) {
            return std::abs(factor - 1) < kSameScale
                       ? shape
                       : BRepBuilderAPI_Transform(shape, scaling, Standard_True).Shape();
        }
        const BRep_Builder builder;
        if (type == TopAbs_FACE) {
            TopoDS_Face face;
            TopLoc_Location location;
            const auto mesh = BRep_Tool::Triangulation(TopoDS::Face(shape), location);
            builder.MakeFace(face);
            if (!mesh.IsNull()) builder.UpdateFace(face, Transformed(mesh, scaling));
            return face;
        }
        TopoDS_Shape copy = shape.EmptyCopied();
        for (TopoDS_Iterator child(shape, Standard_False, Standard_False); child.More(); child.Next()) {
            builder.Add(copy, Scale(child.Value(), factor));
        }
        copy.Closed(shape.Closed());
        return copy;
    }

    std::map<std::pair<const TopoDS_TShape*, double>, TopoDS_Shape> known_;
};

class LocationBaker {
  public:
    explicit LocationBaker(const Document& document) : document_(document), shapes_(*document.Shapes()) {}

    // Answers how many instances were changed; `lost` counts those that a scaling by zero made nothing.
    int Bake(int& lost) {
        for (const TDF_Label& root : document_.Roots()) {
            roots_.push_back(XCAFDoc_ShapeTool::IsReference(root) ? WithoutReference(root) : root);
        }
        TDF_LabelSequence labels;
        shapes_.GetShapes(labels);
        for (const TDF_Label& label : labels) {
            if (XCAFDoc_ShapeTool::IsAssembly(label)) {
                BakeComponents(label, label, 1);
            } else if (HoldsScaled(XCAFDoc_ShapeTool::GetShape(label))) {
                ReplaceShape(label, label, 1);
            }
        }
        if (changed_ > 0) RemoveUnused();
        lost = lost_;
        return changed_;
    }

  private:
    // A root that is an instance, which few writers expect, becomes the part it shows; or, where that is
    // moved or has other instances, an assembly.
    TDF_Label WithoutReference(const TDF_Label& root) {
        TDF_Label shape;
        XCAFDoc_ShapeTool::GetReferredShape(root, shape);
        const Similarity place(XCAFDoc_ShapeTool::GetLocation(root));
        const TDF_Label scaled = Variant(shape, place.factor);
        TDF_LabelSequence users;
        XCAFDoc_ShapeTool::GetUsers(scaled, users, Standard_False);
        TDF_Label kept = scaled;
        if (users.Length() > (scaled == shape ? 1 : 0) || !place.IsAtHome()) {
            kept = shapes_.NewShape();
            CopyName(root, kept);
            CopyAttributes(root, shapes_.AddComponent(kept, scaled, place.rigid));
        } else {
            CopyAttributes(root, kept);
        }
        shapes_.RemoveShape(root, Standard_False);
        ++changed_;
        return kept;
    }

    // The part or assembly times a factor.
    TDF_Label Variant(const TDF_Label& shape, double factor) {
        if (std::abs(factor - 1) < kSameScale) return shape;
        TCollection_AsciiString entry;
        TDF_Tool::Entry(shape, entry);
        const auto [place, isNew] = variants_.try_emplace({entry.ToCString(), FactorKey(factor)});
        if (!isNew) return place->second;
        const TDF_Label variant = place->second = shapes_.NewShape();
        CopyAttributes(shape, variant);
        if (XCAFDoc_ShapeTool::IsAssembly(shape)) {
            BakeComponents(shape, variant, factor);
        } else {
            ReplaceShape(shape, variant, factor);
        }
        return variant;
    }

    // Gives `to` the components of `from` times the factor, with rigid locations; `to` may be `from` itself.
    void BakeComponents(const TDF_Label& from, const TDF_Label& to, double factor) {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(from, components);
        for (const TDF_Label& component : components) {
            TDF_Label shape;
            if (!XCAFDoc_ShapeTool::GetReferredShape(component, shape)) continue;
            const Similarity place(XCAFDoc_ShapeTool::GetLocation(component));
            if (from == to && place.IsPlain()) continue;
            ++changed_;
            if (const double size = std::abs(place.factor);
                !(size > gp::Resolution()) || !std::isfinite(size)) {
                ++lost_;
                if (from == to) shapes_.RemoveComponent(component);
                continue;
            }
            const TDF_Label scaled = Variant(shape, factor * place.factor);
            const TopLoc_Location location = Scaled(place.rigid, factor);
            if (from == to) {
                Redirect(component, scaled, location);
            } else {
                CopyAttributes(component, shapes_.AddComponent(to, scaled, location));
            }
        }
    }

    // Makes an instance show another part at another place, and keep everything else.
    static void Redirect(const TDF_Label& component, const TDF_Label& shape,
                         const TopLoc_Location& location) {
        XCAFDoc_Location::Set(component, location);
        const auto node = TDataStd_TreeNode::Set(component, XCAFDoc::ShapeRefGUID());
        node->Remove();
        TDataStd_TreeNode::Set(shape, XCAFDoc::ShapeRefGUID())->Append(node);
    }

    void ReplaceShape(const TDF_Label& from, const TDF_Label& to, double factor) {
        const TopoDS_Shape old = XCAFDoc_ShapeTool::GetShape(from);
        const TopoDS_Shape scaled = scaler_.Scale(old, factor);
        TopTools_IndexedMapOfShape before, after;
        TopExp::MapShapes(old, before);
        TopExp::MapShapes(scaled, after);
        TDF_LabelSequence faces;
        XCAFDoc_ShapeTool::GetSubShapes(from, faces);
        if (from == to) ++changed_;
        shapes_.SetShape(to, scaled);
        if (before.Extent() != after.Extent()) return;
        for (const TDF_Label& face : faces) {
            const int number = before.FindIndex(XCAFDoc_ShapeTool::GetShape(face));
            if (number == 0) continue;
            if (from == to) {
                shapes_.SetShape(face, after(number));
            } else if (const TDF_Label copy = shapes_.AddSubShape(to, after(number)); !copy.IsNull()) {
                CopyAttributes(face, copy);
            }
        }
    }

    static void CopyAttributes(const TDF_Label& from, const TDF_Label& to) {
        XCAFDoc_Editor::CloneMetaData(from, to, nullptr);
        CopyName(from, to);
    }

    static void CopyName(const TDF_Label& from, const TDF_Label& to) {
        Handle(TDataStd_Name) name;
        if (from.FindAttribute(TDataStd_Name::GetID(), name)) TDataStd_Name::Set(to, name->Get());
    }

    // What nothing shows any more would pass for a root.
    void RemoveUnused() {
        for (bool again = true; again;) {
            again = false;
            for (const TDF_Label& label : document_.Roots()) {
                if (std::ranges::find(roots_, label) != roots_.end()) continue;
                TDF_LabelSequence components;
                XCAFDoc_ShapeTool::GetComponents(label, components);
                for (const TDF_Label& component : components) shapes_.RemoveComponent(component);
                shapes_.RemoveShape(label);
                again = true;
            }
        }
    }

    const Document& document_;
    XCAFDoc_ShapeTool& shapes_;
    ShapeScaler scaler_;
    std::vector<TDF_Label> roots_;
    std::map<std::pair<std::string, FactorKey>, TDF_Label> variants_;
    int changed_ = 0, lost_ = 0;
};

}  // namespace

void BakeLocations(JobContext& context) {
    int lost = 0;
    if (LocationBaker(context.document).Bake(lost) == 0) return;
    if (lost > 0) {
        context.journal.Warn(std::to_string(lost) + " instances have the size zero and were left out");
        RemoveEmptyAssemblies(context.document);
    }
    context.document.Shapes()->UpdateAssemblies();
}

}  // namespace morvex
