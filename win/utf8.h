#pragma once

#include <string>
#include <string_view>

namespace morvex {

// UTF-8 and back; what is no text of the source's encoding becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view bytes);

}  // namespace morvex
