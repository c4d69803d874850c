#include "core/conversion_config.h"

#include "core/default_config.h"
#include "formats/format_groups.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/paths.h"
#include "win/profile.h"

namespace morvex {

bool UsesSharedConfig(const AppContext& context) {
    return IsProgressGroup(InputFilterTextToFormatCode(context.settings.formatIn.Get()),
                           OutputFilterTextToFormatCode(context.settings.formatOut.Get()));
}

std::wstring GetConfigFilePath(AppContext& context) {
    std::wstring chosen = context.settings.configFilePath.Get();
    if (!chosen.empty() && FileExists(chosen)) return chosen;
    context.settings.configFilePath.Set(L"");
    if (context.settings.developerMode.Get() || UsesSharedConfig(context))
        return context.folders.SharedConfig();
    const ConversionPair* pair =
        context.pairs.Find(context.settings.formatIn.Get(), context.settings.formatOut.Get());
    if (!pair || pair->configFile.empty()) return {};
    return JoinPath(context.folders.user, pair->configFile);
}

bool WriteDefaultConfig(const std::wstring& path) {
    if (path.empty() || FileExists(path)) return false;
    for (const ConfigDefault& entry : kConfigDefaults) {
        profile::WriteText(path, entry.section, entry.key, entry.value);
    }
    return true;
}

}  // namespace morvex
