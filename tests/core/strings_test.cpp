// The string table as it lies in the program: looked up by number, so that ids, offsets and texts are checked
// together.
#include <windows.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/text_catalogue.h"
#include "res/string_ids.h"

namespace morvex {
namespace {

constexpr int kEndOfBaseIds = 5000;
constexpr int kEndOfIds = 65536;

std::wstring Text(int id) {
    wchar_t buffer[4200];
    const int length = LoadStringW(GetModuleHandleW(nullptr), static_cast<UINT>(id), buffer, 4200);
    return std::wstring(buffer, static_cast<size_t>(length));
}

std::vector<int> ExistingIds(int first, int end) {
    std::vector<int> ids;
    for (int id = first; id < end; ++id) {
        if (!Text(id).empty()) ids.push_back(id);
    }
    return ids;
}

const std::vector<int>& BaseIds() {
    static const std::vector<int> ids = ExistingIds(1, kEndOfBaseIds);
    return ids;
}

// The printf directives of a text in their order, such as "%d%s".
std::wstring Placeholders(const std::wstring& text) {
    std::wstring found;
    for (size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at + 1)) {
        found += text.substr(at, 2);
    }
    return found;
}

TEST(Strings, EnglishTextsHaveTheirNumbersAndWords) {
    constexpr struct {
        int id;
        int number;
        const wchar_t* text;
    } kExpected[] = {
#include "tests/core/expected_texts.inc"
    };
    for (const auto& expected : kExpected) {
        EXPECT_EQ(expected.id, expected.number ? expected.number : expected.id);
        EXPECT_EQ(Text(expected.id), expected.text) << expected.id;
    }
}

TEST(Strings, NoIdOfAGroupLacksItsText) {
    constexpr struct {
        int first;
        int last;
    } kGroups[] = {
        {IDS_CFG_ADVANCED, IDS_CONFIG_FILE},     {IDS_EMPTY_HINT, IDS_NOT_CONVERTED},
        {IDS_CFG_TITLE_WRITE, IDS_UNIT_DEGREE},  {IDS_TIP_INPUT_FORMAT, IDS_TIP_LANGUAGE},
        {IDS_TIP_CFG_FILE, IDS_TIP_CFG_MAX_SAG}, {IDS_LEGAL_INTRO, IDS_LEGAL_MINGW},
    };
    for (const auto& group : kGroups) {
        ASSERT_LT(group.first, group.last);
        for (int id = group.first; id <= group.last; ++id) EXPECT_NE(Text(id), L"") << id;
    }
}

// Others may stand between them.
TEST(Strings, LanguagesHaveTheirOrderAndBlocks) {
    constexpr struct {
        std::wstring_view name;
        int offset;
        const wchar_t* wordForLanguage;
    } kExpected[] = {
        {L"Česky", 50000, L"Jazyk"},     {L"Deutsch", 30000, L"Sprache"}, {L"English", 0, L"Language"},
        {L"Français", 10000, L"Langue"}, {L"Italiano", 20000, L"Lingua"}, {L"Русский", 5000, L"Язык"},
        {L"日本語", 60000, L"言語"},     {L"简体中文", 40000, L"语言"},   {L"한글", 35000, L"언어"}};
    auto from = Languages().begin();
    for (const auto& expected : kExpected) {
        from = std::ranges::find(from, Languages().end(), expected.name, &Language::name);
        ASSERT_NE(from, Languages().end()) << expected.offset;
        EXPECT_EQ(LanguageOffset(expected.name), expected.offset);
        EXPECT_EQ(Text(IDS_LANGUAGE + expected.offset), expected.wordForLanguage);
    }
    for (const wchar_t* unknown : {L"Español", L"english", L""}) EXPECT_EQ(LanguageOffset(unknown), 50000);
}

// A missing text leaves a hole, one under a wrong id or offset is left over: both break the equality.
TEST(Strings, EveryLanguageHasExactlyTheEnglishIds) {
    ASSERT_GT(BaseIds().size(), 150u);
    std::vector<int> expected;
    for (const Language& language : Languages()) {
        for (int id : BaseIds()) expected.push_back(id + language.offset);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(ExistingIds(1, kEndOfIds), expected);
}

TEST(Strings, TextsOfALanguageFitTheEnglishOnes) {
    for (int id : BaseIds()) {
        const std::wstring english = Text(id);
        for (const Language& language : Languages()) {
            SCOPED_TRACE(id + language.offset);
            const std::wstring text = Text(id + language.offset);
            EXPECT_EQ(Placeholders(text), Placeholders(english));
            EXPECT_EQ(text.ends_with(L"..."), english.ends_with(L"..."));
            EXPECT_EQ(text.find(L'&'), std::wstring::npos) << "access keys are assigned at run time";
            EXPECT_EQ(text.find(L'\uFFFD'), std::wstring::npos);
            EXPECT_FALSE(text.starts_with(L' ') || text.ends_with(L' '));
            EXPECT_LT(text.size(), 4000u);
        }
    }
}

TEST(Strings, SentencesAreTranslated) {
    for (int id : BaseIds()) {
        const std::wstring english = Text(id);
        if (english.size() < 25 || id == IDS_LEGAL_MIT) continue;
        for (const Language& language : Languages()) {
            if (language.offset != 0) {
                EXPECT_NE(Text(id + language.offset), english) << language.offset;
            }
        }
    }
}

// The list tells the states of a row apart by these texts, and takes a text of one character for "not run
// yet".
TEST(Strings, StatusTextsOfALanguageCanBeToldApart) {
    constexpr int kStatus[] = {
        IDS_RESULT_KO,           IDS_IN_PROGRESS,           IDS_RESULT_EMPTY_FILE,
        IDS_RESULT_UNKNOWN_TYPE, IDS_RESULT_NO_FILE,        IDS_RESULT_VERSION_NOT_SUPPORTED,
        IDS_RESULT_CANNOT_OPEN,  IDS_RESULT_CORRUPTED,      IDS_RESULT_CANNOT_OPEN_INPUT,
        IDS_RESULT_NO_SCHEMA,    IDS_RESULT_FUTURE_VERSION, IDS_RESULT_CANNOT_WRITE_OUTPUT,
        IDS_NOT_CONVERTED};
    for (const Language& language : Languages()) {
        EXPECT_TRUE(Text(IDS_RESULT_OK + language.offset).starts_with(L"OK")) << language.offset;
        std::vector<std::wstring> texts;
        for (int id : kStatus) {
            texts.push_back(Text(id + language.offset));
            EXPECT_GE(texts.back().size(), 2u) << id + language.offset;
            EXPECT_FALSE(texts.back().starts_with(L"OK")) << id + language.offset;
        }
        std::sort(texts.begin(), texts.end());
        EXPECT_EQ(std::adjacent_find(texts.begin(), texts.end()), texts.end()) << language.offset;
    }
}

}  // namespace
}  // namespace morvex
