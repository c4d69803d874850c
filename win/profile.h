#pragma once

#include <string>
#include <vector>

// Profile ("INI") files through the platform's own functions: nothing is cached, a write is on disk when it
// returns.
namespace morvex::profile {

// The value of the key, cut to `capacity` - 1 characters; `fallback` when file, section or key is missing.
std::wstring ReadText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
                      const std::wstring& fallback, unsigned capacity = 1024);

// The value as a decimal integer (0 for a text that is none); `fallback` when the key is missing.
int ReadInt(const std::wstring& file, const wchar_t* section, const wchar_t* key, int fallback);

// Writes one key, creating file and section as needed. False when the file cannot be written.
bool WriteText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
               const std::wstring& value);

// The section names in file order; empty when the file is missing.
std::vector<std::wstring> SectionNames(const std::wstring& file);

}  // namespace morvex::profile
