#include "batch/source_finder.h"

#include <algorithm>

#include "batch/same_input.h"
#include "list/folder_scan.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr wchar_t kEveryFile[] = L"ALL (*.*)";
constexpr wchar_t kListHeader[] = L"morvex_list";

UniqueHandle OpenText(const std::wstring& path) {
    return OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                               FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

// Reads the header of a window's list file; false when the file is none.
bool ReadListHeader(HANDLE file, LineReader& reader, ListFormats& formats) {
    std::wstring line;
    // "con.stp" may be the console: whoever reads from it waits.
    return GetFileType(file) == FILE_TYPE_DISK && reader.Next(line) && line == kListHeader &&
           reader.Next(formats.input) && reader.Next(formats.output);
}

}  // namespace

ListFormats FormatsOfListFile(const std::wstring& path) {
    ListFormats formats;
    const UniqueHandle file = OpenText(FullPath(path));
    if (!file) return {};
    LineReader reader(file.get());
    return ReadListHeader(file.get(), reader, formats) ? formats : ListFormats();
}

void SourceFinder::FindAll(const std::stop_token& stop) {
    for (const std::wstring& path : options_.paths) {
        if (stop.stop_requested()) return;
        AddNamed(FullPath(path), stop);
    }
    if (!options_.filesFrom) return;
    const bool standardInput = *options_.filesFrom == L"-";
    const std::wstring path = standardInput ? *options_.filesFrom : FullPath(*options_.filesFrom);
    const UniqueHandle file = standardInput ? nullptr : OpenText(path);
    if (!standardInput && !file) return failed_(path, L"The list of files cannot be read");
    LineReader reader(standardInput ? GetStdHandle(STD_INPUT_HANDLE) : file.get(),
                      options_.zeroSeparated ? LineReader::Separator::Zero : LineReader::Separator::LineEnd);
    AddLines(reader, stop);
}

void SourceFinder::AddNamed(const std::wstring& path, const std::stop_token& stop) {
    const bool wildcard = FileNameOf(path).find_first_of(L"*?") != std::wstring::npos && !PathExists(path);
    wildcard ? AddWildcard(path, stop) : AddOne(path, stop);
}

void SourceFinder::AddOne(const std::wstring& path, const std::stop_token& stop) {
    if (FolderExists(path)) return AddFolder(path, stop);
    if (!AddListFile(path, stop)) AddFile(path);
}

void SourceFinder::AddWildcard(const std::wstring& pattern, const std::stop_token& stop) {
    WIN32_FIND_DATAW entry;
    const HANDLE first = FindFirstFileW(WithLongPrefix(pattern).c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE) return failed_(pattern, L"No file has such a name");
    const UniqueFind find(first);
    const std::wstring folder(FolderOf(pattern));
    do {
        const std::wstring_view name = entry.cFileName;
        // Under Wine a name may hold a "*": it stands for itself.
        if (name != L"." && name != L"..") AddOne(JoinPath(folder, name), stop);
    } while (!stop.stop_requested() && FindNextFileW(find.get(), &entry));
}

bool SourceFinder::AddListFile(const std::wstring& path, const std::stop_token& stop) {
    const UniqueHandle file = OpenText(path);
    if (!file) return false;
    LineReader reader(file.get());
    ListFormats formats;
    if (!ReadListHeader(file.get(), reader, formats)) return false;
    AddLines(reader, stop);
    return true;
}

void SourceFinder::AddLines(LineReader& reader, const std::stop_token& stop) {
    for (std::wstring line; !stop.stop_requested() && reader.Next(line);) {
        // Editors leave blanks at the ends of lines; no path ends in one.
        if (!options_.zeroSeparated) line.erase(line.find_last_not_of(L" \t") + 1);
        if (!line.empty()) AddFile(FullPath(line));
    }
}

void SourceFinder::AddFolder(const std::wstring& folder, const std::stop_token& stop) {
    const size_t root = folder.size() + !folder.ends_with(L'\\');
    const auto receive = [&](const std::vector<ListRow>& rows, const std::wstring&) {
        for (const ListRow& row : rows) {
            const std::wstring path = row.FullPath();
            const auto format = formats_.OfFolderFile(path);
            const std::wstring tree = row.folder.size() > root ? row.folder.substr(root) : std::wstring();
            if (!format || !Add(path, tree, *format, Origin::Folder)) ++leftAside_;
        }
    };
    ScanFolder(
        folder, options_.recursive, kEveryFile, stop, receive, [this](const std::wstring&) { ++leftAside_; },
        [this](const std::wstring& unread) { failed_(unread, L"The folder cannot be read"); });
}

void SourceFinder::AddFile(const std::wstring& path) {
    if (path.size() > kLongestPath) return failed_(path.substr(0, MAX_PATH), L"The path is too long");
    if (const auto format = formats_.OfNamedFile(path)) {
        leftAside_ += !Add(path, {}, *format, Origin::Named);
        return;
    }
    failed_(path, PathExists(path) ? L"Neither its name nor its content tells its format"
                                   : L"There is no such file");
}

bool SourceFinder::Add(const std::wstring& path, const std::wstring& tree, BatchFormats::Index format,
                       Origin origin) {
    const std::wstring folder(FolderOf(path)), name(FileNameOf(path));
    const OutputNames::Key key = names_.KeyOf(folder, name);
    if (!names_.Keep(key)) {
        const auto [first, last] = ListedUnder(key);
        // Whatever has been given away to no input is an output.
        if (first == last && origin == Origin::Folder) return false;
        const auto isIt = [&](const auto& listed) {
            const SourceFile file = list_.At(listed.second).file;
            return SameInput(path, JoinPath(file.folder, file.name));
        };
        if (std::any_of(first, last, isIt)) return false;
    }
    list_.Append({{folder, name}, tree, format});
    return true;
}

// Asked for hardly ever, so the keys of the list are not kept before.
std::pair<SourceFinder::Keys::const_iterator, SourceFinder::Keys::const_iterator> SourceFinder::ListedUnder(
    OutputNames::Key key) {
    for (size_t index = keys_.size(); index < list_.Count(); ++index) {
        const SourceFile file = list_.At(index).file;
        keys_.emplace(names_.KeyOf(file.folder, file.name), static_cast<std::uint32_t>(index));
    }
    return keys_.equal_range(key);
}

}  // namespace morvex
