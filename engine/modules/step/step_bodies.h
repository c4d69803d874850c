// The bodies of a STEP file, made by several processes.
#pragma once

#include <Message_ProgressRange.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <TopoDS_Shape.hxx>
#include <unordered_map>

#include "engine/modules/core/context.h"
#include "engine/modules/core/helpers.h"
#include "engine/modules/step/step_shares.h"

namespace morvex {

// What the transfer has made of instances, by their numbers.
using StepShapes = std::unordered_map<StepId, TopoDS_Shape>;

// A reader of the library with the settings of the conversion. It is never freed: taking its entities apart
// one by one takes longer than the process has left.
STEPCAFControl_Reader& NewStepReader(const JobContext& context);
// Parses a text with it.
Outcome ParseStep(const JobContext& context, STEPCAFControl_Reader& reader, std::string_view text);

// Helpers that parse and transfer the shares.
class StepBodies {
  public:
    // Starts them. Both arguments have to outlive it.
    StepBodies(const JobContext& context, const StepShares& shares);

    // Waits for them and gives the reader, which has parsed the rest, their shapes. False when one of them
    // could not do its share as the reader itself would have, which then is of no use any more.
    bool Give(STEPCAFControl_Reader& reader, StepShapes& shapes, const Message_ProgressRange& progress);

  private:
    const StepShares& shares_;
    Helpers helpers_;
};

}  // namespace morvex
