// Mapped items whose operator scales or mirrors, which the library would only move.
#pragma once

#include <XSControl_WorkSession.hxx>
#include <set>

#include "engine/modules/scan/step_scan.h"

namespace morvex {

// Their numbers.
std::set<StepId> ScaledItemsIn(const StepScan& file);

// Transfers what they show and binds it to them with its place, scale and mirroring, before the library gets
// to them. Answers the numbers of those for which that cannot be done.
std::set<StepId> PlaceScaledItems(const Handle(XSControl_WorkSession) & session, const StepScan& file);

}  // namespace morvex
