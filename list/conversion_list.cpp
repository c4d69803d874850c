#include "list/conversion_list.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "formats/file_recognition.h"
#include "list/list_sort.h"
#include "win/paths.h"

namespace morvex {

bool ConversionList::AddFileRow(const std::wstring& path, std::wstring_view inputFilterText) {
    return AppendRow(MakeAcceptedRow(path, inputFilterText));
}

bool ConversionList::AppendPickedFile(const std::wstring& path) {
    return AppendRow(MakeRow(path, FileSizeOf(path)));
}

bool ConversionList::AddRecentPath(const std::wstring& path, std::wstring_view inputFilterText) {
    if (!IsFileOfInputFormat(path, inputFilterText)) return false;
    // Long paths are asked for with backslashes only; the Folder text keeps the slashes.
    std::wstring native = path;
    std::ranges::replace(native, L'/', L'\\');
    std::optional<ListRow> row = MakeRow(native, FileSizeOf(native));
    if (row) row->folder = path.substr(0, row->folder.size());
    return AppendRow(std::move(row));
}

bool ConversionList::AppendRow(std::optional<ListRow> row) {
    if (!row) return false;
    const std::uint64_t sizeNumber = SizeNumber(row->size);
    rows_.push_back({std::make_unique<ListRow>(std::move(*row)), sizeNumber});
    return true;
}

void ConversionList::Append(std::vector<ListRow> rows) {
    for (ListRow& row : rows) AppendRow(std::move(row));
}

ConversionList::RemovedRows ConversionList::RemoveRows(std::vector<size_t> selected) {
    std::ranges::sort(selected);
    RemovedRows removed;
    removed.rows_.reserve(selected.size());
    for (const size_t index : selected) removed.rows_.push_back(std::move(rows_[index]));
    removed.places_ = std::move(selected);
    std::erase_if(rows_, [](const Entry& row) { return !row.texts; });
    return removed;
}

ConversionList::RemovedRows ConversionList::Clear() {
    RemovedRows removed;
    removed.rows_ = std::exchange(rows_, {});
    removed.places_.resize(removed.rows_.size());
    std::iota(removed.places_.begin(), removed.places_.end(), size_t{0});
    return removed;
}

void ConversionList::PutBack(RemovedRows removed) {
    std::vector<Entry> all;
    all.reserve(rows_.size() + removed.Count());
    auto stayed = rows_.begin();
    for (size_t i = 0; i < removed.Count(); ++i) {
        while (all.size() < removed.places_[i] && stayed != rows_.end()) all.push_back(std::move(*stayed++));
        all.push_back(std::move(removed.rows_[i]));
    }
    std::move(stayed, rows_.end(), std::back_inserter(all));
    rows_ = std::move(all);
}

bool ConversionList::MoveRow(size_t index, bool up) {
    if (up ? index == 0 : index + 1 == rows_.size()) return false;
    std::swap(rows_[index], rows_[up ? index - 1 : index + 1]);
    return true;
}

void ConversionList::SortByColumn(ListColumn column) {
    ascending_ = column == sortedColumn_ ? !ascending_ : true;
    sortedColumn_ = column;
    std::vector<Entry> sorted;
    sorted.reserve(rows_.size());
    for (const size_t index : SortedOrder()) sorted.push_back(std::move(rows_[index]));
    rows_ = std::move(sorted);
}

std::vector<std::uint32_t> ConversionList::SortedOrder() const {
    if (sortedColumn_ == ListColumn::Size) {
        std::vector<std::uint64_t> numbers;
        numbers.reserve(rows_.size());
        for (const Entry& row : rows_) numbers.push_back(row.sizeNumber);
        return OrderOfNumbers(numbers, ascending_);
    }
    std::vector<std::wstring_view> texts;
    texts.reserve(rows_.size());
    for (const Entry& row : rows_) texts.push_back(row.texts->Text(sortedColumn_));
    return OrderOfTexts(texts, ascending_);
}

void ConversionList::Localise(const TextCatalogue& text) {
    for (const Entry& row : rows_) {
        RowStatus& status = row.texts->status;
        if (status.state != RowState::Idle) status.text = StatusText(status, text);
    }
}

std::vector<size_t> ConversionList::RowsIn(RowState state) const {
    std::vector<size_t> rows;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (rows_[i].texts->status.state == state) rows.push_back(i);
    }
    return rows;
}

std::vector<SourceFile> ConversionList::Sources() const {
    std::vector<SourceFile> sources;
    sources.reserve(rows_.size());
    for (const Entry& row : rows_) sources.push_back({row.texts->folder, row.texts->name});
    return sources;
}

}  // namespace morvex
