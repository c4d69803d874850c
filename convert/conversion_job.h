#pragma once

#include <string>
#include <vector>

#include "convert/output_naming.h"
#include "core/context.h"

// What a run needs to know, as plain data: made once on the user-interface thread, then only read.
namespace morvex {

struct ConversionJob {
    std::vector<SourceFile> files;
    std::vector<std::wstring> outputs;  // for each file the path to write, see output_naming.h
    std::wstring formatIn;              // the chosen formats' filter texts,
    std::wstring formatOut;
    int inputCode = 1;  // and their codes
    int outputCode = 1;
    std::wstring configFile;
    std::wstring schemaFolder;
    std::wstring libraryPath;
    std::wstring program;   // started for each file of a multiprocess run
    std::wstring crashLog;  // empty: none is kept
    bool guarded = true;    // library faults are caught
    bool developerMode = false;
    bool multiprocess = false;  // each file in a child process, as many at once as there are processors
    int healing = 0;
    TextCatalogue text;

    bool ShowsProgress() const;  // the formats belong to the progress group
};

// The naming rules of the chosen formats and folders.
NamingRules MakeNamingRules(const AppSettings& settings);

// The job for these files with the chosen formats, folders and switches, and this configuration file. Builds
// all output paths.
ConversionJob MakeJob(const AppContext& context, std::vector<SourceFile> files,
                      const std::wstring& configFile);

// The configuration file of the chosen formats, created with defaults when it is missing.
std::wstring PrepareConfigFile(AppContext& context);

}  // namespace morvex
