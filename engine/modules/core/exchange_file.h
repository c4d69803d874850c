// What the readers and writers of exchange files (STEP, IGES) have in common.
#pragma once

#include <Interface_Static.hxx>
#include <XSControl_WorkSession.hxx>
#include <cstdint>
#include <initializer_list>

#include "engine/modules/core/context.h"

namespace morvex {

// Makes a reader or a writer of the library bring names, colours and layers along.
template <class Transfer>
void KeepAttributes(Transfer& transfer) {
    transfer.SetColorMode(Standard_True);
    transfer.SetNameMode(Standard_True);
    transfer.SetLayerMode(Standard_True);
}

// Parses the input with a reader of the library, which then transfers in millimetres.
template <class Reader>
Outcome ParseExchangeFile(const JobContext& context, Reader& reader) {
    Interface_Static::SetCVal("xstep.cascade.unit", "MM");
    KeepAttributes(reader);
    const IFSelect_ReturnStatus status = reader.ReadFile(context.file.c_str());
    if (status == IFSelect_RetVoid) return Outcome::Fail(ZEL_EMPTY, "The file contains no entities");
    if (status == IFSelect_RetDone) return Outcome::Ok();
    return Damaged(std::string("The file is not valid ") + context.request.from->name);
}

// Whether everything that the file announced came over; `faceTypes` are the entities that stand for a face. A
// damaged file of which only a part came over is refused, since its result would pass for a whole one.
// Oddities that cost no face become warnings.
Outcome JudgeTransfer(JobContext& context, bool transferred, const Handle(XSControl_WorkSession) & session,
                      std::initializer_list<Handle(Standard_Type)> faceTypes);

// The writer has not accepted the model.
Outcome NotTransferred(const JobContext& context);

}  // namespace morvex
