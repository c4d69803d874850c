#include "win/environment.h"

#include <windows.h>

#include <memory>
#include <string_view>

#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

using UniqueStrings = UniqueResource<LPWCH, ::FreeEnvironmentStringsW>;

// "=C:=C:\folder" keeps a drive's current folder: its name starts with the equals sign.
std::wstring_view NameOf(std::wstring_view entry) {
    return entry.substr(0, entry.find(L'=', 1));
}

struct ByName {
    bool operator()(std::wstring_view a, std::wstring_view b) const {
        return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                    static_cast<int>(b.size()), TRUE) == CSTR_LESS_THAN;
    }
};

}  // namespace

std::wstring EnvironmentText(const wchar_t* name) {
    std::wstring text(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (!text.empty())
        text.resize(GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

std::wstring EnvironmentBlockWith(const std::map<std::wstring, std::wstring>& variables) {
    std::map<std::wstring, std::wstring, ByName> entries;  // the system wants them sorted by name
    const UniqueStrings inherited(GetEnvironmentStringsW());
    for (const wchar_t* entry = inherited.get(); entry && *entry;
         entry += std::wstring_view(entry).size() + 1)
        entries[std::wstring(NameOf(entry))] = entry;
    for (const auto& [name, value] : variables) entries[name] = name + L"=" + value;
    std::wstring block;
    for (const auto& [name, entry] : entries) block += entry + L'\0';
    return block + L'\0';
}

}  // namespace morvex
