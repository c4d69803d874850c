#include <gtest/gtest.h>

#include "dialogs/settings_dialogs.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "res/string_ids.h"
#include "tests/dialogs/dialogs_fixture.h"

namespace morvex::test {
namespace {

bool InMask(unsigned long long mask, int code) {
    return code >= 0 && code < 64 && (mask >> code & 1);
}

SettingsDialog Expected(int input, int output) {
    const bool shared = input == 41 || input == 13 || (output <= 20 && InMask(0x146180, output));
    if (shared) return output == 14 ? SettingsDialog::Robcad : SettingsDialog::Healing;
    if (output == 5) return SettingsDialog::Xmt;
    if (output == 39) return SettingsDialog::Pdf;
    if (output == 47) return SettingsDialog::Prc;
    if (output == 50 || (output <= 58 && InMask(0x4c0206014e00000, output)))
        return SettingsDialog::Tessellated;
    return SettingsDialog::Default;
}

TEST(ChooseSettingsDialogTest, FollowsTheCodesOfEveryPair) {
    for (int input = -1; input <= 130; ++input) {
        for (int output = -1; output <= 130; ++output) {
            ASSERT_EQ(ChooseSettingsDialog(input, output), Expected(input, output))
                << input << " to " << output;
        }
    }
}

struct OpenCase {
    const wchar_t* input;
    const wchar_t* output;
    const wchar_t* title;
    int control;  // only in this template
};

using OpenSettingsDialogTest = SettingsTest;

TEST_F(OpenSettingsDialogTest, ShowsTheDialogOfTheChosenFormats) {
    const OpenCase cases[] = {
        {L"STEP", L"CATIA V4", L"Write Settings", 1041},
        {L"STEP", L"Robface facets", L"Write Settings", 1040},
        {L"STEP", L"PARASOLID", L"Settings", 1021},
        {L"STEP", L"PDF 3D", L"PDF Settings", 1070},
        {L"STEP", L"PRC", L"PDF Settings", 1070},
        {L"STEP", L"STL", L"Tesselated Data Write Options", 1058},
        {L"STEP", L"IGES", L"Write Settings", 2057},
    };
    for (const OpenCase& c : cases) {
        context_.settings.formatIn.Set(InputDisplayNameToFilterText(c.input));
        context_.settings.formatOut.Set(OutputDisplayNameToFilterText(c.output));
        std::wstring title;
        bool found = false;
        Drive([&] { EXPECT_TRUE(OpenSettingsDialog(context_, nullptr, prompts_)); },
              [&](const ShownDialog& dialog) {
                  title = Control(dialog.Window()).Text();
                  found = dialog.Item(c.control) != nullptr;
              });
        EXPECT_EQ(title, c.title) << c.output;
        EXPECT_TRUE(found) << c.output;
    }
}

TEST_F(OpenSettingsDialogTest, SaysThatAPairHasNoConfiguration) {
    context_.settings.configFilePath.Set(L"");
    context_.settings.formatIn.Set(InputDisplayNameToFilterText(L"STEP"));
    context_.settings.formatOut.Set(OutputDisplayNameToFilterText(L"STL"));
    EXPECT_FALSE(OpenSettingsDialog(context_, nullptr, prompts_));
    EXPECT_EQ(messages_, std::vector{L"Morvex 2024: " + context_.text(IDS_NO_SETTINGS)});
}

}  // namespace
}  // namespace morvex::test
