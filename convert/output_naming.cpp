#include "convert/output_naming.h"

#include <algorithm>

#include "formats/format_codes.h"
#include "win/paths.h"

namespace morvex {
namespace {

std::wstring_view UpToLast(std::wstring_view text, wchar_t mark) {
    return text.substr(0, text.rfind(mark));
}

std::wstring FolderAsName(std::wstring_view path) {
    std::wstring folder = WithoutLongPrefix(path);
    if (folder.ends_with(L'\\')) folder.pop_back();  // of a drive's root
    for (wchar_t& unit : folder) {
        if (unit == L'\\' || unit == L'/' || unit == L':') unit = L'_';
    }
    return folder;
}

// The output's name without its extension.
std::wstring BaseName(const SourceFile& source, int inputCode) {
    // Cadds keeps each part in a folder that carries the part's name.
    if (SameText(source.name, L"_pd") || SameText(source.name, L"_db")) {
        std::wstring_view folder = source.folder;
        if (folder.ends_with(L'\\')) folder.remove_suffix(1);
        return FolderAsName(FileNameOf(folder));
    }
    std::wstring_view name = source.name;
    const bool versioned = inputCode == kCodeCreo && name.find(L".prt.") != name.npos;
    name = UpToLast(name, L'.');
    if (versioned) name = UpToLast(name, L'.');
    return std::wstring(name);
}

// Such a name is a device's in every folder, whatever follows its first dot: a result would be lost there.
bool NamesDevice(std::wstring_view name) {
    static constexpr std::wstring_view kNames[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
    name = name.substr(0, name.find_first_of(L".:"));
    name = name.substr(0, name.find_last_not_of(L' ') + 1);
    const bool port =
        name.size() == 4 && std::wstring_view(L"123456789\u00B9\u00B2\u00B3").find(name[3]) != name.npos;
    if (port) return SameText(name.substr(0, 3), L"COM") || SameText(name.substr(0, 3), L"LPT");
    return std::ranges::any_of(kNames, [name](std::wstring_view device) { return SameText(device, name); });
}

}  // namespace

std::wstring OutputName::Path(int number) const {
    std::wstring path = JoinPath(folder, base);
    if (number > 1) path += L" (" + std::to_wstring(number) + L")";
    return WithLongPrefix(path + extension);
}

std::wstring WithoutLongPrefix(std::wstring_view path) {
    constexpr std::wstring_view kPrefix = L"\\\\?\\", kShare = L"UNC\\";
    if (!path.starts_with(kPrefix)) return std::wstring(path);
    path.remove_prefix(kPrefix.size());
    return path.starts_with(kShare) ? L"\\\\" + std::wstring(path.substr(kShare.size())) : std::wstring(path);
}

OutputName NameOutput(const SourceFile& source, const ConversionRequest& request) {
    const ConversionFormats& formats = request.formats;
    OutputName name;
    name.extension = formats.extension;
    if (!request.outputFolder) {
        const size_t dot = ExtensionStart(source.name);
        const std::wstring_view inputExtension =
            dot == std::wstring::npos ? std::wstring_view{} : std::wstring_view(source.name).substr(dot);
        if (SameText(inputExtension, formats.extension) || formats.inputCode == formats.outputCode) {
            name.extension = L"-zel" + name.extension;
        }
    }
    name.base = BaseName(source, formats.inputCode);
    if (request.inputPathInName) name.base = FolderAsName(source.folder) + L"_" + name.base;
    if (NamesDevice(name.base + name.extension)) name.base.insert(0, L"_");
    name.folder = request.outputFolder.value_or(source.folder);
    return name;
}

}  // namespace morvex
