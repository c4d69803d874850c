#include "core/conversion_config.h"

#include "core/default_config.h"
#include "win/paths.h"
#include "win/profile.h"

namespace morvex {

ConversionFormats SavedFormats(const AppSettings& settings) {
    return LookUpFormats(settings.formatIn.Get(), settings.formatOut.Get());
}

std::wstring GetConfigFilePath(AppContext& context, const ConversionFormats& formats) {
    std::wstring chosen = context.settings.configFilePath.Get();
    if (!chosen.empty() && PathExists(chosen)) return chosen;
    if (!chosen.empty()) context.settings.configFilePath.Set(L"");
    if (context.settings.developerMode.Get() || formats.InProgressGroup())
        return context.folders.SharedConfig();
    const ConversionPair* pair = context.pairs.Find(formats.input, formats.output);
    if (!pair || pair->configFile.empty()) return {};
    return JoinPath(context.folders.user, pair->configFile);
}

std::wstring GetConfigFilePath(AppContext& context) {
    return GetConfigFilePath(context, SavedFormats(context.settings));
}

std::wstring PrepareConfigFile(AppContext& context, const ConversionFormats& formats) {
    std::wstring path = GetConfigFilePath(context, formats);
    WriteDefaultConfig(path);
    return path;
}

bool WriteDefaultConfig(const std::wstring& path) {
    return !path.empty() && profile::Create(path, kConfigDefaults);
}

}  // namespace morvex
