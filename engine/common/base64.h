// Bytes as letters, as XML takes them.
#pragma once

#include <string>
#include <string_view>

namespace morvex {

std::string Base64(std::string_view bytes);

// The bytes of such text, up to the first character that does not belong to it.
std::string FromBase64(std::string_view text);

}  // namespace morvex
