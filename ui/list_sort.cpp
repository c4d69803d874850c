#include "ui/list_sort.h"

#include <windows.h>

#include <algorithm>

#include "win/paths.h"

namespace morvex {
namespace {

// "12 KB" is 12000, "12 b" is 12 and "-" is 0.
std::uint64_t SizeNumber(std::wstring_view text) {
    const size_t blank = text.rfind(L' ');
    if (blank == text.npos) return 0;
    std::uint64_t number = 0;
    for (size_t i = 0; i < blank && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        number = number * 10 + (text[i] - L'0');
    }
    return SameText(text.substr(blank), L" KB") ? number * 1000 : number;
}

}  // namespace

CSortClass::CSortClass(const std::vector<ListRow>& rows, ListColumn column)
    : byNumber_(column == ListColumn::Size) {
    keys_.reserve(rows.size());
    if (byNumber_) {
        for (const ListRow& row : rows) keys_.push_back({{}, SizeNumber(row.size)});
        return;
    }
    // One letter case for all texts in one call, and no allocation per row.
    for (const ListRow& row : rows) texts_ += row.Text(column);
    CharLowerBuffW(texts_.data(), static_cast<DWORD>(texts_.size()));
    std::wstring_view rest = texts_;
    for (const ListRow& row : rows) {
        const size_t length = row.Text(column).size();
        keys_.push_back({rest.substr(0, length), 0});
        rest.remove_prefix(length);
    }
}

std::vector<std::uint32_t> CSortClass::Order(bool ascending) const {
    std::vector<std::uint32_t> order(keys_.size());
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto sort = [&](auto less) {
        std::ranges::stable_sort(order, [&](std::uint32_t a, std::uint32_t b) {
            return ascending ? less(keys_[a], keys_[b]) : less(keys_[b], keys_[a]);
        });
    };
    if (byNumber_) {
        sort([](const Key& a, const Key& b) { return a.number < b.number; });
    } else {
        sort([](const Key& a, const Key& b) { return a.text < b.text; });
    }
    return order;
}

}  // namespace morvex
