// The text of a STEP file taken apart, so that several processes can read it.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "engine/modules/scan/step_scan.h"

namespace morvex {

struct StepShares {
    struct Share {
        std::string text;  // a STEP file of these bodies and what they need
        std::vector<StepId> bodies;
    };
    std::vector<Share> shares;  // none when the file is to be read as a whole
    // The file without what only those bodies consist of. Bodies, shells and faces that it refers to stand in
    // it as empty ones of their number and kind.
    std::string rest;
    std::unordered_set<StepId> wanted;  // whose shapes are needed to go on with the rest
};

// Shares the bodies of a file out among processes, about the same length of text to each. Bodies that have
// faces in common, or that are used in an unusual way, stay in the rest. No shares when it is not worth it.
StepShares ShareOut(const StepScan& file, std::size_t processes);

}  // namespace morvex
