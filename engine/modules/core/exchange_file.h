// What the readers and writers of exchange files (STEP, IGES) have in common.
#pragma once

#include <IFSelect_ReturnStatus.hxx>
#include <Interface_Static.hxx>
#include <TopoDS_TShape.hxx>
#include <unordered_set>

#include "engine/modules/core/context.h"

namespace morvex {

// Makes a reader or a writer of the library bring names, colours and layers along.
template <class Transfer>
void KeepAttributes(Transfer& transfer) {
    transfer.SetColorMode(Standard_True);
    transfer.SetNameMode(Standard_True);
    transfer.SetLayerMode(Standard_True);
}

// Parses the input with a reader of the library, which then transfers in millimetres. `read` is its call.
template <class Reader, class Read>
Outcome ParseExchangeFile(const JobContext& context, Reader& reader, Read read) {
    Interface_Static::SetCVal("xstep.cascade.unit", "MM");
    KeepAttributes(reader);
    const IFSelect_ReturnStatus status = read();
    if (status == IFSelect_RetVoid) return Outcome::Fail(ZEL_EMPTY, "The file contains no entities");
    if (status == IFSelect_RetDone) return Outcome::Ok();
    return Damaged(std::string("The file is not valid ") + context.request.from->name);
}

// The solids and faces of a document, each by what it shares with all its copies elsewhere.
using ShapeSet = std::unordered_set<const TopoDS_TShape*>;
ShapeSet ShapesOf(const Document& document);
// Whether all parts of that type of a shape, one at least, belong to the set.
bool IsWithin(const ShapeSet& shapes, const TopoDS_Shape& result, TopAbs_ShapeEnum type);

// The writer has not accepted the model.
Outcome NotTransferred(const JobContext& context);

}  // namespace morvex
