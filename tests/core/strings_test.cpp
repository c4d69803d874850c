// The string table as it lies in the program: looked up by number, so that ids, offsets and texts are checked
// together.
#include <windows.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "res/string_ids.h"

namespace {

constexpr int kEndOfBaseIds = 5000;
constexpr int kEndOfIds = 65536;

struct Language {
    int offset;
    const wchar_t* wordForLanguage;
};

constexpr Language kLanguages[] = {
    {0, L"Language"}, {5000, L"Язык"},  {10000, L"Langue"}, {20000, L"Lingua"}, {30000, L"Sprache"},
    {35000, L"언어"}, {40000, L"语言"}, {50000, L"Jazyk"},  {60000, L"言語"},
};

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
        {IDS_QUIT, 2, L"Quit"},
        {IDS_OPTIONS, 3, L"Options"},
        {IDS_ABOUT, 101, L"About"},
        {IDS_ADD_FILES, 1004, L"Add Files"},
        {IDS_RUN_CONVERSION, 1005, L"Run Conversion"},
        {IDS_EMPTY_LIST, 1006, L"Empty List"},
        {IDS_INPUT_FORMAT, 1008, L"Input Format :"},
        {IDS_OUTPUT_FORMAT, 1009, L"Output Format :"},
        {IDS_OUTPUT_FOLDER, 1010, L"Output Folder :"},
        {IDS_WRITE_INTO_INPUT_FOLDER, 1014, L"Write into input folder"},
        {IDS_CURRENT_FILE, 1026, L"Current file :"},
        {IDS_FILES_CONVERTED, 1027, L"Files converted :"},
        {IDS_INFORMATION, 1028, L"Information"},
        {IDS_LANGUAGE, 1029, L"Language"},
        {IDS_COMPUTER_NAME, 1031, L"Computer Name"},
        {IDS_SELECT_FOLDER, 1035, L"Select a folder :"},
        {IDS_TRANSLATION_IN_PROGRESS, 2000, L"Translation in progress..."},
        {IDS_FILENAME, 2002, L"Filename"},
        {IDS_SIZE, 2003, L"Size"},
        {IDS_FOLDER, 2004, L"Folder"},
        {IDS_STATUS, 2005, L"Status"},
        {IDS_COMPONENT_MISSING, 2006, L"A component is missing"},
        {IDS_RESULT_OK, 2007, L"OK"},
        {IDS_RESULT_KO, 2008, L"KO"},
        {IDS_IN_PROGRESS, 2009, L"In progress..."},
        {IDS_ADD_FOLDER, 2011, L"Add Folder"},
        {IDS_ADD_FOLDER_RECURSIVE, 2012, L"Add Folder (Recursive)"},
        {IDS_REMOVE_FROM_LIST, 2013, L"Remove from the list"},
        {IDS_OPEN_CONTAINING_FOLDER, 2014, L"Open containing folder"},
        {IDS_OPEN_OUTPUT_FOLDER, 2015, L"Open output folder"},
        {IDS_SAVE_RESULTS_REPORT, 2016, L"Save Results Report"},
        {IDS_BROWSE, 2018, L"Browse"},
        {IDS_MOVE_UP, 2019, L"Move up list"},
        {IDS_MOVE_DOWN, 2020, L"Move down list"},
        {IDS_ONLY, 2021, L"Only"},
        {IDS_FILES_CAN_BE_ADDED, 2022, L"files can be added!"},
        {IDS_LOAD_LIST, 2023, L"Load a list of files to be converted"},
        {IDS_SAVE_LIST, 2024, L"Save the list of files to be converted"},
        {IDS_LIST_FILE_NOT_VALID, 2025, L"The selected file is not valid or corrupted!"},
        {IDS_HEALING, 2028, L"Healing"},
        {IDS_CONFIGURE, 2029, L"Configure"},
        {IDS_MULTIPROCESS, 2030, L"Multiprocess"},
        {IDS_RESULT_EMPTY_FILE, 2037, L"Empty File"},
        {IDS_RESULT_UNKNOWN_TYPE, 2038, L"Unknown File Type"},
        {IDS_RESULT_NO_FILE, 2039, L"No File"},
        {IDS_RESULT_VERSION_NOT_SUPPORTED, 2040, L"File version Not Supported"},
        {IDS_RESULT_CANNOT_WRITE_OUTPUT, 2041, L"Cannot write Output File"},
        {IDS_RESULT_CANNOT_OPEN_INPUT, 2042, L"Cannot open Input File"},
        {IDS_RESULT_NO_SCHEMA, 2043, L"No Schema Directory"},
        {IDS_RESULT_CORRUPTED, 2045, L"Corrupted File"},
        {IDS_RESULT_CANNOT_OPEN, 2046, L"Cannot open File"},
        {IDS_OUTPUT_FOLDER_NOT_VALID, 2051, L"Output folder is not valid!"},
        {IDS_SAVE_INFORMATION, 2052, L"Save Information"},
        {IDS_COPY_FILE_PATH, 2056, L"Copy file path"},
        {IDS_ADD_FILES_RECURSIVE, 2057, L"Add Files (Recursive)"},
        {IDS_REPLACE_FILES, 2058, L"Replace Files"},
        {IDS_REPLACE_FILES_RECURSIVE, 2059, L"Replace Files (Recursive)"},
        {IDS_SAVE_LIST_PYTHON, 2060, L"Save the list of files to be converted (Python)"},
        {IDS_CONVERT_AT_STARTUP, 2061, L"Convert At Startup"},
        {IDS_RESULT_FUTURE_VERSION, 2062, L"Future File Version Not Yet Supported"},
        {IDS_OVERRIDE, 2063, L"Override"},
        {IDS_ADD_RECENT_FILE, 2076, L"Add Recent File"},
    };
    for (const auto& expected : kExpected) {
        EXPECT_EQ(expected.id, expected.number);
        EXPECT_EQ(Text(expected.number), expected.text) << expected.number;
    }
}

TEST(Strings, EnglishCaptionsOfTheSettingsDialogs) {
    constexpr struct {
        int id;
        const wchar_t* text;
    } kExpected[] = {
        {IDS_CFG_TITLE_WRITE, L"Write Settings"},
        {IDS_CFG_TITLE_SETTINGS, L"Settings"},
        {IDS_CFG_TITLE_PDF, L"PDF Settings"},
        {IDS_CFG_TITLE_TESSELLATED, L"Tesselated Data Write Options"},
        {IDS_CFG_TITLE_PDF_ADVANCED, L"Advanced PDF Settings"},
        {IDS_CFG_ADVANCED, L"Advanced"},
        {IDS_CFG_OPTION_1, L"Option 1"},
        {IDS_DOTS, L"..."},
        {IDS_DEFAULT, L"Default"},
        {IDS_CFG_BLANKED, L"Blanked Entities"},
        {IDS_CFG_DELETE, L"Delete"},
        {IDS_CFG_WRITE_BLANKED, L"Write blanked"},
        {IDS_CFG_WRITE_VISIBLE, L"Write as visible"},
        {IDS_CFG_PART_CATALOG, L"Part Catalog"},
        {IDS_CFG_AXIS_PLACEMENT, L"Axis Placement"},
        {IDS_CFG_LAYER_FILTERS, L"Layer Filters"},
        {IDS_CFG_REFERENCE_SET_FILTERS, L"Reference Set Filters"},
        {IDS_CFG_CONVERT_ALL, L"Convert All"},
        {IDS_CFG_CONVERT_DEFAULT, L"Convert default"},
        {IDS_CFG_USE_NONE, L"Use None"},
        {IDS_CFG_USE_DEFAULT, L"Use default"},
        {IDS_CFG_OPEN_DIALOG, L"Open dialog box"},
        {IDS_CFG_OPEN_DIALOG_REFERENCE_SET, L"Open Dialog Box"},
        {IDS_CFG_WIREFRAME, L"Wireframe"},
        {IDS_CFG_FDT, L"FDT"},
        {IDS_CFG_FDT_PMI, L"FDT / PMI"},
        {IDS_CFG_RENDER, L"Render"},
        {IDS_CFG_MODEL_DISPLAY, L"Model Display"},
        {IDS_CFG_METADATA, L"Metadata"},
        {IDS_CFG_GEOM_LINK, L"Geom Link"},
        {IDS_CFG_BODY, L"Body"},
        {IDS_CFG_MESH, L"Mesh"},
        {IDS_CFG_NURBS, L"All geometric entities as NURBS"},
        {IDS_CFG_SOLID_AS_GROUP, L"Solid as group"},
        {IDS_CFG_KEEP_ASSEMBLY, L"Keep assembly information"},
        {IDS_CFG_SIMPLIFY_TREE, L"Simplify Tree"},
        {IDS_CFG_USE_EXISTING_MESHES, L"Use Existing Meshes"},
        {IDS_CFG_FORCE_TESSELLATION, L"Force Tessellation"},
        {IDS_CFG_CURRENT_VALUE_MM, L"Current Value (in MM)"},
        {IDS_CFG_CURRENT_VALUE_DEGREE, L"Current Value (in Degree)"},
        {IDS_CFG_DISABLE, L"Disable"},
        {IDS_CFG_BREP, L"Brep"},
        {IDS_CFG_MESH_AND_BREP, L"Mesh + Brep"},
        {IDS_CFG_NAME_LENGTH, L"Max Filename Length:"},
        {IDS_CFG_MAX_ANGLE, L"Max Angle (Radius):"},
        {IDS_CFG_MAX_SAG, L"Max Sag:"},
    };
    for (const auto& expected : kExpected) EXPECT_EQ(Text(expected.id), expected.text);
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

// A missing text leaves a hole, one under a wrong id or offset is left over: both break the equality.
TEST(Strings, EveryLanguageHasExactlyTheEnglishIds) {
    ASSERT_GT(BaseIds().size(), 150u);
    std::vector<int> expected;
    for (const Language& language : kLanguages) {
        EXPECT_EQ(Text(IDS_LANGUAGE + language.offset), language.wordForLanguage);
        for (int id : BaseIds()) expected.push_back(id + language.offset);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(ExistingIds(1, kEndOfIds), expected);
}

TEST(Strings, TextsOfALanguageFitTheEnglishOnes) {
    for (int id : BaseIds()) {
        const std::wstring english = Text(id);
        for (const Language& language : kLanguages) {
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
        for (const Language& language : kLanguages) {
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
    for (const Language& language : kLanguages) {
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
