#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "core/program_folders.h"

namespace morvex {

struct Colour {
    int red, green, blue;
    bool operator==(const Colour&) const = default;
};

class Setting;

// A file that settings lie in, and the list of all settings, in the order in which they are declared.
struct SettingsFile {
    std::wstring path;
    std::vector<Setting*>& all;
};

// One stored value: read by Load, written to its file at once by Set. A failed write is ignored: the value
// then lasts for this process only.
class Setting {
  public:
    Setting(const SettingsFile& file, const wchar_t* section, const wchar_t* key)
        : file_(file), section_(section), key_(key) {
        file.all.push_back(this);
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    virtual ~Setting() = default;
    virtual void Load() = 0;

  protected:
    std::wstring ReadText(const std::wstring& fallback) const;
    int ReadInt(int fallback) const;
    void Write(const std::wstring& value) const;

  private:
    const SettingsFile& file_;  // owned by AppSettings
    const wchar_t* section_;
    const wchar_t* key_;
};

class TextSetting : public Setting {
  public:
    TextSetting(const SettingsFile& file, const wchar_t* section, const wchar_t* key, const wchar_t* fallback)
        : Setting(file, section, key), value_(fallback) {}
    const std::wstring& Get() const { return value_; }
    void Set(const std::wstring& value);
    void Load() override { value_ = ReadText(value_); }

  private:
    std::wstring value_;
};

// "1" and "0" on disk; on only when the stored integer equals 1.
class SwitchSetting : public Setting {
  public:
    SwitchSetting(const SettingsFile& file, const wchar_t* section, const wchar_t* key, bool fallback)
        : Setting(file, section, key), value_(fallback) {}
    bool Get() const { return value_; }
    void Set(bool value);
    void Load() override { value_ = ReadInt(value_) == 1; }

  private:
    bool value_;
};

// A whole number from 0 on; anything else counts as 0.
class NumberSetting : public Setting {
  public:
    using Setting::Setting;
    unsigned Get() const { return value_; }
    void Load() override { value_ = static_cast<unsigned>(std::max(ReadInt(0), 0)); }

  private:
    unsigned value_ = 0;
};

// "red,green,blue"; a stored text without exactly three pieces leaves the built-in colour.
class ColourSetting : public Setting {
  public:
    ColourSetting(const SettingsFile& file, const wchar_t* section, const wchar_t* key, Colour fallback)
        : Setting(file, section, key), value_(fallback) {}
    Colour Get() const { return value_; }
    void Load() override;

  private:
    Colour value_;
};

// True until a process has read it once: Load writes "0" back.
class FirstLaunchSetting : public Setting {
  public:
    using Setting::Setting;
    bool Get() const { return value_; }
    void Load() override;

  private:
    bool value_ = true;
};

// All application settings: each line is one key with its file, section, default and meaning. Belongs to the
// user-interface thread; runs get copies of what they need.
class AppSettings {
    std::vector<Setting*> all_;
    // Where the keys below lie. The configuration file's path is known once configFilePath has been read.
    SettingsFile user_;
    SettingsFile installation_;
    SettingsFile configuration_;
    std::wstring sharedConfig_;

  public:
    // Holds the defaults; Load reads the files.
    explicit AppSettings(const ProgramFolders& folders);
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;

    // Reads every key in the order in which they stand here.
    void Load();

    // clang-format off
    TextSetting   outputFolder      {user_, L"General", L"Output_folder", L"C:\\"};          // receives converted files that do not go beside their input
    TextSetting   inputFolder       {user_, L"General", L"Input_folder_GUI", L"C:\\"};       // offered first by the add dialogs
    TextSetting   formatIn          {user_, L"General", L"Format_in", L""};                  // filter text of the last input format
    TextSetting   formatOut         {user_, L"General", L"Format_out", L""};                 // filter text of the last output format
    TextSetting   configFilePath    {user_, L"General", L"Config_File_Path", L""};           // user-chosen conversion configuration file
    FirstLaunchSetting firstLaunch  {user_, L"General", L"FirstLaunch"};                     // this is the first start
    SwitchSetting inputPathInName   {installation_, L"General", L"AddInputFilePathToOutputFileName", false};  // output names start with the input's folder
    SwitchSetting writeCrashLog     {installation_, L"General", L"WriteLogFileIfCrash", false};  // runs keep a crash log; see CrashLogOn
    SwitchSetting healing           {user_, L"General", L"Healing", false};                  // healing option of the library, in developer mode
    SwitchSetting besideInput       {user_, L"General", L"SameFolderAsInput", true};         // converted files go beside their input
    SwitchSetting disableGuard      {installation_, L"General", L"DisableTryCatch", false};  // call the library without the crash guard
    SwitchSetting developerMode     {installation_, L"General", L"DeveloperMode", false};    // developer controls and theme
    SwitchSetting multiprocess      {installation_, L"General", L"Multiprocess", false};     // convert in parallel child processes
    SwitchSetting convertAtStartup  {installation_, L"General", L"ConvertAtStartup", false}; // developer mode: run as soon as the window is open
    SwitchSetting loadLastState     {installation_, L"General", L"LoadLastState", false};    // restore the last list and formats
    SwitchSetting addNativeFormat   {installation_, L"General", L"AddZelWbi", false};        // offer "NORWEND (*.wbi)" on both sides
    NumberSetting secondsPerFile    {installation_, L"General", L"SecondsPerFile"};          // a child that takes longer is ended; 0: none is
    NumberSetting megabytesPerFile  {installation_, L"General", L"MegabytesPerFile"};        // a child that takes more memory is ended; 0: more than three quarters of the machine's
    ColourSetting defaultTheme      {installation_, L"General", L"DefaultTheme", {43, 61, 79}};    // window colour
    ColourSetting developerTheme    {installation_, L"General", L"DeveloperTheme", {43, 80, 79}};  // window colour in developer mode
    SwitchSetting fillOverride      {configuration_, L"INTERNAL CONF", L"FILL_OVERRIDE", false};   // fill-override option of the library
    TextSetting   language          {user_, L"Options", L"Language", L"English"};            // name of the interface language
    TextSetting   windowPlace       {user_, L"Window", L"Place", L""};                       // of the main window, as it was closed last
    TextSetting   columnWidths      {user_, L"Window", L"Columns", L""};                     // of its list, once the user has changed them
    // clang-format on

    // Stores the switch in the configuration file that is chosen now, whichever it was at the start.
    void SetFillOverride(bool on);
    bool UseOutputFolder() const { return !besideInput.Get(); }
    Colour Theme() const { return developerMode.Get() ? developerTheme.Get() : defaultTheme.Get(); }
    // Multiprocess at start-up turns the crash log off for the life of the process.
    bool CrashLogOn() const { return writeCrashLog.Get() && !startedMultiprocess_; }

  private:
    void FindConfiguration();

    bool startedMultiprocess_ = false;
};

}  // namespace morvex
