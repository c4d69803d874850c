#include "convert/conversion_library.h"

#include "core/text_catalogue.h"

namespace morvex {

ConversionLibrary::ConversionLibrary(const std::wstring& path)
    : module_(LoadLibraryExW(path.c_str(), nullptr,
                             LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32)) {}

std::optional<LibraryVersion> LibraryVersion::Query(const std::wstring& libraryPath) {
    using Ask = int (*)();
    const ConversionLibrary library(libraryPath);
    const Ask version = library.Entry<Ask>("_zelGetVersion");
    const Ask release = library.Entry<Ask>("_zelGetRelease");
    const Ask isNative = library.Entry<Ask>("_zelIsZelVersion");
    if (!version || !release) return std::nullopt;
    return LibraryVersion{version(), release(), isNative && isNative() != 0};
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
