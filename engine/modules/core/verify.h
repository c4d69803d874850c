// The file that was written, held against the model.
#pragma once

#include "engine/common/job.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/measure.h"

namespace morvex {

// Sends the measures of the model, so far as VERIFY asks for them, and returns them.
std::optional<Measures> SendMeasures(const JobContext& context);

// Looks at the written file as VERIFY asks: at its counts and points (area and volume, too, where it has them
// all in place); with 2 by reading it back with the format's reader, if there is one. `size` is that of the
// model. Sends what it finds as the counts of "written". A difference is a warning; it is a failure when
// geometry is gone.
Outcome VerifyWritten(JobContext& context, const std::optional<Measures>& size, LoadFunction* load);

}  // namespace morvex
