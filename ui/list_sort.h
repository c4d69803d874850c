#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ui/list_row.h"

namespace morvex {

// The sort keys of all rows for one column. Texts compare without regard to letter case; sizes by their
// number, in which a "KB" counts as 1000.
class CSortClass {
  public:
    CSortClass(const std::vector<ListRow>& rows, ListColumn column);

    // The rows' indices in sorted order; rows with equal keys stay in the order they had, descending too.
    std::vector<std::uint32_t> Order(bool ascending) const;

  private:
    struct Key {
        std::wstring_view text;  // a piece of texts_; empty in the Size column
        std::uint64_t number;    // 0 in the other columns
    };

    std::wstring texts_;     // all texts in one letter case, one after the other
    std::vector<Key> keys_;  // one a row
    bool byNumber_;
};

}  // namespace morvex
