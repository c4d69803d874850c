#include <gtest/gtest.h>

#include "dialogs/about_dlg.h"
#include "dialogs/options_dlg.h"
#include "dialogs/version_text.h"
#include "res/string_ids.h"
#include "tests/dialogs/dialogs_fixture.h"
#include "tests/support/library_log.h"

namespace morvex::test {
namespace {

constexpr int kLanguages = 1030, kVersion = 2027, kAbout = 122;

class OptionsTest : public SettingsTest {
  protected:
    void ShowOptions(const DialogScript& script) {
        Drive(
            [&] {
                OptionsDlg(context_, [this] { heard_.push_back(context_.text.Language()); }).Run(nullptr);
            },
            script);
    }
    // Chooses as a user does: the list sends its notification.
    static void Choose(const ShownDialog& dialog, const std::wstring& language) {
        EXPECT_TRUE(ComboBox(dialog.Item(kLanguages)).SelectText(language));
        SendMessageW(dialog.Window(), WM_COMMAND, MAKEWPARAM(kLanguages, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(dialog.Item(kLanguages)));
    }
    std::wstring StoredLanguage() const {
        return profile::ReadText(context_.folders.userSettings, L"Options", L"Language", L"missing");
    }

    std::vector<std::wstring> heard_;
};

TEST_F(OptionsTest, ListsTheLanguagesInTheirOrder) {
    ShowOptions([](const ShownDialog& dialog) {
        const ComboBox list(dialog.Item(kLanguages));
        ASSERT_EQ(list.Count(), static_cast<int>(Languages().size()));
        int place = 0;
        for (const Language& language : Languages()) EXPECT_EQ(list.TextAt(place++), language.name);
        EXPECT_EQ(list.SelectedText(), L"English");
        RECT closed;
        GetWindowRect(list.Handle(), &closed);
        EXPECT_EQ(closed.right - closed.left, 200);  // at 96 dpi
    });
}

TEST_F(OptionsTest, ALanguageTakesEffectAtOnceAndIsStored) {
    ShowOptions([&](const ShownDialog& dialog) {
        Choose(dialog, L"English");
        EXPECT_EQ(StoredLanguage(), L"missing");
        for (const std::wstring language : {L"Deutsch", L"日本語", L"Česky"}) {
            Choose(dialog, language);
            EXPECT_EQ(StoredLanguage(), language);
            EXPECT_EQ(context_.settings.language.Get(), language);
            EXPECT_EQ(Control(dialog.Window()).Text(), context_.text(IDS_OPTIONS));
            EXPECT_EQ(dialog.Text(IDS_COMPUTER_NAME), context_.text(IDS_COMPUTER_NAME));
        }
        EXPECT_NE(context_.text(IDS_OPTIONS), L"Options");
    });
    EXPECT_EQ(heard_, (std::vector<std::wstring>{L"Deutsch", L"日本語", L"Česky"}));
}

TEST_F(OptionsTest, TellsTheVersionOfTheLibraryInItsFolder) {
    const std::wstring program = L"Morvex 2024 Advanced 64-bit V2024.4  (2024.09.30)\n";
    ShowOptions([&](const ShownDialog& dialog) {
        EXPECT_EQ(dialog.Text(kVersion), program + L"Polyvane.dll (V..)");
    });
    context_.folders.library = LibraryLog::LibraryPath();
    ShowOptions([&](const ShownDialog& dialog) {
        EXPECT_EQ(dialog.Text(kVersion), program + L"Polyvane.dll V2024.4 (2024.09.30)");
    });
    EXPECT_EQ(VersionText(LibraryVersion{251, 512, true}), program + L"PolyvaneZel.dll V2025.1 (512)");
}

TEST_F(OptionsTest, AboutShowsTheWholeLegalNotice) {
    ShowOptions([](const ShownDialog& dialog) {
        Drive([&] { dialog.Click(kAbout); },
              [](const ShownDialog& about) {
                  const std::wstring notice = about.Text(1033);
                  size_t from = 0;
                  for (const wchar_t* part : {L"MIT", L"Copyright (c)", L"WITHOUT WARRANTY", L"Open CASCADE",
                                              L"assimp", L"GCC", L"mingw-w64"}) {
                      from = notice.find(part, from);
                      EXPECT_NE(from, notice.npos) << testing::PrintToString(part);
                  }
                  EXPECT_EQ(notice.find(L"\n\n"), notice.npos);  // an edit control shows no bare line feed
              });
        EXPECT_TRUE(dialog.Open());
    });
}

}  // namespace
}  // namespace morvex::test
