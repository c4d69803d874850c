// Parts that a STEP file uses very often.
#pragma once

#include <Message_ProgressRange.hxx>
#include <XSControl_WorkSession.hxx>

namespace morvex {

// Puts them in their places ahead of the transfer. The library's own way looks, for each use, at all that
// refers to the part and to the assembly, so that its time grows with the square of the uses. To be called
// when the file is parsed; leaves to the library what is unusual, and files whose parts are used a few times
// only.
void PlaceInstances(const Handle(XSControl_WorkSession) & session, const Message_ProgressRange& progress);

}  // namespace morvex
