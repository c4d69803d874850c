// What a mesh file holds that one of the writers here has made.
#pragma once

#include <string_view>

#include "engine/modules/scan/written_scan.h"

namespace morvex {

WrittenFacts ScanWrittenMesh(FormatId format, std::string_view bytes, std::string_view side);

}  // namespace morvex
