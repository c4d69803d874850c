#include "convert/output_naming.h"

#include <windows.h>

#include <unordered_map>
#include <unordered_set>

#include "formats/format_codes.h"
#include "win/paths.h"

namespace morvex {
namespace {

std::wstring_view UpToLast(std::wstring_view text, wchar_t mark) {
    return text.substr(0, text.rfind(mark));
}

// The output's name without its extension.
std::wstring BaseName(const SourceFile& source, int inputCode) {
    // Cadds keeps each part in a folder that carries the part's name.
    if (SameText(source.name, L"_pd") || SameText(source.name, L"_db")) {
        return std::wstring(FileNameOf(source.folder));
    }
    std::wstring_view name = source.name;
    const bool versioned = inputCode == kCodeCreo && name.find(L".prt.") != name.npos;
    name = UpToLast(name, L'.');
    if (versioned) name = UpToLast(name, L'.');
    return std::wstring(name);
}

std::wstring WithoutLongPrefix(std::wstring_view path) {
    constexpr std::wstring_view kPrefix = L"\\\\?\\", kShare = L"UNC\\";
    if (!path.starts_with(kPrefix)) return std::wstring(path);
    path.remove_prefix(kPrefix.size());
    return path.starts_with(kShare) ? L"\\\\" + std::wstring(path.substr(kShare.size())) : std::wstring(path);
}

std::wstring FolderAsName(std::wstring_view path) {
    std::wstring folder = WithoutLongPrefix(path);
    for (wchar_t& unit : folder) {
        if (unit == L'\\' || unit == L'/' || unit == L':') unit = L'_';
    }
    return folder;
}

// Upper case as the file system folds it, so that equal keys mean one file.
std::wstring CaseKey(std::wstring_view given) {
    const std::wstring path = WithoutLongPrefix(given);
    std::wstring key(path.size(), L'\0');
    const int length = static_cast<int>(path.size());
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, path.data(), length, key.data(), length, nullptr,
                  nullptr, 0);
    return key;
}

// An output path in its parts, so that a number or "-zel" can go between name and extension.
struct OutputName {
    std::wstring stem;  // folder and base name
    std::wstring extension;

    std::wstring Path(int number = 1) const {
        std::wstring path = stem;
        if (number > 1) path += L" (" + std::to_wstring(number) + L")";
        return WithLongPrefix(path + extension);
    }
};

OutputName NameByRules(const SourceFile& source, const ConversionRequest& request) {
    OutputName name;
    const ConversionFormats& formats = request.formats;
    name.extension = formats.extension;
    if (!request.outputFolder) {
        const size_t dot = ExtensionStart(source.name);
        const std::wstring_view inputExtension =
            dot == std::wstring::npos ? std::wstring_view{} : std::wstring_view(source.name).substr(dot);
        if (SameText(inputExtension, formats.extension) || formats.inputCode == formats.outputCode) {
            name.extension = L"-zel" + name.extension;
        }
    }
    std::wstring base = BaseName(source, formats.inputCode);
    if (request.inputPathInName) base = FolderAsName(source.folder) + L"_" + base;
    name.stem = JoinPath(request.outputFolder.value_or(source.folder), base);
    return name;
}

}  // namespace

std::wstring OutputPath(const SourceFile& source, const ConversionRequest& request) {
    return NameByRules(source, request).Path();
}

std::vector<std::wstring> PlanOutputs(const std::vector<SourceFile>& sources,
                                      const ConversionRequest& request) {
    std::unordered_set<std::wstring> taken;
    taken.reserve(sources.size() * 2);
    for (const SourceFile& source : sources) taken.insert(CaseKey(JoinPath(source.folder, source.name)));

    std::vector<std::wstring> outputs;
    outputs.reserve(sources.size());
    std::unordered_map<std::wstring, int> lastNumber;  // keeps many equal names from being tried one by one
    for (const SourceFile& source : sources) {
        const OutputName name = NameByRules(source, request);
        std::wstring path = name.Path();
        if (std::wstring key = CaseKey(path); !taken.insert(key).second) {
            int& number = lastNumber.try_emplace(std::move(key), 1).first->second;
            do path = name.Path(++number);
            while (!taken.insert(CaseKey(path)).second);
        }
        outputs.push_back(std::move(path));
    }
    return outputs;
}

}  // namespace morvex
