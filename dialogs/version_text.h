#pragma once

#include <optional>
#include <string>

#include "convert/conversion_library.h"

namespace morvex {

// Two lines: the program's version and the conversion library's; an unknown one when there is no library.
std::wstring VersionText(const std::optional<LibraryVersion>& library);

}  // namespace morvex
