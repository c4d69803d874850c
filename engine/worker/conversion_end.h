// What is known of a conversion when it is over.
#pragma once

#include <string>

#include "engine/common/outcome.h"

namespace morvex {

struct Format;

struct ConversionEnd {
    Outcome outcome;
    const Format* from = nullptr;  // null when it did not come to that
    const Format* to = nullptr;
};

}  // namespace morvex
