// Whether everything that an IGES file announces has come over.
#pragma once

#include <XSControl_WorkSession.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/scan/iges_scan.h"

namespace morvex {

// Books lines, faces and solids of the file against what the reader has made of them and what of that stands
// in the document; hidden entities, where the reader has left them out, are none of it. What is malformed
// without costing any of these becomes a warning.
void AccountForIges(JobContext& context, const IgesScan& file, const Handle(XSControl_WorkSession) & session,
                    bool leaveOutHidden);

}  // namespace morvex
