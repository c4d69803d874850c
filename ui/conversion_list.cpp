#include "ui/conversion_list.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "formats/file_recognition.h"
#include "ui/list_sort.h"
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
    // The system takes either slash, but for the last one before the name the list shows neither.
    std::wstring native = path;
    std::ranges::replace(native, L'/', L'\\');
    std::optional<ListRow> row = MakeRow(native, FileSizeOf(native));
    if (row) row->folder = path.substr(0, row->folder.size());
    return AppendRow(std::move(row));
}

bool ConversionList::AppendRow(std::optional<ListRow> row) {
    if (row) rows_.push_back(std::move(*row));
    return row.has_value();
}

void ConversionList::Append(std::vector<ListRow> rows) {
    rows_.insert(rows_.end(), std::move_iterator(rows.begin()), std::move_iterator(rows.end()));
}

void ConversionList::RemoveRows(const std::vector<size_t>& selected) {
    std::vector<bool> removed(rows_.size());
    for (const size_t index : selected) removed[index] = true;
    size_t kept = 0;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (removed[i]) continue;
        if (kept != i) rows_[kept] = std::move(rows_[i]);
        ++kept;
    }
    rows_.resize(kept);
}

bool ConversionList::MoveRow(size_t index, bool up) {
    if (up ? index == 0 : index + 1 == rows_.size()) return false;
    std::swap(rows_[index], rows_[up ? index - 1 : index + 1]);
    return true;
}

void ConversionList::SortByColumn(ListColumn column) {
    ascending_ = column == sortedColumn_ ? !ascending_ : true;
    sortedColumn_ = column;
    std::vector<ListRow> sorted;
    sorted.reserve(rows_.size());
    for (const size_t index : CSortClass(rows_, column).Order(ascending_)) {
        sorted.push_back(std::move(rows_[index]));
    }
    rows_ = std::move(sorted);
}

void ConversionList::ResetStatuses() {
    for (ListRow& row : rows_) {
        row.status = kStatusNone;
        row.outputPath.clear();
    }
}

void ConversionList::SetOutputPaths(const std::vector<std::wstring>& paths) {
    for (size_t i = 0; i < rows_.size(); ++i) rows_[i].outputPath = paths[i];
}

std::vector<SourceFile> ConversionList::Sources() const {
    std::vector<SourceFile> sources;
    sources.reserve(rows_.size());
    for (const ListRow& row : rows_) sources.push_back({row.folder, row.name});
    return sources;
}

}  // namespace morvex
