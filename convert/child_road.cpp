#include "convert/child_road.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "convert/child_process.h"
#include "core/conversion_config.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/environment.h"
#include "win/paths.h"

namespace morvex {
namespace {

// Both are known to the tables, whether by filter text or by display name.
ConversionFormats ChosenFormats(const AppSettings& settings) {
    const std::wstring input = EnvironmentText(kFormatInVariable);
    const std::wstring output = EnvironmentText(kFormatOutVariable);
    if (input.empty() || output.empty()) return SavedFormats(settings);
    const std::wstring inputOfName = InputDisplayNameToFilterText(input);
    const std::wstring outputOfName = OutputDisplayNameToFilterText(output);
    return LookUpFormats(inputOfName.empty() ? input : inputOfName,
                         outputOfName.empty() ? output : outputOfName);
}

// A path typed by hand may be relative or hold slashes. Nothing else is touched: odd names must reach the
// library as they are.
std::wstring FullPath(std::wstring path) {
    if (!path.starts_with(L"\\\\?\\")) std::replace(path.begin(), path.end(), L'/', L'\\');
    const bool onDrive = path.size() > 1 && path[1] == L':';
    if (path.starts_with(L'\\') || (onDrive && path.size() > 2 && path[2] == L'\\')) return path;
    // "D:part.stp" lies in that drive's own current folder.
    const std::wstring start = onDrive ? path.substr(0, 2) : L".";
    std::wstring folder(GetFullPathNameW(start.c_str(), 0, nullptr, nullptr), L'\0');
    folder.resize(GetFullPathNameW(start.c_str(), static_cast<DWORD>(folder.size()), folder.data(), nullptr));
    return JoinPath(folder, onDrive ? path.substr(2) : path);
}

}  // namespace

ConversionJob MakeChildJob(AppContext& context, const std::vector<std::wstring>& arguments) {
    const auto argument = [&](size_t index) {
        return index < arguments.size() ? arguments[index] : std::wstring();
    };
    const ConversionFormats formats = ChosenFormats(context.settings);
    ConversionRequest request = MakeRequest(
        context, formats, argument(3).empty() ? PrepareConfigFile(context, formats) : argument(3));
    request.multiprocess = false;
    request.outputFolder.reset();
    if (!argument(4).empty()) request.schemaFolder = argument(4);

    const std::wstring output = argument(2);
    // A run's child is told the very path: a folder that has taken that name is an error, not a place to put
    // it.
    const bool ofRun = !EnvironmentText(kChildOfRunVariable).empty();
    const bool outputIsFolder =
        !ofRun && (output.ends_with(L'\\') || output.ends_with(L'/') || FolderExists(output));
    if (outputIsFolder) request.outputFolder = FullPath(output);

    const std::wstring input = FullPath(argument(1));
    ConversionJob job =
        MakeJob(std::move(request), {{std::wstring(FolderOf(input)), std::wstring(FileNameOf(input))}});
    if (!output.empty() && !outputIsFolder) job.outputs = {WithLongPrefix(FullPath(output))};
    return job;
}

}  // namespace morvex
