#include "batch/batch_requests.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "convert/conversion_library.h"
#include "core/conversion_config.h"
#include "core/default_config.h"
#include "win/paths.h"
#include "win/profile.h"

namespace morvex {

void BatchRequests::RemoveTemporaryConfigs() {
    for (const std::wstring& config : temporaryConfigs_) DeleteFileW(config.c_str());
    temporaryConfigs_.clear();
}

std::wstring BatchRequests::Obstacle() {
    const std::wstring program = JoinPath(context_.folders.program, L"Morvex.exe");
    if (!PathExists(program)) return L"The program is missing: " + program;
    if (!PathExists(context_.folders.library))
        return L"The conversion library is missing: " + context_.folders.library;
    if (!options_.config.empty() && !PathExists(options_.config))
        return L"There is no configuration file " + options_.config;
    return UnknownSetting();
}

// A library passes over keys that it does not know: a slip would stay unseen.
std::wstring BatchRequests::UnknownSetting() const {
    if (options_.values.empty()) return {};
    std::vector<SettingName> names;
    for (const ConfigValue& value : options_.values)
        names.push_back({value.section.c_str(), value.key.c_str()});
    const std::vector<bool> effect = AskForEffect(context_.folders.library, names);
    for (size_t i = 0; i < names.size(); ++i) {
        const bool known = std::ranges::any_of(kConfigDefaults, [&](const profile::Entry& entry) {
            return SameText(entry.section, names[i].section) && SameText(entry.key, names[i].key);
        });
        if (!known && !effect[i])
            return std::wstring(L"--set: there is no setting ") + names[i].section + L"/" + names[i].key;
    }
    return {};
}

ConversionRequest BatchRequests::For(BatchFormats::Index format, const std::wstring& tree) {
    auto known = requests_.find(format);
    if (known == requests_.end()) {
        const ConversionFormats& formats = formats_.At(format);
        ConversionRequest request = MakeRequest(context_, formats, ConfigFile(formats));
        request.outputFolder = options_.out;
        request.program = JoinPath(context_.folders.program, L"Morvex.exe");
        request.crashLog.clear();
        request.developerMode = false;  // its texts are for the window
        request.multiprocess = true;
        request.unwatched = true;
        request.lowPriority = options_.nice;
        request.childrenAtOnce = options_.children;
        if (options_.secondsPerFile) request.secondsPerFile = *options_.secondsPerFile;
        known = requests_.emplace(format, std::move(request)).first;
    }
    ConversionRequest request = known->second;
    if (options_.keepTree && !tree.empty()) request.outputFolder = JoinPath(*request.outputFolder, tree);
    return request;
}

std::wstring BatchRequests::ConfigFile(const ConversionFormats& formats) {
    const std::wstring config =
        options_.config.empty() ? PrepareConfigFile(context_, formats) : options_.config;
    return options_.values.empty() ? config : WithValues(config);
}

// A copy with the values of the command line, or the defaults with them where the formats have no file.
std::wstring BatchRequests::WithValues(const std::wstring& config) {
    wchar_t folder[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, folder);
    std::wstring copy = std::wstring(folder) + L"morvex-batch-" + std::to_wstring(GetCurrentProcessId()) +
                        L"-" + std::to_wstring(temporaryConfigs_.size()) + L".zel";
    DeleteFileW(copy.c_str());
    const bool made = config.empty() ? WriteDefaultConfig(copy)
                                     : CopyFileW(WithLongPrefix(config).c_str(), copy.c_str(), TRUE) != FALSE;
    temporaryConfigs_.push_back(copy);
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    for (const ConfigValue& value : options_.values) {
        if (!made || !profile::WriteText(copy, value.section.c_str(), value.key.c_str(), value.value))
            throw std::runtime_error("The configuration file for --set cannot be written");
    }
    return copy;
}

}  // namespace morvex
