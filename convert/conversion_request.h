#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "formats/conversion_formats.h"

// What a run needs to know, as plain data: made once, then only read.
namespace morvex {

// A file to convert: a row's folder (no trailing backslash but for a drive's root) and file name.
struct SourceFile {
    std::wstring folder;
    std::wstring name;
};

// How files are to be converted. The window, a start with arguments and the batch command fill it, each from
// its own sources.
struct ConversionRequest {
    ConversionFormats formats;
    std::optional<std::wstring> outputFolder;  // nothing: each output goes beside its input
    bool inputPathInName = false;  // output names start with the input's folder, "\" and ":" as "_"
    std::wstring configFile;
    std::wstring schemaFolder;
    std::wstring libraryPath;
    std::wstring userFolder;  // told to children; empty: they find it themselves
    std::wstring program;     // started for each file of a multiprocess run
    std::wstring crashLog;    // empty: none is kept
    bool guarded = true;      // library faults are caught
    bool developerMode = false;
    bool pictures = false;          // reports hold a picture of the model, if the library draws one
    bool multiprocess = false;      // each file in a child process, as many at once as there are processors
    bool unwatched = false;         // nobody looks at the children's progress: they need not be polled
    bool lowPriority = false;       // children leave the processors to whoever else wants them
    unsigned childrenAtOnce = 0;    // share the machine; 0: as many as the run has workers
    unsigned secondsPerFile = 0;    // a child that takes longer is ended; 0: none is
    unsigned megabytesPerFile = 0;  // one that takes more memory too; 0: three quarters of the machine's
    int healing = 0;
    TextCatalogue text;
};

// A request with its files.
struct ConversionJob {
    ConversionRequest request;
    std::vector<SourceFile> files;
    std::optional<std::wstring> output;   // where the only file goes; nothing: the run plans the outputs
    std::vector<std::wstring> kept = {};  // paths of other files that a planned output may not have
};

// A request between these formats with the folders and switches of the settings.
ConversionRequest MakeRequest(const AppContext& context, ConversionFormats formats, std::wstring configFile);

}  // namespace morvex
