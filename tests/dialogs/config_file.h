#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <utility>

#include "win/profile.h"

namespace morvex::test {

using ConfigKey = std::pair<std::wstring, std::wstring>;  // section, key
using ConfigContent = std::map<ConfigKey, std::wstring>;

// Every key of a configuration file with its value as it stands in the file.
inline ConfigContent ReadConfig(const std::wstring& file) {
    ConfigContent content;
    for (const std::wstring& section : profile::SectionNames(file)) {
        std::wstring lines(32768, L'\0');
        GetPrivateProfileSectionW(section.c_str(), lines.data(), static_cast<DWORD>(lines.size()),
                                  file.c_str());
        for (const wchar_t* line = lines.c_str(); *line;) {
            const std::wstring text = line;
            const size_t equals = text.find(L'=');
            content[{section, text.substr(0, equals)}] = text.substr(equals + 1);
            line += text.size() + 1;
        }
    }
    return content;
}

// Writes these keys over the file's.
inline void WriteConfig(const std::wstring& file, const ConfigContent& content) {
    for (const auto& [key, value] : content)
        profile::WriteText(file, key.first.c_str(), key.second.c_str(), value);
}

inline void RemoveKey(const std::wstring& file, const ConfigKey& key) {
    WritePrivateProfileStringW(key.first.c_str(), key.second.c_str(), nullptr, file.c_str());
}

}  // namespace morvex::test
