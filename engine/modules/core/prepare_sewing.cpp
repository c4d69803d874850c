// Loose faces joined to shells.
#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Sewing.hxx>
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <cmath>

#include "engine/modules/core/prepare.h"

namespace morvex {
namespace {

// Of the part's diagonal: what systems that keep surfaces apart leave open between them.
constexpr double kShareOfDiagonal = 1e-5;
constexpr double kLeastTolerance = 1e-3;  // mm

// Sorts what a part consists of: faces that belong to no solid, and all else.
void Sort(const TopoDS_Shape& shape, BRepBuilderAPI_Sewing& loose, int& count, TopoDS_Compound& rest) {
    if (shape.ShapeType() == TopAbs_COMPOUND || shape.ShapeType() == TopAbs_SHELL) {
        for (TopoDS_Iterator child(shape); child.More(); child.Next())
            Sort(child.Value(), loose, count, rest);
    } else if (shape.ShapeType() == TopAbs_FACE) {
        loose.Add(shape);
        ++count;
    } else {
        BRep_Builder().Add(rest, shape);
    }
}

// Answers whether anything was joined.
bool Sew(const Document& document, const TDF_Label& part) {
    const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
    Bnd_Box box;
    BRepBndLib::Add(shape, box);
    if (box.IsVoid()) return false;
    BRepBuilderAPI_Sewing sewing(std::max(kLeastTolerance, std::sqrt(box.SquareExtent()) * kShareOfDiagonal));
    TopoDS_Compound whole;
    const BRep_Builder builder;
    builder.MakeCompound(whole);
    int faces = 0;
    Sort(shape, sewing, faces, whole);
    if (faces < 2) return false;
    sewing.Perform();
    if (sewing.NbContigousEdges() == 0) return false;

    const TopoDS_Shape& sewed = sewing.SewedShape();
    TDF_LabelSequence below;
    XCAFDoc_ShapeTool::GetSubShapes(part, below);
    std::vector<std::pair<TDF_Label, TopoDS_Shape>> moved;
    for (const TDF_Label& label : below) {
        moved.emplace_back(label, sewing.Modified(XCAFDoc_ShapeTool::GetShape(label)));
    }
    if (whole.NbChildren() == 0) {
        document.Shapes()->SetShape(part, sewed);
    } else {
        builder.Add(whole, sewed);
        document.Shapes()->SetShape(part, whole);
    }
    for (const auto& [label, face] : moved) document.Shapes()->SetShape(label, face);
    return true;
}

}  // namespace

void SewFaces(JobContext& context, const std::vector<TDF_Label>& parts) {
    int sewn = 0;
    for (const TDF_Label& part : parts) sewn += Sew(context.document, part) ? 1 : 0;
    if (sewn == 0) return;
    context.document.Shapes()->UpdateAssemblies();
    context.journal.Warn("Loose faces of " + std::to_string(sewn) + " parts were sewn together");
}

}  // namespace morvex
