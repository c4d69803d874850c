#include "core/settings.h"

#include <cwchar>

#include "win/paths.h"
#include "win/profile.h"

namespace morvex {

std::wstring Setting::ReadText(const std::wstring& fallback) const {
    return profile::ReadText(file_.path, section_, key_, fallback);
}

int Setting::ReadInt(int fallback) const {
    return profile::ReadInt(file_.path, section_, key_, fallback);
}

void Setting::Write(const std::wstring& value) const {
    profile::WriteText(file_.path, section_, key_, value);
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
    : user_{folders.userSettings, all_},
      installation_{folders.installationSettings, all_},
      configuration_{L"", all_},
      sharedConfig_(folders.SharedConfig()) {}

void AppSettings::Load() {
    for (Setting* const setting : all_) {
        setting->Load();
        if (setting != &configFilePath) continue;
        FindConfiguration();
        // A run passes over a chosen file that has gone.
        if (!PathExists(configuration_.path)) configuration_.path = sharedConfig_;
    }
    startedMultiprocess_ = multiprocess.Get();
}

void AppSettings::SetFillOverride(bool on) {
    FindConfiguration();
    fillOverride.Set(on);
}

void AppSettings::FindConfiguration() {
    configuration_.path = configFilePath.Get().empty() ? sharedConfig_ : configFilePath.Get();
}

}  // namespace morvex
