#pragma once

#include <cstdint>
#include <string_view>

namespace morvex {

inline constexpr std::uint64_t kHashOfNothing = 14695981039346656037ULL;

// FNV-1a, the same on every machine. Of several texts: each with the hash of those before it.
constexpr std::uint64_t HashOf(std::wstring_view text, std::uint64_t before = kHashOfNothing) {
    for (const wchar_t unit : text) before = (before ^ unit) * 1099511628211ULL;
    return before;
}

}  // namespace morvex
