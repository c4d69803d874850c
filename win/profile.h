#pragma once

#include <span>
#include <string>
#include <vector>

// Profile ("INI") files in the platform's own format: nothing is cached, a write is on disk when it returns.
// A file is replaced as a whole, and processes that write take turns: none reads a half-written one, and no
// write is lost.
namespace morvex::profile {

struct Entry {
    const wchar_t* section;
    const wchar_t* key;
    const wchar_t* value;
};

// The value of the key, cut to `capacity` - 1 characters; `fallback` when file, section or key is missing.
std::wstring ReadText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
                      const std::wstring& fallback, unsigned capacity = 1024);

// The value as a decimal integer (0 for a text that is none); `fallback` when the key is missing.
int ReadInt(const std::wstring& file, const wchar_t* section, const wchar_t* key, int fallback);

// Writes one key, creating file and section as needed. False when the file cannot be written; it is as before
// then.
bool WriteText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
               const std::wstring& value);

// Makes a file of these entries. False, and nothing touched, when a file of that name exists or it cannot be
// made.
bool Create(const std::wstring& file, std::span<const Entry> entries);

// The section names in file order; empty when the file is missing.
std::vector<std::wstring> SectionNames(const std::wstring& file);

}  // namespace morvex::profile
