#pragma once

#include <span>
#include <string>
#include <string_view>

namespace morvex {

struct Language {
    const wchar_t* name;  // in itself, as the settings store it
    int offset;           // of its block of string ids
};

// The interface languages in the order of the options list.
std::span<const Language> Languages();

// The offset of a language's block. A name that is no language gives the block of the Czech texts.
int LanguageOffset(std::wstring_view name);

// User-interface texts by their English string id in the chosen language. Belongs to the user-interface
// thread once it runs; runs get the texts they need from RunTexts.
class TextCatalogue {
  public:
    // The program's resources hold the texts.
    void SetLanguage(const std::wstring& name);
    const std::wstring& Language() const { return language_; }

    // The text of a base id (res/string_ids.h); the English one where the language lacks it, else empty.
    std::wstring operator()(int id) const;

  private:
    std::wstring language_ = L"English";
    int offset_ = 0;
};

// printf-style formatting into a text of any length; %s takes wide texts.
std::wstring Format(const wchar_t* pattern, ...);

}  // namespace morvex
