// The file that was written, held against the model.
#pragma once

#include "engine/common/job.h"
#include "engine/modules/core/context.h"

namespace morvex {

// Sends the measures of the model, so far as VERIFY asks for them.
void SendMeasures(const JobContext& context, const char* side);

// Looks at the written file as VERIFY asks: at its counts and, where it is cheap, its box, area and volume;
// with 2 by reading it back with the format's reader, if there is one. Sends what it finds as the counts of
// "written". A difference is a warning; it is a failure when geometry is gone.
Outcome VerifyWritten(JobContext& context, LoadFunction* load);

}  // namespace morvex
