#include "convert/conversion_request.h"

#include <utility>

#include "win/paths.h"

namespace morvex {

ConversionRequest MakeRequest(const AppContext& context, ConversionFormats formats, std::wstring configFile) {
    const AppSettings& settings = context.settings;
    ConversionRequest request;
    request.formats = std::move(formats);
    // An empty folder would mean the drive's root.
    if (settings.UseOutputFolder() && !settings.outputFolder.Get().empty())
        request.outputFolder = settings.outputFolder.Get();
    request.inputPathInName = settings.inputPathInName.Get();
    request.configFile = std::move(configFile);
    request.schemaFolder = context.folders.schema;
    request.libraryPath = context.folders.library;
    request.userFolder = context.folders.user;
    request.program = ModulePath();
    if (settings.CrashLogOn()) request.crashLog = context.folders.crashLog;
    request.guarded = !settings.disableGuard.Get();
    request.developerMode = settings.developerMode.Get();
    request.multiprocess = settings.multiprocess.Get();
    request.secondsPerFile = settings.secondsPerFile.Get();
    request.megabytesPerFile = settings.megabytesPerFile.Get();
    request.healing = settings.healing.Get() ? 1 : 0;
    request.text = context.text;
    return request;
}

}  // namespace morvex
