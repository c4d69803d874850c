// A look at the input before any of the large libraries sees a byte of it.
#pragma once

#include "engine/common/outcome.h"
#include "engine/common/request.h"

namespace morvex {

// Missing, unreadable, empty, of another format, of a version that nobody reads, or visibly cut off: said
// here, from the first and last few kilobytes. Ok means no more than that a reader may try.
Outcome CheckInput(const Request& request);

}  // namespace morvex
