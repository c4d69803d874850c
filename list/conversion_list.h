#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/conversion_request.h"
#include "convert/row_status.h"
#include "list/list_row.h"

namespace morvex {

enum class RunState { Idle, Running, Finished };

// The files that the next run converts. The one store of the rows: the list control shows what this answers.
// Belongs to the user-interface thread and knows no window; refusing changes during a run is the caller's
// part, and so is enabling buttons after a change.
class ConversionList {
  public:
    size_t Count() const { return rows_.size(); }
    bool Empty() const { return rows_.empty(); }
    const ListRow& Row(size_t index) const { return *rows_[index].texts; }
    const std::wstring& Text(size_t row, ListColumn column) const { return rows_[row].texts->Text(column); }
    std::wstring FullPath(size_t row) const { return rows_[row].texts->FullPath(); }

    // Each appends one row and returns whether it did. AddFileRow tests the path (IsAcceptedFile);
    // AppendPickedFile takes any path that has a folder; AddRecentPath tests the format and splits at the
    // last "/", which the Folder text then keeps.
    bool AddFileRow(const std::wstring& path, std::wstring_view inputFilterText);
    bool AppendPickedFile(const std::wstring& path);
    bool AddRecentPath(const std::wstring& path, std::wstring_view inputFilterText);

    // Appends rows made elsewhere, by a folder scan for one.
    void Append(std::vector<ListRow> rows);

    // Rows that were taken out, with the places they had.
    class RemovedRows;
    // Removes the rows of these indices, in any order; takes time in proportion to the list.
    RemovedRows RemoveRows(std::vector<size_t> selected);
    RemovedRows Clear();
    // Brings removed rows back to their places; the rows that stayed are those of then.
    void PutBack(RemovedRows removed);

    // Moves a row one place up or down; false when it stands at that end already.
    bool MoveRow(size_t index, bool up);

    // What a click on a column's header does: the same column again turns the order round, another one sorts
    // ascending. A new list counts as sorted by file name. Equal texts keep their order.
    void SortByColumn(ListColumn column);
    ListColumn SortedColumn() const { return sortedColumn_; }
    bool Ascending() const { return ascending_; }

    void SetStatus(size_t row, RowStatus status) { rows_[row].texts->status = std::move(status); }

    // Says the statuses in the language of the catalogue now.
    void Localise(const TextCatalogue& text);

    std::vector<size_t> RowsIn(RowState state) const;  // ascending

    // The rows as a run takes them.
    std::vector<SourceFile> Sources() const;

  private:
    // Sorting and removing move no texts; the size is at hand as a number because, in a large list sorted
    // before, looking at every row again takes longer than the sort.
    struct Entry {
        std::unique_ptr<ListRow> texts;
        std::uint64_t sizeNumber;
    };

    bool AppendRow(std::optional<ListRow> row);
    std::vector<std::uint32_t> SortedOrder() const;

    std::vector<Entry> rows_;
    ListColumn sortedColumn_ = ListColumn::Filename;
    bool ascending_ = true;
};

class ConversionList::RemovedRows {
  public:
    size_t Count() const { return rows_.size(); }

  private:
    friend ConversionList;
    std::vector<size_t> places_;  // ascending
    std::vector<Entry> rows_;
};

}  // namespace morvex
