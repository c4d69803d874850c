// The colours that the styles of a STEP file give to its items, by its text.
#pragma once

#include <Quantity_Color.hxx>
#include <map>
#include <optional>

#include "engine/modules/scan/step_scan.h"

namespace morvex {

class StepColours {
  public:
    explicit StepColours(const StepScan& file);
    std::optional<Quantity_Color> Of(StepId item) const;

  private:
    std::map<StepId, Quantity_Color> colours_;
};

}  // namespace morvex
