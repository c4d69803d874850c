// Tessellated bodies of STEP files, which the library's reader passes over.
#pragma once

#include <set>

#include "engine/modules/core/context.h"
#include "engine/modules/scan/step_scan.h"

namespace morvex {

// Adds the triangles of the products that have no exact surfaces beside them, each at all its places, with
// names and colours. What cannot be read counts as lost. Returns the definitions of those
// products.
std::set<StepId> ReadTessellation(JobContext& context, const StepScan& file);

}  // namespace morvex
