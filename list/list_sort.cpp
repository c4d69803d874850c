#include "list/list_sort.h"

#include <windows.h>

#include <algorithm>
#include <string>

namespace morvex {
namespace {

// A sort key beside the place it came from: sorting touches nothing else.
template <class Key>
struct CSortClass {
    Key key;
    std::uint32_t index;
};

template <class Key>
std::vector<std::uint32_t> Order(const std::vector<Key>& keys, bool ascending) {
    std::vector<CSortClass<Key>> sorted;
    sorted.reserve(keys.size());
    for (const Key& key : keys) sorted.push_back({key, static_cast<std::uint32_t>(sorted.size())});
    std::ranges::stable_sort(
        sorted, [ascending](const Key& a, const Key& b) { return ascending ? a < b : b < a; },
        &CSortClass<Key>::key);
    std::vector<std::uint32_t> order;
    order.reserve(sorted.size());
    for (const auto& entry : sorted) order.push_back(entry.index);
    return order;
}

}  // namespace

std::vector<std::uint32_t> OrderOfNumbers(const std::vector<std::uint64_t>& numbers, bool ascending) {
    return Order(numbers, ascending);
}

std::vector<std::uint32_t> OrderOfTexts(const std::vector<std::wstring_view>& texts, bool ascending) {
    std::wstring
        lower;  // all of them, one after the other: one call for the letter case, no allocation per text
    for (const std::wstring_view text : texts) lower += text;
    CharLowerBuffW(lower.data(), static_cast<DWORD>(lower.size()));
    std::vector<std::wstring_view> keys;
    keys.reserve(texts.size());
    std::wstring_view rest = lower;
    for (const std::wstring_view text : texts) {
        keys.push_back(rest.substr(0, text.size()));
        rest.remove_prefix(text.size());
    }
    return Order(keys, ascending);
}

std::uint64_t SizeNumber(std::wstring_view sizeText) {
    const size_t blank = sizeText.rfind(L' ');
    if (blank == sizeText.npos) return 0;
    std::uint64_t number = 0;
    for (const wchar_t digit : sizeText.substr(0, blank)) number = number * 10 + (digit - L'0');
    return sizeText.substr(blank) == L" KB" ? number * 1000 : number;
}

}  // namespace morvex
