#include "list/list_files.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "res/string_ids.h"
#include "win/paths.h"
#include "win/text_file.h"
#include "win/utf8.h"

namespace morvex {
namespace {

constexpr std::wstring_view kHeader = L"morvex_list";

// The lines that may hold a path. No path ends in a blank: the system drops it.
std::vector<std::wstring_view> PathLines(std::wstring_view text) {
    std::vector<std::wstring_view> lines = SplitLines(text);
    for (std::wstring_view& line : lines) line = line.substr(0, line.find_last_not_of(L" \t") + 1);
    std::erase_if(lines, [](std::wstring_view line) { return line.empty() || line.size() > kLongestPath; });
    return lines;
}

std::vector<std::wstring> EachOnce(const std::vector<std::wstring_view>& lines) {
    std::vector<std::wstring> paths;
    std::unordered_set<std::wstring_view> seen;
    paths.reserve(lines.size());
    seen.reserve(lines.size());
    for (const std::wstring_view line : lines) {
        if (seen.insert(line).second) paths.emplace_back(line);
    }
    return paths;
}

// Cuts the first line off the text.
std::wstring_view TakeLine(std::wstring_view& text) {
    const std::wstring_view line = text.substr(0, text.find(L'\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

}  // namespace

bool SaveListFile(const std::wstring& path, const ConversionList& list, const ChosenFormats& formats) {
    std::wstring content = std::wstring(kHeader) + L"\n" + formats.input + L"\n" + formats.output + L"\n";
    for (size_t i = 0; i < list.Count(); ++i) content += list.FullPath(i) + L"\n";
    return WriteTextFile(path, content);
}

bool SaveResultsReport(const std::wstring& path, const ConversionList& list, const ChosenFormats& formats,
                       const std::optional<std::wstring>& outputFolder, const TextCatalogue& text) {
    std::wstring content = text(IDS_INPUT_FORMAT) + L"\n" + formats.input + L"\n\n" +
                           text(IDS_OUTPUT_FORMAT) + L"\n" + formats.output + L"\n\n";
    if (outputFolder) content += text(IDS_OUTPUT_FOLDER) + L"\n" + *outputFolder + L"\n\n";
    content += text(IDS_FILENAME) + L";" + text(IDS_SIZE) + L";" + text(IDS_STATUS) + L"\n";
    for (size_t i = 0; i < list.Count(); ++i) {
        content += list.FullPath(i) + L";" + list.Row(i).size + L";" + list.Row(i).status.text + L"\n";
    }
    return WriteTextFile(path, content);
}

bool SavePythonList(const std::wstring& path, const ConversionList& list) {
    std::string content;
    for (size_t i = 0; i < list.Count(); ++i)
        content += std::to_string(i) + "|" + ToUtf8(list.FullPath(i)) + "\n";
    return WriteBytes(path, content);
}

ListFile ReadListFile(const std::wstring& path, const ConversionPairs& pairs, bool developerMode) {
    std::wstring text;
    if (!ReadTextFile(path, text)) return {ListFileKind::CannotOpen, {}, {}};
    std::wstring_view rest = text;
    if (TakeLine(rest) != kHeader) {
        if (!developerMode) return {ListFileKind::NotValid, {}, {}};
        const auto lines = PathLines(text);
        return {ListFileKind::PlainPaths, {}, {lines.begin(), lines.end()}};
    }
    ChosenFormats formats;
    formats.input = TakeLine(rest);
    formats.output = TakeLine(rest);
    if (!developerMode && !pairs.Find(formats.input, formats.output)) return {ListFileKind::NotValid, {}, {}};
    return {ListFileKind::List, std::move(formats), EachOnce(PathLines(rest))};
}

bool SaveLastState(const ProgramFolders& folders, const ConversionList& list, const ChosenFormats& formats) {
    DeleteFileW(WithLongPrefix(folders.temporaryList).c_str());
    return SaveListFile(folders.lastState, list, formats);
}

ListFile ReadLastState(const ProgramFolders& folders, const ConversionPairs& pairs, bool developerMode) {
    return ReadListFile(PathExists(folders.lastState) ? folders.lastState : folders.temporaryList, pairs,
                        developerMode);
}

}  // namespace morvex
