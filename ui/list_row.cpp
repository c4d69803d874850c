#include "ui/list_row.h"

#include "formats/file_recognition.h"
#include "win/paths.h"

namespace morvex {

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
    return status;
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

std::optional<ListRow> MakeRow(std::wstring_view path, std::optional<std::uint64_t> size) {
    if (path.find(L'\\') == path.npos) return std::nullopt;
    return ListRow{.name = std::wstring(FileNameOf(path)),
                   .size = size ? FormatFileSize(*size) : L"-",
                   .folder = std::wstring(FolderOf(path)),
                   .outputPath = {}};
}

std::optional<ListRow> MakeAcceptedRow(const std::wstring& path, std::wstring_view inputFilterText) {
    if (!IsAcceptedFile(path, inputFilterText)) return std::nullopt;
    return MakeRow(path, FileSizeOf(path));
}

}  // namespace morvex
