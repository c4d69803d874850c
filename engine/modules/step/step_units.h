// The units of length of a STEP file, by its text.
#pragma once

#include "engine/modules/scan/step_scan.h"

namespace morvex {

// In millimetres, of the numbers in a representation; 1 where the file says nothing.
double StepUnitOf(const StepScan& file, const StepInstance& representation);
// Of the first representation that has one.
double StepUnitOf(const StepScan& file);

}  // namespace morvex
