#include "convert/child_road.h"

#include <windows.h>

#include <algorithm>

#include "convert/child_process.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/paths.h"

namespace morvex {
namespace {

std::wstring EnvironmentText(const wchar_t* name) {
    std::wstring text(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (!text.empty())
        text.resize(GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

// Both are known to the tables, whether by filter text or by display name.
void TakeFormatsOfParent(AppSettings& settings) {
    const std::wstring input = EnvironmentText(kFormatInVariable);
    const std::wstring output = EnvironmentText(kFormatOutVariable);
    if (input.empty() || output.empty()) return;
    const std::wstring inputOfName = InputDisplayNameToFilterText(input);
    const std::wstring outputOfName = OutputDisplayNameToFilterText(output);
    settings.formatIn.Assume(inputOfName.empty() ? input : inputOfName);
    settings.formatOut.Assume(outputOfName.empty() ? output : outputOfName);
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

// "C:" names the drive's current folder, so a drive's root keeps its backslash.
std::wstring FolderToKeep(const std::wstring& path) {
    std::wstring folder(FolderOf(path));
    if (folder.ends_with(L':')) folder += L'\\';
    return folder;
}

}  // namespace

ConversionJob MakeChildJob(AppContext& context, const std::vector<std::wstring>& arguments) {
    const auto argument = [&](size_t index) {
        return index < arguments.size() ? arguments[index] : std::wstring();
    };
    AppSettings& settings = context.settings;
    TakeFormatsOfParent(settings);
    settings.multiprocess.Assume(false);
    std::wstring output = argument(2);
    // A run's child is told the very path: a folder that has taken that name is an error, not a place to put
    // it.
    const bool ofRun = !EnvironmentText(kSideBySideVariable).empty();
    const bool outputIsFolder =
        !ofRun && (output.ends_with(L'\\') || output.ends_with(L'/') || FolderExists(output));
    settings.besideInput.Assume(output.empty());
    if (outputIsFolder) settings.outputFolder.Assume(FullPath(output));

    const std::wstring input = FullPath(argument(1));
    const std::wstring config = argument(3).empty() ? PrepareConfigFile(context) : argument(3);
    ConversionJob job = MakeJob(context, {{FolderToKeep(input), std::wstring(FileNameOf(input))}}, config);
    if (!output.empty() && !outputIsFolder) job.outputs = {WithLongPrefix(FullPath(output))};
    if (!argument(4).empty()) job.schemaFolder = argument(4);
    return job;
}

}  // namespace morvex
