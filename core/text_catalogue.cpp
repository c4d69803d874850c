#include "core/text_catalogue.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cwchar>

#include "res/string_ids.h"

namespace morvex {
namespace {

// String tables come in blocks of 16 texts, each its length followed by its units. Read here and not with
// LoadStringW, which lives in the window library: a child process would load that for nothing else.
std::wstring LoadText(int id) {
    constexpr int kBlock = 16;
    const HRSRC found = FindResourceW(nullptr, MAKEINTRESOURCEW(id / kBlock + 1), RT_STRING);
    const HGLOBAL loaded = found ? LoadResource(nullptr, found) : nullptr;
    const auto* text = loaded ? static_cast<const wchar_t*>(LockResource(loaded)) : nullptr;
    if (!text) return {};
    for (int skip = id % kBlock; skip > 0; --skip) text += 1 + *text;
    return {text + 1, static_cast<size_t>(*text)};
}

constexpr auto kLanguages = std::to_array<Language>({
    {L"Česky", TEXT_OFFSET_CZECH},
    {L"Deutsch", TEXT_OFFSET_GERMAN},
    {L"English", 0},
    {L"Français", TEXT_OFFSET_FRENCH},
    {L"Italiano", TEXT_OFFSET_ITALIAN},
    {L"Русский", TEXT_OFFSET_RUSSIAN},
    {L"日本語", TEXT_OFFSET_JAPANESE},
    {L"简体中文", TEXT_OFFSET_CHINESE},
    {L"한글", TEXT_OFFSET_KOREAN},
});

}  // namespace

std::span<const Language> Languages() {
    return kLanguages;
}

int LanguageOffset(std::wstring_view name) {
    const auto found = std::ranges::find(kLanguages, name, &Language::name);
    return found == kLanguages.end() ? TEXT_OFFSET_CZECH : found->offset;
}

void TextCatalogue::SetLanguage(const std::wstring& name) {
    language_ = name;
    offset_ = LanguageOffset(name);
}

std::wstring TextCatalogue::operator()(int id) const {
    std::wstring text = LoadText(id + offset_);
    return text.empty() && offset_ != 0 ? LoadText(id) : text;
}

std::wstring Format(const wchar_t* pattern, ...) {
    std::wstring text(128, L'\0');
    for (;;) {
        va_list arguments;
        va_start(arguments, pattern);
        const int length = _vsnwprintf(text.data(), text.size(), pattern, arguments);
        va_end(arguments);
        if (length >= 0 && static_cast<size_t>(length) < text.size()) {
            text.resize(static_cast<size_t>(length));
            return text;
        }
        text.resize(text.size() * 2);
    }
}

}  // namespace morvex
