// Text of the files that the engine reads and writes.
#pragma once

#include <string>
#include <string_view>

namespace morvex {

// For an XML attribute or element of a UTF-8 document: markup escaped, bytes that are no UTF-8 and characters
// that XML forbids replaced by U+FFFD.
std::string XmlText(std::string_view text);

// Valid UTF-8 for a writer that expects it; broken bytes become U+FFFD.
std::string CleanUtf8(std::string_view text);

// Takes the first character off a text that is not empty. A byte of no well-formed sequence is U+FFFD.
char32_t TakeCharacter(std::string_view& utf8);
void AppendUtf8(std::string& text, char32_t character);

// The text in UTF-8, without its mark, when its mark says that it is UTF-16; else a view of the bytes
// themselves.
class DecodedText {
  public:
    explicit DecodedText(std::string_view bytes);
    std::string_view View() const { return view_; }

  private:
    std::string decoded_;
    std::string_view view_;
};

// With the letters A to Z in lower case.
std::string LowerAscii(std::string_view text);

}  // namespace morvex
