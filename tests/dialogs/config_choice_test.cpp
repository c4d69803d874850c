// Choosing another configuration file in a settings dialog, and the advanced PDF settings.
#include <gtest/gtest.h>

#include "tests/dialogs/dialogs_fixture.h"

namespace morvex::test {
namespace {

constexpr int kPath = 1085, kLoad = 1071, kDefault = 1072, kWireframe = 1001;
const ConfigKey kWireframeKey = {L"FILTRAGE DE DOMAINE", L"FILAIRE"};

class ConfigChoiceTest : public SettingsTest {
  protected:
    ConfigChoiceTest() { WriteConfig(other_, {{kWireframeKey, L"1"}}); }
    std::wstring StoredPath() const {
        return profile::ReadText(context_.folders.userSettings, L"General", L"Config_File_Path", L"missing");
    }

    const std::wstring other_ = folder_ / L"other file.zel";
};

TEST_F(ConfigChoiceTest, LoadsShowsAndWritesTheChosenFile) {
    chosenFiles_ = {L"C:\\ignored.zel", other_};
    const std::string before = ReadFileBytes(file_);
    Show<CfgNoHealingXmtDlg>([&](const ShownDialog& dialog) {
        EXPECT_FALSE(dialog.Checked(kWireframe));
        dialog.Click(kLoad);
        EXPECT_TRUE(dialog.Checked(kWireframe));
        EXPECT_EQ(dialog.Text(kPath), other_);
        EXPECT_EQ(StoredPath(), other_);
        dialog.Click(kWireframe);
        dialog.Click(IDOK);
    });
    EXPECT_EQ(ReadConfig(other_)[kWireframeKey], L"0");
    EXPECT_EQ(ReadFileBytes(file_), before);
    ASSERT_EQ(fileDialogs_.size(), 1u);
    EXPECT_EQ(fileDialogs_[0].filter, L"Config File (*.zel)|*.zel|");
    EXPECT_EQ(fileDialogs_[0].flags, DWORD{OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY});
    EXPECT_EQ(fileDialogs_[0].bufferCharacters, 100000u);
}

TEST_F(ConfigChoiceTest, IgnoresCancelAndPathsTooShort) {
    for (const std::vector<std::wstring>& answer : {std::vector<std::wstring>{}, {L"C:\\"}}) {
        chosenFiles_ = answer;
        Show<CfgNoHealingXmtDlg>([&](const ShownDialog& dialog) {
            dialog.Click(kWireframe);
            dialog.Click(kLoad);
            EXPECT_TRUE(dialog.Checked(kWireframe));  // not loaded again
            EXPECT_EQ(dialog.Text(kPath), file_);
        });
        EXPECT_EQ(StoredPath(), file_);
    }
}

TEST_F(ConfigChoiceTest, DefaultReturnsToTheDefaultFile) {
    context_.settings.developerMode.Set(true);  // every pair uses the shared file
    context_.settings.configFilePath.Set(other_);
    Show<CfgNoHealingXmtDlg>([&](const ShownDialog& dialog) {
        EXPECT_TRUE(dialog.Checked(kWireframe));
        dialog.Click(kDefault);
        EXPECT_FALSE(dialog.Checked(kWireframe));
        EXPECT_EQ(dialog.Text(kPath), context_.folders.SharedConfig());
        EXPECT_EQ(ReadConfig(context_.folders.SharedConfig()).size(), 61u);
    });
    EXPECT_EQ(StoredPath(), L"");
}

TEST_F(ConfigChoiceTest, SeesEditsMadeByHand) {
    for (const wchar_t* value : {L"1", L"0", L"1"}) {
        WriteConfig(file_, {{kWireframeKey, value}});
        Show<CfgHealingDlg>([&](const ShownDialog& dialog) {
            EXPECT_EQ(dialog.Checked(kWireframe), std::wstring(value) == L"1");
        });
    }
}

TEST_F(ConfigChoiceTest, AdvancedPdfSettingsAreForDevelopersAndDocuments) {
    constexpr int kAdvanced = 3000, kOption = 1076;
    const auto advancedShown = [&](PdfVariant variant) {
        bool shown = false;
        Show<CfgNoHealingPDFDlg>(
            [&](const ShownDialog& dialog) { shown = IsWindowVisible(dialog.Item(kAdvanced)) != FALSE; },
            variant);
        return shown;
    };
    EXPECT_FALSE(advancedShown(PdfVariant::Pdf));
    context_.settings.developerMode.Set(true);
    EXPECT_TRUE(advancedShown(PdfVariant::Pdf));
    EXPECT_FALSE(advancedShown(PdfVariant::Prc));
    const auto openAdvanced = [&](const ShownDialog& dialog) {
        Drive([&] { dialog.Click(kAdvanced); },
              [&](const ShownDialog& advanced) {
                  advanced.Click(kOption);
                  advanced.Click(IDOK);
              });
    };
    Show<CfgNoHealingPDFDlg>(openAdvanced, PdfVariant::Pdf);
    EXPECT_EQ((ReadConfig(file_)[{L"PDF CONF", L"OPTION_1"}]), L"1");
}

}  // namespace
}  // namespace morvex::test
