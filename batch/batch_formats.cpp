#include "batch/batch_formats.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <span>

#include "convert/command_formats.h"
#include "convert/conversion_report.h"
#include "formats/content_recognition.h"
#include "formats/file_recognition.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/paths.h"
#include "win/unique_handle.h"
#include "win/utf8.h"

namespace morvex {
namespace {

// Whether the text's list of patterns, as in "Inventor 3D (*.ipt,*.iam)", holds the extension.
bool HasPattern(std::wstring_view filterText, std::wstring_view extension) {
    size_t at = filterText.rfind(L'(');
    while ((at = filterText.find(L"*.", at)) != filterText.npos) {
        at += 2;
        if (SameText(filterText.substr(at, filterText.find_first_of(L";,)", at) - at), extension))
            return true;
    }
    return false;
}

// The filter texts of the formats of that name: one when it is a display name or a filter text, else all that
// share the identifier or the extension, in the table's order.
template <class Table>
std::vector<std::wstring> Named(const Table& table, std::wstring_view name) {
    std::vector<std::wstring> found;
    for (const auto& format : table) {
        if (SameText(format.displayName, name) || SameText(format.filterText, name))
            return {format.filterText};
    }
    const std::wstring_view extension = name.substr(name.starts_with(L'.') ? 1 : 0);
    for (const auto& format : table) {
        if (SameText(FromUtf8(format.identifier), name) || HasPattern(format.filterText, extension))
            found.emplace_back(format.filterText);
    }
    return found;
}

std::string BeginningOf(const std::wstring& path) {
    const UniqueHandle file = OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                  nullptr, OPEN_EXISTING, 0, nullptr));
    std::string bytes(kRecognisedBytes, '\0');
    DWORD read = 0;
    // A device ("aux" is one in every folder) is not read.
    const bool readable = file && GetFileType(file.get()) == FILE_TYPE_DISK;
    if (!readable || !ReadFile(file.get(), bytes.data(), kRecognisedBytes, &read, nullptr)) read = 0;
    bytes.resize(read);
    return bytes;
}

// "part.prt.12" is told by what stands before its number, "_pd" by its whole name.
bool TellsByExtension(std::wstring_view extension) {
    return !extension.empty() &&
           !std::ranges::all_of(extension, [](wchar_t c) { return std::iswdigit(c) != 0; });
}

}  // namespace

BatchFormats::BatchFormats(const ConversionPairs& pairs, std::wstring_view from, std::wstring_view to,
                           std::wstring& error)
    : pairs_(pairs) {
    if (!from.empty()) from_ = Named(InputFormats(), from);
    to_ = Named(OutputFormats(), to);
    if (to.empty())
        error = L"--to FORMAT is missing";
    else if (to_.empty())
        error = L"No output format is named \"" + std::wstring(to) + L"\"";
    else if (!from.empty() && from_.empty())
        error = L"No input format is named \"" + std::wstring(from) + L"\"";
}

std::optional<BatchFormats::Index> BatchFormats::OfNamedFile(const std::wstring& path) {
    for (const std::wstring& input : from_) {
        if (IsFileOfInputFormat(path, input)) return With(input);
    }
    if (!from_.empty()) return With(from_.front());
    const std::optional<Index> named = OfExtension(path);
    return named ? named : OfContent(path);
}

std::optional<BatchFormats::Index> BatchFormats::OfFolderFile(const std::wstring& path) {
    const std::wstring_view name = FileNameOf(path);
    if (name.ends_with(kReportSuffix) || SameText(ExtensionOf(name), L"log")) return std::nullopt;
    for (const std::wstring& input : from_) {
        if (IsFileOfInputFormat(path, input)) return With(input);
    }
    if (!from_.empty() || HasExtensionOf(path, to_.front())) return std::nullopt;
    const std::optional<Index> named = OfExtension(path);
    return named ? named : OfContent(path);
}

std::optional<BatchFormats::Index> BatchFormats::OfExtension(const std::wstring& path) {
    const auto find = [&]() -> std::optional<Index> {
        const std::wstring input = InputFormatOf(pairs_, path);
        return input.empty() ? std::nullopt : With(input);
    };
    const std::wstring extension(ExtensionOf(path));
    if (!TellsByExtension(extension) || FileNameOf(path).front() == L'_') return find();
    const auto known = byExtension_.find(extension);
    return known != byExtension_.end() ? known->second : byExtension_[extension] = find();
}

std::optional<BatchFormats::Index> BatchFormats::OfContent(const std::wstring& path) {
    const std::wstring_view name = InputFormatOfContent(BeginningOf(path), FileSizeOf(path).value_or(0));
    if (name.empty()) return std::nullopt;
    return With(InputDisplayNameToFilterText(name));
}

std::optional<BatchFormats::Index> BatchFormats::With(const std::wstring& inputFilterText) {
    const auto known = byInput_.find(inputFilterText);
    if (known != byInput_.end()) return known->second;
    if (owned_.size() == kMostInputs) return std::nullopt;
    const auto onOffer = std::ranges::find_if(
        to_, [&](const std::wstring& output) { return pairs_.Find(inputFilterText, output) != nullptr; });
    const std::wstring& output = onOffer == to_.end() ? to_.front() : *onOffer;
    const auto index = static_cast<Index>(owned_.size());
    owned_.push_back(std::make_unique<ConversionFormats>(LookUpFormats(inputFilterText, output)));
    formats_[index] = owned_.back().get();
    byInput_[inputFilterText] = index;
    return index;
}

}  // namespace morvex
