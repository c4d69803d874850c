// Letters beyond ASCII in STEP files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace morvex {

// The text with its UTF-8 letters beyond ASCII in the escapes of ISO 10303-21 (\X2\, \X4\); broken bytes
// become U+FFFD. A run of such letters must not be cut at either end.
std::string EscapeStepText(std::string_view utf8);

// Escapes a whole file; one that is plain ASCII stays untouched. False when it cannot be read or written.
bool EscapeStepFile(const std::filesystem::path& path);

}  // namespace morvex
