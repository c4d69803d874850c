// Text files of any encoding, line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace morvex {

// Takes the next line off the text, without its end ("\n", "\r\n" or "\r"); nothing at the end of the text.
std::optional<std::string_view> TakeLine(std::string_view& text);

// Takes the next word, up to a blank, off the line; empty at the end of the line.
std::string_view TakeWord(std::string_view& line);

std::string_view Trimmed(std::string_view text);

// The whole of the text as a number with a point; nothing when it is none.
std::optional<double> NumberIn(std::string_view text);

}  // namespace morvex
