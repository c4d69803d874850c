#include "core/settings.h"

#include <cwchar>

#include "win/profile.h"

namespace morvex {

std::wstring Setting::ReadText(const std::wstring& fallback) const {
    return profile::ReadText(*file_, section_, key_, fallback);
}

int Setting::ReadInt(int fallback) const {
    return profile::ReadInt(*file_, section_, key_, fallback);
}

void Setting::Write(const std::wstring& value) const {
    profile::WriteText(*file_, section_, key_, value);
}

void TextSetting::Set(const std::wstring& value) {
    value_ = value;
    Write(value);
}

void SwitchSetting::Set(bool value) {
    value_ = value;
    Write(value ? L"1" : L"0");
}

void ColourSetting::Load() {
    const std::wstring text = ReadText(L"");
    std::vector<int> pieces;
    for (size_t start = 0;;) {
        const size_t end = text.find(L',', start);
        pieces.push_back(static_cast<int>(std::wcstol(text.substr(start, end - start).c_str(), nullptr, 10)));
        if (end == text.npos) break;
        start = end + 1;
    }
    if (pieces.size() == 3) value_ = {pieces[0], pieces[1], pieces[2]};
}

void FirstLaunchSetting::Load() {
    value_ = ReadInt(1) != 0;
    if (value_) Write(L"0");
}

AppSettings::AppSettings(const ProgramFolders& folders)
    : user_(folders.userSettings),
      installation_(folders.installationSettings),
      sharedConfig_(folders.SharedConfig()) {}

void AppSettings::Load() {
    Setting* const beforeConfiguration[] = {
        &outputFolder,    &inputFolder,     &formatIn,      &formatOut,        &configFilePath,
        &firstLaunch,     &inputPathInName, &writeCrashLog, &healing,          &besideInput,
        &disableGuard,    &developerMode,   &multiprocess,  &convertAtStartup, &loadLastState,
        &addNativeFormat, &defaultTheme,    &developerTheme};
    for (Setting* setting : beforeConfiguration) setting->Load();
    FindConfiguration();
    fillOverride.Load();
    language.Load();
    startedMultiprocess_ = multiprocess.Get();
}

void AppSettings::SetFillOverride(bool on) {
    FindConfiguration();
    fillOverride.Set(on);
}

void AppSettings::FindConfiguration() {
    configuration_ = configFilePath.Get().empty() ? sharedConfig_ : configFilePath.Get();
}

}  // namespace morvex
