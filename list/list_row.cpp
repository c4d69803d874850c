#include "list/list_row.h"

#include <new>
#include <utility>

#include "formats/file_recognition.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr int kSizesAskedAtOnce = 8;

}  // namespace

const std::wstring& ListRow::Text(ListColumn column) const {
    switch (column) {
        case ListColumn::Filename:
            return name;
        case ListColumn::Size:
            return size;
        case ListColumn::Folder:
            return folder;
        case ListColumn::Status:
            break;
    }
    return status.text;
}

std::wstring ListRow::FullPath() const {
    return JoinPath(folder, name);
}

std::wstring FormatFileSize(std::uint64_t bytes) {
    if (bytes < 1024) return std::to_wstring(bytes) + L" b";
    if (bytes == 1024) return L"1 KB";
    return std::to_wstring(bytes / 1024 + 1) +
           L" KB";  // one more than the whole kibibytes, multiples included
}

bool IsAcceptedFile(std::wstring_view path, std::wstring_view inputFilterText) {
    return IsFileOfInputFormat(path, inputFilterText) && !SameText(ExtensionOf(path), L"log") &&
           !path.starts_with(L"//") && path.find(L'\\') != path.npos;
}

std::optional<ListRow> MakeRow(std::wstring path, std::optional<std::uint64_t> size) {
    const size_t slash = path.rfind(L'\\');
    if (slash == path.npos) return std::nullopt;
    ListRow row;
    row.name = path.substr(slash + 1);
    row.size = size ? FormatFileSize(*size) : L"-";
    path.resize(slash);
    row.folder = std::move(path);
    return row;
}

std::optional<ListRow> MakeAcceptedRow(const std::wstring& path, std::wstring_view inputFilterText) {
    if (!IsAcceptedFile(path, inputFilterText)) return std::nullopt;
    return MakeRow(path, FileSizeOf(path));
}

std::vector<ListRow> MakeRows(std::vector<std::wstring> paths) {
    std::vector<std::optional<std::uint64_t>> sizes(paths.size());
#pragma omp parallel for schedule(dynamic, 64) num_threads(kSizesAskedAtOnce)
    for (size_t i = 0; i < paths.size(); ++i) {
        try {
            sizes[i] = FileSizeOf(paths[i]);
        } catch (const std::bad_alloc&) {
            // The size stays unknown: no exception may leave the parallel region.
        }
    }
    std::vector<ListRow> rows;
    rows.reserve(paths.size());
    for (size_t i = 0; i < paths.size(); ++i) {
        if (auto row = MakeRow(std::move(paths[i]), sizes[i])) rows.push_back(std::move(*row));
    }
    return rows;
}

std::vector<ListRow> MakeAcceptedRows(std::vector<std::wstring> paths, std::wstring_view inputFilterText) {
    std::erase_if(paths, [&](const std::wstring& path) { return !IsAcceptedFile(path, inputFilterText); });
    return MakeRows(std::move(paths));
}

}  // namespace morvex
