// Text for the files the engine writes itself.
#pragma once

#include <string>
#include <string_view>

namespace morvex {

// For an XML attribute or element of a UTF-8 document: markup escaped, bytes that are no UTF-8 and characters
// that XML forbids replaced by U+FFFD.
std::string XmlText(std::string_view text);

// Valid UTF-8 for a writer that expects it; broken bytes become U+FFFD.
std::string CleanUtf8(std::string_view text);

}  // namespace morvex
