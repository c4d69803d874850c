// The files that a STEP file refers to.
#pragma once

#include <STEPCAFControl_Reader.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/step/step_account.h"

namespace morvex {

// To be called before the transfer, which opens those files: throws ReadError when one of them, or one that
// these refer to, lies outside the input's folder or refers back to a file that it hangs on.
void CheckExternalFiles(JobContext& context, const Handle(XSControl_WorkSession) & session);

// To be called after it: a file that is missing or did not come over counts as lost, and the contents of the
// others go to the account.
void AccountForExternalFiles(JobContext& context, const STEPCAFControl_Reader& reader,
                             const Handle(XSControl_WorkSession) & session, StepAccount& account);

}  // namespace morvex
