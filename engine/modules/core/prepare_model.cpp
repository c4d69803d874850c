// The settings that change the model itself.
#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <BRepClass3d_SolidClassifier.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Precision.hxx>
#include <TDF_AttributeMap.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <XCAFDoc_Color.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_VisMaterial.hxx>
#include <XCAFDoc_VisMaterialTool.hxx>
#include <XCAFPrs_DocumentExplorer.hxx>

#include "engine/modules/core/prepare.h"

namespace morvex {
namespace {

constexpr XCAFDoc_ColorType kColourTypes[] = {XCAFDoc_ColorGen, XCAFDoc_ColorSurf, XCAFDoc_ColorCurv};

// Every label that can carry a colour: shapes, components, and sub-shapes.
std::vector<TDF_Label> StyledLabels(const Document& document) {
    TDF_LabelSequence shapes;
    document.Shapes()->GetShapes(shapes);
    std::vector<TDF_Label> labels;
    for (const TDF_Label& shape : shapes) {
        labels.push_back(shape);
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetComponents(shape, below);
        TDF_LabelSequence faces;
        XCAFDoc_ShapeTool::GetSubShapes(shape, faces);
        below.Append(faces);
        labels.insert(labels.end(), below.begin(), below.end());
    }
    return labels;
}

// The shape without what bounds no face; null when nothing is left.
TopoDS_Shape WithoutWireframe(const TopoDS_Shape& shape) {
    if (shape.ShapeType() > TopAbs_FACE) return {};
    if (shape.ShapeType() != TopAbs_COMPOUND) return shape;
    TopoDS_Compound kept;
    const BRep_Builder builder;
    builder.MakeCompound(kept);
    bool changed = false;
    for (TopoDS_Iterator child(shape, Standard_False, Standard_False); child.More(); child.Next()) {
        const TopoDS_Shape rest = WithoutWireframe(child.Value());
        changed = changed || !rest.IsSame(child.Value());
        if (!rest.IsNull()) builder.Add(kept, rest);
    }
    if (!changed) return shape;
    if (kept.NbChildren() == 0) return {};
    return kept.Located(shape.Location()).Oriented(shape.Orientation());
}

// The shape with a solid in place of each closed shell.
TopoDS_Shape WithSolids(const TopoDS_Shape& shape) {
    const BRep_Builder builder;
    if (shape.ShapeType() == TopAbs_COMPOUND) {
        TopoDS_Compound all;
        builder.MakeCompound(all);
        bool changed = false;
        for (TopoDS_Iterator child(shape, Standard_False, Standard_False); child.More(); child.Next()) {
            const TopoDS_Shape closed = WithSolids(child.Value());
            builder.Add(all, closed);
            changed = changed || !closed.IsSame(child.Value());
        }
        return changed ? all.Located(shape.Location()).Oriented(shape.Orientation()) : shape;
    }
    if (shape.ShapeType() != TopAbs_SHELL || !BRep_Tool::IsClosed(shape)) return shape;
    TopoDS_Solid solid;
    builder.MakeSolid(solid);
    builder.Add(solid, shape);
    BRepClass3d_SolidClassifier classifier(solid);
    classifier.PerformInfinitePoint(Precision::Confusion());
    if (classifier.State() == TopAbs_IN) {
        builder.MakeSolid(solid);
        builder.Add(solid, shape.Reversed());
    }
    return solid;
}

}  // namespace

void Remove(const Document& document, const TDF_Label& label) {
    if (XCAFDoc_ShapeTool::IsComponent(label)) {
        document.Shapes()->RemoveComponent(label);
        return;
    }
    TDF_LabelSequence users;
    XCAFDoc_ShapeTool::GetUsers(label, users, Standard_False);
    for (const TDF_Label& user : users) document.Shapes()->RemoveComponent(user);
    document.Shapes()->RemoveShape(label);
}

void RemoveEmptyAssemblies(const Document& document) {
    for (bool again = true; again;) {
        again = false;
        TDF_LabelSequence shapes;
        document.Shapes()->GetShapes(shapes);
        for (const TDF_Label& shape : shapes) {
            if (!XCAFDoc_ShapeTool::IsAssembly(shape) || XCAFDoc_ShapeTool::NbComponents(shape) > 0) continue;
            Remove(document, shape);
            again = true;
            break;
        }
    }
    document.Shapes()->UpdateAssemblies();
}

void ApplyVisibility(JobContext& context) {
    const Document& document = context.document;
    const bool outputSaysHidden = context.request.to->id == FormatId::Step;
    std::int64_t left = 0;
    for (const TDF_Label& label : StyledLabels(document)) {
        if (document.Colours()->IsVisible(label)) continue;
        TDF_Label shape = label;
        XCAFDoc_ShapeTool::GetReferredShape(label, shape);
        const bool assembly = XCAFDoc_ShapeTool::IsAssembly(shape);
        if ((assembly ? context.settings.assemblyVisibility : context.settings.partVisibility) >= 0) {
            document.Colours()->SetVisibility(label, Standard_True);
        } else if (!outputSaysHidden && !XCAFDoc_ShapeTool::IsSubShape(label)) {
            Remove(document, label);
            ++left;
        }
    }
    if (left == 0) return;
    RemoveEmptyAssemblies(document);
    context.journal.Warn(std::to_string(left) + " hidden parts or assemblies were left out");
}

void DropWireframe(Document& document) {
    bool removed = false;
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        const TopoDS_Shape kept = WithoutWireframe(shape);
        if (kept.IsNull()) {
            Remove(document, part);
            removed = true;
        } else if (!kept.IsSame(shape)) {
            document.Shapes()->SetShape(part, kept);
        }
    }
    if (removed) RemoveEmptyAssemblies(document);
}

void MaterialsToColours(Document& document) {
    const auto materials = XCAFDoc_DocumentTool::VisMaterialTool(document.Data()->Main());
    for (const TDF_Label& label : StyledLabels(document)) {
        const auto material = materials->GetShapeMaterial(label);
        if (material.IsNull() || document.Colours()->IsSet(label, XCAFDoc_ColorSurf)) continue;
        document.Colours()->SetColor(label, material->BaseColor(), XCAFDoc_ColorSurf);
    }
}

void DropColours(Document& document) {
    const auto materials = XCAFDoc_DocumentTool::VisMaterialTool(document.Data()->Main());
    for (const TDF_Label& label : StyledLabels(document)) {
        for (const XCAFDoc_ColorType type : kColourTypes) document.Colours()->UnSetColor(label, type);
        materials->UnSetShapeMaterial(label);
    }
}

void Flatten(Document& document, const std::string& name) {
    struct Leaf {
        TopoDS_Shape shape;
        XCAFPrs_Style style;
    };
    std::vector<Leaf> leaves;
    TopoDS_Compound whole;
    const BRep_Builder builder;
    builder.MakeCompound(whole);
    for (XCAFPrs_DocumentExplorer node(document.Data(), XCAFPrs_DocumentExplorerFlags_OnlyLeafNodes);
         node.More(); node.Next()) {
        const auto& current = node.Current();
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(current.RefLabel);
        const TopoDS_Shape placed = shape.Located(current.Location * shape.Location());
        builder.Add(whole, placed);
        leaves.push_back({placed, current.Style});
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(current.RefLabel, below);
        for (const TDF_Label& label : below) {
            Quantity_ColorRGBA colour;
            if (!document.ColourOf(label, colour)) continue;
            const TopoDS_Shape face = XCAFDoc_ShapeTool::GetShape(label);
            XCAFPrs_Style style;
            style.SetColorSurf(colour);
            leaves.push_back({face.Located(current.Location * face.Location()), style});
        }
    }
    if (leaves.empty()) return;
    document = Document();
    const TDF_Label part = document.AddPart(whole, name);
    for (const Leaf& leaf : leaves) {
        if (!leaf.style.IsSetColorSurf()) continue;
        const TDF_Label label = document.Shapes()->AddSubShape(part, leaf.shape);
        if (!label.IsNull())
            document.Colours()->SetColor(label, leaf.style.GetColorSurfRGBA(), XCAFDoc_ColorSurf);
    }
}

Outcome ToNurbs(JobContext& context) {
    std::int64_t failed = 0;
    for (const TDF_Label& part : context.document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        BRepBuilderAPI_NurbsConvert convert(shape);
        if (!convert.IsDone()) {
            ++failed;
            continue;
        }
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(part, below);
        std::vector<std::pair<TDF_Label, TopoDS_Shape>> moved;
        for (const TDF_Label& label : below) {
            moved.emplace_back(label, convert.ModifiedShape(XCAFDoc_ShapeTool::GetShape(label)));
        }
        context.document.Shapes()->SetShape(part, convert.Shape());
        for (const auto& [label, face] : moved) context.document.Shapes()->SetShape(label, face);
    }
    context.document.Shapes()->UpdateAssemblies();
    if (failed > 0)
        context.journal.Warn(std::to_string(failed) + " parts could not be turned into B-splines");
    return Outcome::Ok();
}

void CloseSolids(Document& document) {
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        const TopoDS_Shape closed = WithSolids(shape);
        if (!closed.IsSame(shape)) document.Shapes()->SetShape(part, closed);
    }
    document.Shapes()->UpdateAssemblies();
}

}  // namespace morvex
