#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/row_status.h"

namespace morvex {

// The list's columns, in this order on the screen.
enum class ListColumn { Filename, Size, Folder, Status };
inline constexpr int kListColumns = 4;

// No path of the system is longer, in characters; longer lines of a text file are none.
inline constexpr size_t kLongestPath = 32767;

// One file to convert, as the list shows it.
struct ListRow {
    std::wstring name;
    std::wstring size;    // made by FormatFileSize; "-" when it could not be read
    std::wstring folder;  // without the backslash (or slash) that joined it to the name
    RowStatus status;

    const std::wstring& Text(ListColumn column) const;
    std::wstring FullPath() const;
};

// The Size text of a file of that many bytes.
std::wstring FormatFileSize(std::uint64_t bytes);

// Whether a path may become a row under that input format: it belongs to the format, is no log file, does not
// start with "//" and has a folder. Looks at the text only; any thread.
bool IsAcceptedFile(std::wstring_view path, std::wstring_view inputFilterText);

// A row of a path split at its last backslash, untested; nothing when it has none. `size` is what the file
// system says, or nothing when it could not be read. Any thread; touches no file.
std::optional<ListRow> MakeRow(std::wstring path, std::optional<std::uint64_t> size);

// The row of an accepted path, its size asked from the file system; nothing for a refused path. Any thread.
std::optional<ListRow> MakeAcceptedRow(const std::wstring& path, std::wstring_view inputFilterText);

// Rows of paths that have a folder, in their order; asks several sizes at a time, since each may travel over
// a network.
std::vector<ListRow> MakeRows(std::vector<std::wstring> paths);

// The same of the accepted ones among the paths.
std::vector<ListRow> MakeAcceptedRows(std::vector<std::wstring> paths, std::wstring_view inputFilterText);

}  // namespace morvex
