// What a drawing shows that one of the writers here has made.
#pragma once

#include <string_view>

#include "engine/modules/scan/written_scan.h"

namespace morvex {

// The box is what the front, top and right view make of the model, void without them.
WrittenFacts ScanDrawing(FormatId format, std::string_view bytes);

}  // namespace morvex
