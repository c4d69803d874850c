// The settings that change the model itself.
#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <BRepClass3d_SolidClassifier.hxx>
#include <BRepTools_ReShape.hxx>
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

// Takes what the label stands for out of the document. A face stays: it belongs to the body that it bounds.
bool LeaveOut(const Document& document, const TDF_Label& label) {
    if (!XCAFDoc_ShapeTool::IsSubShape(label)) {
        Remove(document, label);
        return true;
    }
    const TopoDS_Shape body = XCAFDoc_ShapeTool::GetShape(label);
    if (body.ShapeType() > TopAbs_SHELL) return false;
    const TDF_Label part = label.Father();
    BRepTools_ReShape without;
    without.Remove(body);
    const TopoDS_Shape rest = without.Apply(XCAFDoc_ShapeTool::GetShape(part));
    label.ForgetAllAttributes();
    if (rest.IsNull() || rest.NbChildren() == 0)
        Remove(document, part);
    else
        document.Shapes()->SetShape(part, rest);
    return true;
}

// Makes a hidden body of a part a hidden part: writers know no hidden bodies. False where that cannot be.
bool SplitOff(Document& document, const TDF_Label& label) {
    const TopoDS_Shape body = XCAFDoc_ShapeTool::GetShape(label);
    if (body.ShapeType() > TopAbs_SHELL || !XCAFDoc_ShapeTool::IsFree(label.Father())) return false;
    Quantity_ColorRGBA colour;
    const bool coloured = document.ColourOf(label, colour);
    LeaveOut(document, label);
    const TDF_Label part = document.AddPart(body, "hidden");
    document.Shapes()->UpdateAssemblies();
    document.Colours()->SetVisibility(part, Standard_False);
    if (coloured) document.Colours()->SetColor(part, colour, XCAFDoc_ColorSurf);
    return true;
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
        }
    }
    document.Shapes()->UpdateAssemblies();
}

void ApplyVisibility(JobContext& context) {
    Document& document = context.document;
    const FormatId output = context.request.to->id;
    const bool canHide = output == FormatId::Step || output == FormatId::Iges;
    std::int64_t left = 0, shown = 0;
    for (const TDF_Label& label : StyledLabels(document)) {
        if (document.Colours()->IsVisible(label)) continue;
        TDF_Label shape = label;
        XCAFDoc_ShapeTool::GetReferredShape(label, shape);
        const bool assembly = XCAFDoc_ShapeTool::IsAssembly(shape);
        const int wanted = assembly ? context.settings.assemblyVisibility : context.settings.partVisibility;
        if (wanted == kHiddenLeftOut) {
            left += LeaveOut(document, label);
        } else if (wanted == kHiddenShown || !canHide ||
                   (XCAFDoc_ShapeTool::IsSubShape(label) && !SplitOff(document, label))) {
            document.Colours()->SetVisibility(label, Standard_True);
            shown += wanted == kHiddenKept;
        }
    }
    if (shown > 0)
        context.journal.Warn(std::to_string(shown) +
                             " hidden parts or assemblies are visible: the format cannot hide them");
    if (left == 0) return;
    RemoveEmptyAssemblies(document);
    context.journal.Warn(std::to_string(left) + " hidden parts or assemblies were left out");
}

void DropWireframe(Document& document) {
    bool removed = false, changed = false;
    for (const TDF_Label& part : document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        const TopoDS_Shape kept = WithoutWireframe(shape);
        if (kept.IsNull()) {
            Remove(document, part);
            removed = true;
        } else if (!kept.IsSame(shape)) {
            document.Shapes()->SetShape(part, kept);
            changed = true;
        }
    }
    if (removed) {
        RemoveEmptyAssemblies(document);
    } else if (changed) {
        document.Shapes()->UpdateAssemblies();
    }
}

void MaterialsToColours(Document& document) {
    const auto materials = XCAFDoc_DocumentTool::VisMaterialTool(document.Data()->Main());
    for (const TDF_Label& label : StyledLabels(document)) {
        const auto material = materials->GetShapeMaterial(label);
        if (material.IsNull() || document.Colours()->IsSet(label, XCAFDoc_ColorSurf)) continue;
        document.SetColour(label, material->BaseColor());
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
    struct Whole {
        TopoDS_Compound shape;
        std::vector<std::pair<TopoDS_Shape, Quantity_ColorRGBA>> coloured;
    } inSight, hidden;
    const BRep_Builder builder;
    builder.MakeCompound(inSight.shape);
    builder.MakeCompound(hidden.shape);
    for (XCAFPrs_DocumentExplorer node(document.Data(), XCAFPrs_DocumentExplorerFlags_OnlyLeafNodes);
         node.More(); node.Next()) {
        Whole& whole = document.Hides(node) ? hidden : inSight;
        const auto& current = node.Current();
        const auto placed = [&](const TDF_Label& label) {
            const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
            return shape.Located(current.Location * shape.Location());
        };
        builder.Add(whole.shape, placed(current.RefLabel));
        if (current.Style.IsSetColorSurf())
            whole.coloured.emplace_back(placed(current.RefLabel), current.Style.GetColorSurfRGBA());
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(current.RefLabel, below);
        for (const TDF_Label& label : below) {
            Quantity_ColorRGBA colour;
            if (document.ColourOf(label, colour)) whole.coloured.emplace_back(placed(label), colour);
        }
    }
    Document flat;
    for (const Whole* whole : {&inSight, &hidden}) {
        if (whole->shape.NbChildren() == 0) continue;
        const TDF_Label part = flat.AddPart(whole->shape, name);
        flat.Colours()->SetVisibility(part, whole == &inSight);
        for (const auto& [shape, colour] : whole->coloured) {
            const TDF_Label label = flat.Shapes()->AddSubShape(part, shape);
            if (!label.IsNull()) flat.SetColour(label, colour);
        }
    }
    if (!flat.Roots().IsEmpty()) document = flat;
}

Outcome ToNurbs(JobContext& context, const std::vector<TDF_Label>& parts) {
    std::int64_t failed = 0;
    for (const TDF_Label& part : parts) {
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
