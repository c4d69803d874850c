#pragma once

#include <string_view>

namespace morvex {

// How many bytes of a file's beginning are enough to recognise it.
inline constexpr size_t kRecognisedBytes = 1024;

// The display name of the input format that a file's first bytes show; empty when they show none. The bytes
// of a shorter file are all of it. `fileSize` is the whole file's.
std::wstring_view InputFormatOfContent(std::string_view beginning, unsigned long long fileSize);

}  // namespace morvex
