#include "core/settings.h"

#include <gtest/gtest.h>
#include <thread>

#include "core/conversion_config.h"
#include "core/default_config.h"
#include "core/start_up.h"
#include "tests/support/temp_folder.h"
#include "win/profile.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::TempFolder;

// A program and a user folder of their own, with settings files as a test writes them.
struct Places {
    TempFolder folder;
    ProgramFolders folders = MakeProgramFolders(folder.Path(), folder.Path());

    void Installation(const std::wstring& text) { WriteTextFile(folders.installationSettings, text); }
    void User(const std::wstring& text) { WriteTextFile(folders.userSettings, text); }
    std::wstring Stored(const wchar_t* key, const wchar_t* section = L"General") {
        return profile::ReadText(folders.userSettings, section, key, L"(none)");
    }
};

TEST(Settings, HaveDefaultsWithoutFiles) {
    Places places;
    AppSettings settings(places.folders);
    settings.Load();
    EXPECT_EQ(settings.outputFolder.Get(), L"C:\\");
    EXPECT_EQ(settings.inputFolder.Get(), L"C:\\");
    EXPECT_EQ(settings.formatIn.Get() + settings.formatOut.Get() + settings.configFilePath.Get(), L"");
    EXPECT_TRUE(settings.firstLaunch.Get());
    EXPECT_FALSE(settings.UseOutputFolder());
    for (const SwitchSetting* off :
         {&settings.inputPathInName, &settings.writeCrashLog, &settings.healing, &settings.disableGuard,
          &settings.developerMode, &settings.multiprocess, &settings.convertAtStartup,
          &settings.loadLastState, &settings.addNativeFormat, &settings.fillOverride}) {
        EXPECT_FALSE(off->Get());
    }
    EXPECT_EQ(settings.Theme(), (Colour{43, 61, 79}));
    EXPECT_EQ(settings.developerTheme.Get(), (Colour{43, 80, 79}));
    EXPECT_EQ(settings.language.Get(), L"English");
    EXPECT_EQ(places.Stored(L"FirstLaunch"), L"0");
}

TEST(Settings, ReadWhatIsStored) {
    Places places;
    places.User(
        L"[General]\nOutput_folder=D:\\\u8f93\u51fa\nInput_folder_GUI=E:\\in\nFormat_in=i\nFormat_out=o\n"
        L"FirstLaunch=0\nHealing=1\nSameFolderAsInput=2\nConfig_File_Path=" +
        places.folder / L"my.zel" + L"\n[Options]\nLanguage=Deutsch\n");
    places.Installation(
        L"[General]\nAddInputFilePathToOutputFileName=1\nWriteLogFileIfCrash=1\nDisableTryCatch=1\n"
        L"DeveloperMode=1\nConvertAtStartup=1\nLoadLastState=1\nAddZelWbi=1\nDefaultTheme=4,5,6\n"
        L"DeveloperTheme=1,2,3\n");
    WriteTextFile(places.folder / L"my.zel", L"[INTERNAL CONF]\nFILL_OVERRIDE=1\n");
    AppSettings settings(places.folders);
    settings.Load();
    EXPECT_EQ(settings.outputFolder.Get(), L"D:\\\u8f93\u51fa");
    EXPECT_EQ(settings.inputFolder.Get(), L"E:\\in");
    EXPECT_EQ(settings.formatIn.Get() + settings.formatOut.Get(), L"io");
    EXPECT_EQ(settings.language.Get(), L"Deutsch");
    EXPECT_TRUE(settings.UseOutputFolder());  // only 1 means beside the input
    EXPECT_FALSE(settings.firstLaunch.Get());
    for (const SwitchSetting* on :
         {&settings.inputPathInName, &settings.writeCrashLog, &settings.healing, &settings.disableGuard,
          &settings.developerMode, &settings.convertAtStartup, &settings.loadLastState,
          &settings.addNativeFormat, &settings.fillOverride}) {
        EXPECT_TRUE(on->Get());
    }
    EXPECT_TRUE(settings.CrashLogOn());
    EXPECT_EQ(settings.defaultTheme.Get(), (Colour{4, 5, 6}));
    EXPECT_EQ(settings.Theme(), (Colour{1, 2, 3}));
}

TEST(Settings, KeepTheirDefaultsForOddValues) {
    Places places;
    places.Installation(
        L"[General]\nMultiprocess=1\nWriteLogFileIfCrash=1\nDefaultTheme=10,20\nDeveloperMode=yes\n"
        L"AddZelWbi=2\n");
    AppSettings settings(places.folders);
    settings.Load();
    EXPECT_EQ(settings.defaultTheme.Get(), (Colour{43, 61, 79}));
    EXPECT_FALSE(settings.developerMode.Get());
    EXPECT_FALSE(settings.addNativeFormat.Get());
    EXPECT_TRUE(settings.multiprocess.Get());
    EXPECT_FALSE(settings.CrashLogOn());  // Multiprocess turns it off
}

TEST(Settings, AreWrittenAtOnceToTheirFile) {
    Places places;
    places.User(L"");
    AppSettings settings(places.folders);
    settings.Load();
    settings.outputFolder.Set(L"E:\\\u0432\u044b\u0432\u043e\u0434");
    settings.besideInput.Set(false);
    settings.multiprocess.Set(true);
    settings.language.Set(L"\u65e5\u672c\u8a9e");
    EXPECT_EQ(places.Stored(L"Output_folder"), L"E:\\\u0432\u044b\u0432\u043e\u0434");
    EXPECT_EQ(places.Stored(L"SameFolderAsInput"), L"0");
    EXPECT_EQ(places.Stored(L"Language", L"Options"), L"\u65e5\u672c\u8a9e");
    EXPECT_EQ(profile::ReadInt(places.folders.installationSettings, L"General", L"Multiprocess", 0), 1);
    EXPECT_TRUE(settings.UseOutputFolder());
    WriteTextFile(places.folders.SharedConfig(), L"[INTERNAL CONF]\nFILL_OVERRIDE=1\n");
    settings.configFilePath.Set(places.folder / L"gone.zel");
    AppSettings again(places.folders);
    again.Load();
    EXPECT_TRUE(again.fillOverride.Get());
    settings.configFilePath.Set(places.folder / L"chosen later.zel");
    settings.SetFillOverride(true);
    EXPECT_EQ(profile::ReadInt(settings.configFilePath.Get(), L"INTERNAL CONF", L"FILL_OVERRIDE", 0), 1);
    EXPECT_EQ(test::ReadFileBytes(places.folders.userSettings).substr(0, 2), "\xFF\xFE");
}

TEST(Settings, LastForTheProcessWhenTheirFileTakesNoChange) {
    Places places;
    places.User(L"[General]\nOutput_folder=D:\\a\n");
    SetFileAttributesW(places.folders.userSettings.c_str(), FILE_ATTRIBUTE_READONLY);
    AppSettings settings(places.folders);
    settings.outputFolder.Set(L"E:\\b");
    EXPECT_EQ(settings.outputFolder.Get(), L"E:\\b");
    EXPECT_EQ(places.Stored(L"Output_folder"), L"D:\\a");
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator(places.folder.Path())), 1);
    SetFileAttributesW(places.folders.userSettings.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(StartUp, RegistersProfilesAndRepairsTheSavedPair) {
    Places places;
    const std::wstring profiles =
        L"[Mesh]\nZEL_INPUT_FORMAT=STEP , IGES 3D\nZEL_OUTPUT_FORMAT=ALL_MESH,OCC\nZEL_CONFIG_FILE=mesh.zel\n"
        L"[Options]\nZEL_INPUT_FORMAT=JT\nZEL_OUTPUT_FORMAT=STEP\n";
    places.Installation(L"[General]\nZEL_INPUT_FORMAT=JT\nZEL_OUTPUT_FORMAT=STEP\n" + profiles);
    places.User(
        L"[General]\nFormat_in=JT (*.jt)\nFormat_out=STEP (*.stp)\n[Options]\nLanguage=Espa\u00f1ol\n");
    const std::wstring iges = L"IGES 3D (*.igs;*.iges)";
    {
        AppContext context(places.folders);
        LoadState(context);
        ASSERT_EQ(context.pairs.All().size(), 2u);
        EXPECT_EQ(context.pairs.OutputsOf(iges)->size(), 14u);
        EXPECT_EQ(context.settings.formatIn.Get(), iges);
        EXPECT_EQ(context.settings.formatOut.Get(), L"");
        EXPECT_EQ(places.Stored(L"Format_in"), iges);
        EXPECT_EQ(context.text(2005), L"Stav");  // an unknown language shows the Czech block
    }
    {
        places.Installation(L"[General]\nDeveloperMode=1\nAddZelWbi=1\n" + profiles);
        profile::WriteText(places.folders.userSettings, L"General", L"Format_in", L"JT (*.jt)");
        AppContext context(places.folders);
        LoadState(context);
        EXPECT_EQ(context.settings.formatIn.Get(), L"JT (*.jt)");
        EXPECT_TRUE(context.pairs.Find(iges, L"NORWEND (*.wbi)"));
        EXPECT_TRUE(context.pairs.Find(L"NORWEND (*.wbi)", L"OCC (*.brep)"));
    }
}

TEST(StartUp, KeepsASavedPairOfTheNativeFormat) {
    Places places;
    places.Installation(L"[General]\nAddZelWbi=1\n[P]\nZEL_INPUT_FORMAT=JT\nZEL_OUTPUT_FORMAT=STEP\n");
    places.User(L"[General]\nFormat_in=JT (*.jt)\nFormat_out=NORWEND (*.wbi)\n");
    AppContext context(places.folders);
    LoadState(context);
    EXPECT_EQ(context.settings.formatOut.Get(), L"NORWEND (*.wbi)");
}

TEST(StartUp, SurvivesDamagedSettingsFiles) {
    for (const std::string& bytes :
         {std::string(), std::string("\xFF"), std::string("\xFF\xFE["), std::string(4 << 20, 'x'),
          std::string("\0\0\0\0[General]\0", 14), std::string("[General\nFormat_in=\xE9\n[[[]]]\n==\n")}) {
        Places places;
        test::WriteFileBytes(places.folders.userSettings, bytes);
        test::WriteFileBytes(places.folders.installationSettings, bytes);
        AppContext context(places.folders);
        LoadState(context);
        EXPECT_EQ(context.settings.outputFolder.Get(), L"C:\\");
        EXPECT_TRUE(context.pairs.All().empty());
    }
}

TEST(ConfigFile, IsChosenByPairAndMode) {
    Places places;
    const std::wstring step = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
    AppContext context(places.folders);
    context.settings.Load();
    context.pairs.RegisterConversionPair(L"STEP", L"STL", L"pair.zel");
    context.settings.formatIn.Set(step);
    context.settings.formatOut.Set(L"STL (*.stl)");
    EXPECT_EQ(GetConfigFilePath(context), places.folder / L"pair.zel");
    context.settings.formatOut.Set(L"JT (*.jt)");
    EXPECT_EQ(GetConfigFilePath(context), L"");
    context.settings.formatOut.Set(L"Robface (*.rf)");
    EXPECT_EQ(GetConfigFilePath(context), places.folder / L"zelConfig.zel");
    context.settings.formatOut.Set(L"STL (*.stl)");
    context.settings.developerMode.Set(true);
    EXPECT_EQ(GetConfigFilePath(context), places.folder / L"zelConfig.zel");

    const std::wstring own = places.folder / L"own.zel";
    WriteTextFile(own, L"");
    context.settings.configFilePath.Set(own);
    EXPECT_EQ(GetConfigFilePath(context), own);
    DeleteFileW(own.c_str());
    EXPECT_EQ(GetConfigFilePath(context), places.folder / L"zelConfig.zel");
    EXPECT_EQ(places.Stored(L"Config_File_Path"), L"");
}

TEST(ConfigFile, IsCreatedOnceWithItsDefaults) {
    static constexpr profile::Entry kExpected[] = {
#include "tests/core/expected_config.inc"
    };
    TempFolder folder;
    const std::wstring path = folder / L"new.zel";
    EXPECT_FALSE(WriteDefaultConfig(L""));
    ASSERT_TRUE(WriteDefaultConfig(path));
    std::wstring expected, section, text;
    for (const profile::Entry& entry : kExpected) {
        if (section != entry.section) expected += L"[" + (section = entry.section) + L"]\n";
        // Not every system's profile writer keeps a leading blank.
        expected += std::wstring(entry.key) + L"=" + (entry.value + (*entry.value == L' ')) + L"\n";
    }
    ASSERT_TRUE(ReadTextFile(path, text));
    if (const size_t blank = text.find(L"= 0.174532"); blank != text.npos) text.erase(blank + 1, 1);
    while (text.find(L"\n\n") != text.npos) text.erase(text.find(L"\n\n"), 1);
    EXPECT_EQ(text, expected);

    test::WriteFileBytes(path, "[X]\r\n");
    EXPECT_FALSE(WriteDefaultConfig(path));
    EXPECT_EQ(test::ReadFileBytes(path), "[X]\r\n");
}

// Writers of one file take turns: no change is lost.
TEST(Settings, ManyWritersLoseNothing) {
    constexpr int kWriters = 8, kKeys = 10;
    const TempFolder folder;
    const std::wstring file = folder / L"shared.ini";
    const auto key = [](int writer, int i) { return std::to_wstring(writer) + L"-" + std::to_wstring(i); };
    {
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < kWriters; ++writer) {
            writers.emplace_back([&, writer] {
                for (int i = 0; i < kKeys; ++i)
                    profile::WriteText(file, L"General", key(writer, i).c_str(), L"kept");
            });
        }
    }
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int i = 0; i < kKeys; ++i)
            EXPECT_EQ(profile::ReadText(file, L"General", key(writer, i).c_str(), L""), L"kept");
    }
}

}  // namespace
}  // namespace morvex
