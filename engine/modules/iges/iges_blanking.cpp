#include "engine/modules/iges/iges_blanking.h"

#include <IGESData_IGESModel.hxx>
#include <TopoDS_Iterator.hxx>
#include <TransferBRep.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFPrs_DocumentExplorer.hxx>
#include <XSControl_TransferReader.hxx>

namespace morvex {
namespace {

// The label of a part, or of a piece of one that is made a labelled one; null when the document has no such
// shape.
TDF_Label LabelOf(const Document& document, const TopoDS_Shape& shape) {
    TDF_Label label;
    if (document.Shapes()->Search(shape, label)) return label;
    for (const TDF_Label& part : document.Parts()) {
        label = document.Shapes()->AddSubShape(part, shape);
        if (!label.IsNull()) return label;
    }
    return {};
}

// A group and all its members.
void Blank(const TopoDS_Shape& shape, const Handle(Transfer_FinderProcess) & process) {
    const auto entity =
        Handle(IGESData_IGESEntity)::DownCast(TransferBRep::TransientFromShape(process, shape));
    if (!entity.IsNull())
        entity->InitStatus(1, entity->SubordinateStatus(), entity->UseFlag(), entity->HierarchyStatus());
    if (shape.ShapeType() > TopAbs_COMPSOLID && !entity.IsNull()) return;
    for (TopoDS_Iterator child(shape); child.More(); child.Next()) Blank(child.Value(), process);
}

}  // namespace

bool IsBlanked(const Handle(IGESData_IGESEntity) & entity) {
    constexpr int kPhysicallyDependent = 1;  // shown or hidden with the entity that it is a piece of
    return entity->BlankStatus() == 1 && (entity->SubordinateStatus() & kPhysicallyDependent) == 0;
}

bool HoldsBlanked(const Handle(XSControl_WorkSession) & session) {
    const auto model = Handle(IGESData_IGESModel)::DownCast(session->Model());
    int number = model->NbEntities();
    while (number > 0 && !IsBlanked(model->Entity(number))) --number;
    return number > 0;
}

void HideWhatIsBlanked(const Document& document, const Handle(XSControl_WorkSession) & session) {
    const auto model = Handle(IGESData_IGESModel)::DownCast(session->Model());
    const auto process = session->TransferReader()->TransientProcess();
    for (int number = 1; number <= model->NbEntities(); ++number) {
        if (!IsBlanked(model->Entity(number))) continue;
        const TopoDS_Shape shape = TransferBRep::ShapeResult(process, model->Entity(number));
        const TDF_Label label = shape.IsNull() ? TDF_Label() : LabelOf(document, shape);
        if (!label.IsNull()) document.Colours()->SetVisibility(label, Standard_False);
    }
}

void BlankWhatIsHidden(const Document& document, const Handle(Transfer_FinderProcess) & process) {
    for (XCAFPrs_DocumentExplorer node(document.Data(), XCAFPrs_DocumentExplorerFlags_OnlyLeafNodes);
         node.More(); node.Next()) {
        const TDF_Label& part = node.Current().RefLabel;
        const auto blank = [&](const TDF_Label& label) {
            const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
            Blank(shape.Located(node.Current().Location * shape.Location()), process);
        };
        if (document.Hides(node)) {
            blank(part);
            continue;
        }
        TDF_LabelSequence pieces;
        XCAFDoc_ShapeTool::GetSubShapes(part, pieces);
        for (const TDF_Label& piece : pieces) {
            if (!document.Colours()->IsVisible(piece)) blank(piece);
        }
    }
}

}  // namespace morvex
