// Text files of any encoding, line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace morvex {

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

// Takes the next line off the text, without its end ("\n", "\r\n" or "\r"); nothing at the end of the text.
std::optional<std::string_view> TakeLine(std::string_view& text);

// Takes the next word, up to a blank, off the line; empty at the end of the line.
std::string_view TakeWord(std::string_view& line);

std::string_view Trimmed(std::string_view text);

// The whole of the text as a number with a point; nothing when it is none.
std::optional<double> NumberIn(std::string_view text);

}  // namespace morvex
