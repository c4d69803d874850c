// The edits of the settings dialogs: the tessellation group and the Robcad limits.
#include <gtest/gtest.h>

#include "tests/dialogs/dialogs_fixture.h"

namespace morvex::test {
namespace {

constexpr int kLinear = 1006, kAngular = 1007, kSlider = 1058, kLinearOff = 1059, kAngularOff = 1018;
constexpr int kExisting = 1068, kForce = 1069;
const ConfigKey kLinearKey = {L"STL CONF", L"LINEAR_TOL"};
const ConfigKey kAngularKey = {L"STL CONF", L"ANGULAR_TOL"};

class TolerancesTest : public SettingsTest {
  protected:
    std::wstring Value(const ConfigKey& key) const { return ReadConfig(file_)[key]; }
    void Set(const wchar_t* key, const std::wstring& value) {
        WriteConfig(file_, {{{L"STL CONF", key}, value}});
    }
    static int Position(const ShownDialog& dialog) { return Slider(dialog.Item(kSlider)).Position(); }
    static bool ReadOnly(const ShownDialog& dialog, int id) { return Edit(dialog.Item(id)).ReadOnly(); }
};

TEST_F(TolerancesTest, FreshFileUsesExistingMeshes) {
    Show<CfgNoHealingSTLDlg>([](const ShownDialog& dialog) {
        EXPECT_TRUE(dialog.Checked(kExisting));
        EXPECT_EQ(dialog.Text(kLinear), L"0.10000");
        EXPECT_EQ(dialog.Text(kAngular), L"10.00");
        EXPECT_EQ(Position(dialog), 10);
        for (const int id : {kLinear, kAngular, kSlider, kLinearOff, kAngularOff})
            EXPECT_FALSE(dialog.Enabled(id));
    });
}

TEST_F(TolerancesTest, AreShownFromTheFile) {
    struct {
        const wchar_t *linear, *angular, *shownLinear, *shownAngular;
        int slider;
    } const cases[] = {
        {L"0.1000000", L" 0.174532", L"0.10000", L"10.00", 10},
        {L"2.5", L"0.6108652", L"2.50000", L"35.00", 35},
        {L"0", L"9.9", L"0.10000", L"90.00", 90},
        {L"-3", L"0", L"0.10000", L"0.00", 0},
        {L"fine", L"steep", L"0.10000", L"0.00", 0},
        {L"1e999", L"nan", L"0.10000", L"0.00", 0},
        {L"12 mm", L"0.6021385", L"12.00000", L"34.50", 35},
    };
    Set(L"USE_TESSEL", L"0");
    Set(L"ANGULAR_DIS", L"0");
    Set(L"LINEAR_DIS", L"0");
    for (const auto& c : cases) {
        Set(L"LINEAR_TOL", c.linear);
        Set(L"ANGULAR_TOL", c.angular);
        Show<CfgNoHealingSTLDlg>([&](const ShownDialog& dialog) {
            EXPECT_EQ(dialog.Text(kLinear), c.shownLinear);
            EXPECT_EQ(dialog.Text(kAngular), c.shownAngular);
            EXPECT_EQ(Position(dialog), c.slider) << c.angular;
        });
    }
}

TEST_F(TolerancesTest, AreSavedAsTyped) {
    struct {
        const wchar_t *linear, *angular, *savedLinear, *savedAngular;
    } const cases[] = {
        {L"0.25", L"10", L"0.25", L"0.174533"},
        {L"007.50", L"34.5", L"007.50", L"0.602139"},
        {L"0", L"0", L"0.10000", L"1.570796"},
        {L"-1", L"-5", L"0.10000", L"1.570796"},
        {L"coarse", L"", L"0.10000", L"1.570796"},
        {L"", L"90", L"0.10000", L"1.570796"},
        {L"1e400", L"inf", L"0.10000", L"1.570796"},
        {L"0,5", L"1,5", L"0.5", L"0.026180"},
        {L"  0.5 mm ", L" 34,5 \u00b0", L"0.5", L"0.602139"},
        {L".5", L"0.01", L".5", L"0.001000"},
    };
    for (const auto& c : cases) {
        Show<CfgNoHealingSTLDlg>([&](const ShownDialog& dialog) {
            dialog.Type(kLinear, c.linear);
            dialog.Type(kAngular, c.angular);
            dialog.Click(IDOK);
        });
        EXPECT_EQ(Value(kLinearKey), c.savedLinear) << c.linear;
        EXPECT_EQ(Value(kAngularKey), c.savedAngular) << c.angular;
    }
}

// Leaving an edit shows what will be stored, with a remark, where that is not what was typed.
TEST_F(TolerancesTest, WhatCannotBeUsedGivesWay) {
    struct {
        int edit;
        const wchar_t *typed, *shown;
    } const cases[] = {{kLinear, L"coarse", L"0.10000"}, {kLinear, L"-1", L"0.10000"},
                       {kLinear, L" 0,5 mm", L""},       {kAngular, L"120", L"90.00"},
                       {kAngular, L"0", L"90.00"},       {kAngular, L"0.01", L"0.06"},
                       {kAngular, L"34,5", L""},         {kLinear, L"1e-3", L""}};
    const auto remark = [](HWND owner) {
        HWND shown = nullptr;
        for (HWND tip = nullptr; (tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr));) {
            if (GetWindow(tip, GW_OWNER) == owner && IsWindowVisible(tip)) shown = tip;
        }
        return shown != nullptr;
    };
    Set(L"USE_TESSEL", L"0");
    Set(L"ANGULAR_DIS", L"0");
    Set(L"LINEAR_DIS", L"0");
    Show<CfgNoHealingSTLDlg>([&](const ShownDialog& dialog) {
        for (const auto& c : cases) {
            SetFocus(dialog.Item(c.edit));
            EXPECT_FALSE(remark(dialog.Window())) << c.typed;
            dialog.Type(c.edit, c.typed);
            SetFocus(dialog.Item(IDOK));
            const bool corrected = *c.shown != 0;
            EXPECT_EQ(dialog.Text(c.edit), corrected ? c.shown : c.typed);
            EXPECT_EQ(remark(dialog.Window()), corrected) << c.typed;
        }
    });
}

// OK, pressed by Enter in the edit or by a click on the button, does not take a number that it would change.
TEST_F(TolerancesTest, OkComesBackToATypedNumberThatGivesWay) {
    Set(L"USE_TESSEL", L"0");
    Set(L"LINEAR_DIS", L"0");
    for (const bool byEnter : {true, false}) {
        Show<CfgNoHealingSTLDlg>([&](const ShownDialog& dialog) {
            const auto ok = [&] {
                if (byEnter)
                    SendMessageW(dialog.Window(), WM_COMMAND, IDOK, 0);
                else
                    dialog.Click(IDOK);
            };
            SetFocus(dialog.Item(kLinear));
            SendMessageW(dialog.Item(kLinear), EM_SETSEL, 0, -1);
            for (const wchar_t c : std::wstring(L"-2")) SendMessageW(dialog.Item(kLinear), WM_CHAR, c, 0);
            ok();
            ASSERT_TRUE(dialog.Open());
            EXPECT_EQ(GetFocus(), dialog.Item(kLinear));
            EXPECT_EQ(dialog.Text(kLinear), L"0.10000");
            ok();
            EXPECT_FALSE(dialog.Open());
        });
    }
}

TEST_F(TolerancesTest, AreEnabledByTheirSwitches) {
    Set(L"ANGULAR_TOL", L"0.6108652");  // 35 degrees
    Show<CfgNoHealingSTLDlg>([](const ShownDialog& dialog) {
        dialog.Click(kForce);
        EXPECT_FALSE(dialog.Enabled(kLinear));
        EXPECT_FALSE(dialog.Enabled(kSlider));
        EXPECT_TRUE(ReadOnly(dialog, kAngular));
        EXPECT_EQ(Position(dialog), 10);

        dialog.Click(kLinearOff);
        EXPECT_TRUE(dialog.Enabled(kLinear));
        EXPECT_FALSE(dialog.Enabled(kSlider));
        dialog.Click(kAngularOff);
        EXPECT_TRUE(dialog.Enabled(kSlider));
        EXPECT_TRUE(dialog.Enabled(kAngular));
        EXPECT_FALSE(ReadOnly(dialog, kAngular));
        EXPECT_EQ(Position(dialog), 35);

        dialog.Click(kExisting);
        for (const int id : {kLinear, kAngular, kSlider, kLinearOff, kAngularOff})
            EXPECT_FALSE(dialog.Enabled(id));
    });
}

TEST_F(TolerancesTest, SliderAndEditFollowEachOther) {
    Show<CfgNoHealingSTLDlg>([](const ShownDialog& dialog) {
        dialog.Click(kForce);
        dialog.Click(kAngularOff);
        Slider(dialog.Item(kSlider)).SetPosition(41);
        SendMessageW(dialog.Window(), WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 41),
                     reinterpret_cast<LPARAM>(dialog.Item(kSlider)));
        EXPECT_EQ(dialog.Text(kAngular), L"41.00");
        dialog.Type(kAngular, L"60.2");
        EXPECT_EQ(Position(dialog), 60);
        EXPECT_EQ(dialog.Text(kAngular), L"60.2");
    });
}

TEST_F(TolerancesTest, MeanNothingForAnExactPdf) {
    Set(L"USE_TESSEL", L"0");
    Set(L"LINEAR_DIS", L"0");
    WriteConfig(file_, {{{L"PDF CONF", L"3D_FORMAT"}, L"1"}});
    const auto script = [](const ShownDialog& dialog) {
        for (const int id : {kLinear, kAngular, kSlider, kLinearOff, kAngularOff})
            EXPECT_FALSE(dialog.Enabled(id));
        dialog.Click(1074);  // triangles as well
        EXPECT_TRUE(dialog.Enabled(kLinear));
        dialog.Click(1073);
        EXPECT_FALSE(dialog.Enabled(kLinear));
    };
    Show<CfgNoHealingPDFDlg>(script, PdfVariant::Pdf);
}

TEST_F(TolerancesTest, RobcadLimitsAreSavedAsTypedAndTheLengthAsAnInteger) {
    struct {
        const wchar_t *length, *angle, *sag, *savedLength;
    } const cases[] = {{L"20", L"30", L"0.5", L"20"},
                       {L"007", L" 12,5", L"1e3", L"7"},
                       {L"", L"abc", L"", L"0"},
                       {L"-4x", L"0", L"-1", L"-4"}};
    Show<CfgRobcadDlg>([](const ShownDialog& dialog) {
        EXPECT_EQ(dialog.Text(1040) + L"|" + dialog.Text(1041) + L"|" + dialog.Text(1042), L"14|45|1");
    });
    for (const auto& c : cases) {
        Show<CfgRobcadDlg>([&](const ShownDialog& dialog) {
            dialog.Type(1040, c.length);
            dialog.Type(1041, c.angle);
            dialog.Type(1042, c.sag);
            dialog.Click(IDOK);
        });
        EXPECT_EQ(Value({L"ROBCAD CONF", L"NAME_LENGTH"}), c.savedLength);
        // The platform's reader drops blanks around a value.
        EXPECT_EQ(Value({L"ROBCAD CONF", L"WRITE_MAX_ANGLE"}), c.angle + (c.angle[0] == L' '));
        EXPECT_EQ(Value({L"ROBCAD CONF", L"WRITE_MAX_SAG"}), c.sag);
    }
}

}  // namespace
}  // namespace morvex::test
