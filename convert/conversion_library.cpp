#include "convert/conversion_library.h"

#include "convert/crash_guard.h"
#include "core/text_catalogue.h"

namespace morvex {

ConversionLibrary::ConversionLibrary(const std::wstring& path)
    : module_(LoadLibraryExW(path.c_str(), nullptr,
                             LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32)) {}

namespace {

// All that a version query does with the library, in the shape that the guard can call.
struct VersionQuestion {
    const std::wstring& path;
    std::optional<LibraryVersion> answer;

    static int Ask(void* question) {
        auto& self = *static_cast<VersionQuestion*>(question);
        const ConversionLibrary library(self.path);
        const LibraryNumber version = library.NumberEntry("_zelGetVersion");
        const LibraryNumber release = library.NumberEntry("_zelGetRelease");
        const LibraryNumber isNative = library.NumberEntry("_zelIsZelVersion");
        if (version && release)
            self.answer = LibraryVersion{version(), release(), isNative && isNative() != 0};
        return 0;
    }
};

struct SettingsQuestion {
    const std::wstring& path;
    const std::vector<SettingName>& settings;
    std::vector<bool> answer;

    static int Ask(void* question) {
        auto& self = *static_cast<SettingsQuestion*>(question);
        const ConversionLibrary library(self.path);
        const auto uses = library.SettingEntry();
        for (size_t i = 0; uses && i < self.settings.size(); ++i)
            self.answer[i] = uses(self.settings[i].section, self.settings[i].key) != 0;
        return 0;
    }
};

}  // namespace

std::vector<bool> AskForEffect(const std::wstring& libraryPath, const std::vector<SettingName>& settings) {
    const std::vector<bool> all(settings.size(), true);
    SettingsQuestion question{libraryPath, settings, all};
    return CallGuarded(SettingsQuestion::Ask, &question).fault ? all : question.answer;
}

std::optional<LibraryVersion> LibraryVersion::Query(const std::wstring& libraryPath) {
    VersionQuestion question{libraryPath, {}};
    if (CallGuarded(VersionQuestion::Ask, &question).fault) return std::nullopt;
    return question.answer;
}

std::wstring LibraryVersion::VersionText() const {
    return Format(L"20%d.%d", version / 10, version - 10 * (version / 10));
}

std::wstring LibraryVersion::ReleaseText() const {
    if (release <= 9999) return Format(L"%d", release);
    const int year = release / 10000;
    const int month = (release - 10000 * year) / 100;
    return Format(L"%d.%02d.%02d", year, month, release - 100 * (100 * year + month));
}

}  // namespace morvex
