#include "convert/child_road.h"

#include <windows.h>

#include <utility>

#include "convert/child_process.h"
#include "convert/command_formats.h"
#include "convert/conversion_run.h"
#include "convert/result_channel.h"
#include "core/conversion_config.h"
#include "win/environment.h"
#include "win/paths.h"

namespace morvex {
namespace {

struct Printer : RunObserver {
    void OnStatus(size_t row, const RowStatus& now) override {
        if (now.state == RowState::Running) run.ShowBegun();
        if (row == 0) status = now;  // a further row tells the whole run's time
    }
    void OnProgress(size_t, int percent) override { run.ShowPercent(percent); }
    ChannelToRun run;
    RowStatus status;
};

ChildRoadEnd Run(const ConversionJob& job) {
    Printer printer;
    const RunOutcome outcome = RunConversions(job, printer);
    printer.run.Report({outcome.lastResult, outcome.abandoned, printer.status.end == ConversionEnd::Crashed,
                        outcome.message});
    if (outcome.abandoned) return {outcome.lastResult, outcome.message};
    const std::wstring& reason = printer.status.reason;
    return {outcome.lastResult, printer.status.text + (reason.empty() ? L"" : L"\n" + reason)};
}

// The arguments are all given, and the parent has looked after the settings: nothing is repaired or written.
ChildRoadEnd ConvertForRun(const AppContext& context, const std::vector<std::wstring>& arguments) {
    ConversionRequest request = MakeRequest(
        context, LookUpFormats(EnvironmentText(kFormatInVariable), EnvironmentText(kFormatOutVariable)),
        arguments[3]);
    request.multiprocess = false;
    request.crashLog.clear();  // it is one file, of the run as a whole
    request.schemaFolder = arguments[4];
    const std::wstring& input = arguments[1];
    return Run({std::move(request),
                {{std::wstring(FolderOf(input)), std::wstring(FileNameOf(input))}},
                arguments[2]});
}

// Files dropped on the program's icon arrive as arguments too: the second one is no output then.
std::wstring WhyNotOverwritten(const std::wstring& output, const ConversionFormats& formats) {
    if (!PathExists(output) || HasExtensionOf(output, formats.output)) return {};
    return L"\"" + output + L"\" exists, and its extension is not one of " + formats.output +
           L": it is not overwritten. Name another output file, or an output folder that ends in a "
           L"backslash.";
}

ChildRoadEnd ConvertByHand(AppContext& context, const std::vector<std::wstring>& arguments) {
    const auto argument = [&](size_t index) {
        return index < arguments.size() ? arguments[index] : std::wstring();
    };
    const std::wstring input = FullPath(argument(1));
    const std::wstring given = argument(2);
    const bool outputIsFolder = given.ends_with(L'\\') || given.ends_with(L'/') || FolderExists(given);
    const ConversionFormats formats = ChooseFormats(context, input, outputIsFolder ? L"" : given);
    if (formats.input.empty() || formats.output.empty()) {
        return {kResultUnknownType,
                L"No formats are chosen, and the extensions name none. Name the output file, as in part.stp "
                L"part.stl, or set MORVEX_FORMAT_IN and MORVEX_FORMAT_OUT, as to STEP and STL, or choose the "
                L"formats in the window once."};
    }
    const std::wstring output = given.empty() || outputIsFolder ? std::wstring() : FullPath(given);
    if (const std::wstring why = WhyNotOverwritten(output, formats); !output.empty() && !why.empty()) {
        return {kResultCannotWrite, StatusOfResult(kResultCannotWrite, context.text).text + L"\n" + why};
    }
    ConversionRequest request = MakeRequest(
        context, formats, argument(3).empty() ? PrepareConfigFile(context, formats) : argument(3));
    request.multiprocess = false;
    request.outputFolder.reset();
    if (outputIsFolder) request.outputFolder = FullPath(given);
    if (!argument(4).empty()) request.schemaFolder = argument(4);

    ConversionJob job{
        std::move(request), {{std::wstring(FolderOf(input)), std::wstring(FileNameOf(input))}}, {}};
    if (!output.empty()) job.output = WithLongPrefix(output);
    ChildRoadEnd end = Run(job);
    if (end.exitCode == kResultOk && HasOutputExtension(output) && !HasExtensionOf(output, formats.output))
        end.message +=
            L"\n\"" + output + L"\" was written as " + formats.output + L", unlike its extension says.";
    return end;
}

}  // namespace

ChildRoadEnd TakeChildRoad(AppContext& context, const std::vector<std::wstring>& arguments) {
    constexpr size_t kArgumentsOfRun = 5;
    return IsChildOfRun() && arguments.size() == kArgumentsOfRun ? ConvertForRun(context, arguments)
                                                                 : ConvertByHand(context, arguments);
}

}  // namespace morvex
