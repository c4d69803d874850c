#include "win/profile.h"

#include <windows.h>

namespace morvex::profile {

std::wstring ReadText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
                      const std::wstring& fallback, unsigned capacity) {
    std::wstring text(capacity, L'\0');
    text.resize(
        GetPrivateProfileStringW(section, key, fallback.c_str(), text.data(), capacity, file.c_str()));
    return text;
}

int ReadInt(const std::wstring& file, const wchar_t* section, const wchar_t* key, int fallback) {
    return static_cast<int>(GetPrivateProfileIntW(section, key, fallback, file.c_str()));
}

bool WriteText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
               const std::wstring& value) {
    return WritePrivateProfileStringW(section, key, value.c_str(), file.c_str()) != FALSE;
}

std::vector<std::wstring> SectionNames(const std::wstring& file) {
    std::wstring buffer(4096, L'\0');
    for (;;) {
        const auto size = static_cast<DWORD>(buffer.size());
        const DWORD length = GetPrivateProfileSectionNamesW(buffer.data(), size, file.c_str());
        if (length != size - 2) break;  // that length means the names did not fit
        buffer.assign(buffer.size() * 2, L'\0');
    }
    std::vector<std::wstring> names;
    for (const wchar_t* name = buffer.c_str(); *name; name += names.back().size() + 1)
        names.emplace_back(name);
    return names;
}

}  // namespace morvex::profile
