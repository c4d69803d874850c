#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Sorting of the list's columns. Both functions answer the indices of what they are given in sorted order;
// equal entries stay in the order they had, descending too.
namespace morvex {

std::vector<std::uint32_t> OrderOfNumbers(const std::vector<std::uint64_t>& numbers, bool ascending);

// Without regard to letter case.
std::vector<std::uint32_t> OrderOfTexts(const std::vector<std::wstring_view>& texts, bool ascending);

// What a Size text sorts as: "12 b" is 12, "12 KB" is 12000 and "-" is 0.
std::uint64_t SizeNumber(std::wstring_view sizeText);

}  // namespace morvex
