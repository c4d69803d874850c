#include "convert/conversion_job.h"

#include "core/conversion_config.h"
#include "formats/format_groups.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "win/paths.h"

namespace morvex {

bool ConversionJob::ShowsProgress() const {
    return IsProgressGroup(inputCode, outputCode);
}

NamingRules MakeNamingRules(const AppSettings& settings) {
    const std::wstring& output = settings.formatOut.Get();
    return {
        .inputCode = InputFilterTextToFormatCode(settings.formatIn.Get()),
        .outputCode = OutputFilterTextToFormatCode(output),
        .extension = OutputFilterTextToExtension(output),
        .outputFolder = settings.outputFolder.Get(),
        .useOutputFolder = settings.UseOutputFolder(),
        .inputPathInName = settings.inputPathInName.Get(),
    };
}

std::wstring PrepareConfigFile(AppContext& context) {
    const std::wstring path = GetConfigFilePath(context);
    WriteDefaultConfig(path);
    return path;
}

ConversionJob MakeJob(const AppContext& context, std::vector<SourceFile> files,
                      const std::wstring& configFile) {
    const AppSettings& settings = context.settings;
    const NamingRules rules = MakeNamingRules(settings);
    ConversionJob job;
    job.configFile = configFile;
    job.outputs = PlanOutputs(files, rules);
    job.files = std::move(files);
    job.formatIn = settings.formatIn.Get();
    job.formatOut = settings.formatOut.Get();
    job.inputCode = rules.inputCode;
    job.outputCode = rules.outputCode;
    job.schemaFolder = context.folders.schema;
    job.libraryPath = context.folders.library;
    job.program = ModulePath();
    if (settings.CrashLogOn()) job.crashLog = context.folders.crashLog;
    job.guarded = !settings.disableGuard.Get();
    job.developerMode = settings.developerMode.Get();
    job.multiprocess = settings.multiprocess.Get();
    job.healing = settings.healing.Get() ? 1 : 0;
    job.text = context.text;
    return job;
}

}  // namespace morvex
