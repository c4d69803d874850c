// Whether everything that a STEP file announces has come over.
#pragma once

#include <XSControl_WorkSession.hxx>
#include <map>
#include <set>

#include "engine/modules/core/context.h"
#include "engine/modules/scan/step_scan.h"
#include "engine/modules/step/step_bodies.h"

namespace morvex {

// Counts faces, solids, placed parts and mapped items of a file, and of those it refers to, against what the
// reader has made of them and what of that stands in the document. What is malformed without costing any of
// these becomes a warning.
class StepAccount {
  public:
    // `readElsewhere` are the definitions of products that another reader has taken over, `misplaced` mapped
    // items that are not where the file has them; `external` says that another file refers to this one;
    // `shapes` are those of instances that were made elsewhere.
    void Add(const Document& document, const StepScan& file, const Handle(XSControl_WorkSession) & session,
             const std::set<StepId>& readElsewhere, const std::set<StepId>& misplaced, bool external,
             const StepShapes& shapes = {});
    void Send(Journal& journal) const;

  private:
    struct Sum {
        std::int64_t announced = 0, missing = 0;
    };
    std::map<std::string, Sum> sums_;
    std::int64_t damagedFaces_ = 0, damagedPlaces_ = 0, broken_ = 0;
    std::int64_t open_ = 0;  // solids with a gap
};

}  // namespace morvex
