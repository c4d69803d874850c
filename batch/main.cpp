#include <windows.h>

#include <cstring>
#include <exception>

#include "batch/batch_console.h"
#include "batch/batch_options.h"
#include "batch/batch_run.h"
#include "batch/help_text.h"
#include "core/product.h"
#include "core/start_up.h"
#include "win/command_line.h"
#include "win/harden_process.h"
#include "win/utf8.h"

namespace morvex {
namespace {

int Main() {
    using Question = BatchOptions::Question;
    std::wstring error;
    BatchOptions options = ParseBatchOptions(SplitCommandLine(GetCommandLineW()), error);
    if (!error.empty()) {
        BatchConsole::Complain(error + L"; --help says what there is");
        return kExitUsage;
    }
    if (options.question == Question::None) {
        AppContext context(PrepareProgramFolders());
        LoadState(context, SavedPair::Leave);
        context.text.SetLanguage(L"English");  // of a command everybody's scripts expect the same words
        return RunBatch(context, std::move(options));
    }
    if (options.question == Question::Version)
        BatchConsole::Print(STD_OUTPUT_HANDLE, std::wstring(L"morvex-batch, ") + product::kMessageCaption +
                                                   L" (" + product::kVersion + L")\n");
    else
        BatchConsole::Print(STD_OUTPUT_HANDLE,
                            options.question == Question::HelpAll ? kBatchHelpAll : kBatchHelp);
    return 0;
}

}  // namespace
}  // namespace morvex

int wmain() {
    morvex::HardenProcess();
    try {
        return morvex::Main();
    } catch (const std::exception& failure) {
        morvex::BatchConsole::Complain(morvex::FromUtf8(failure.what()));
        return morvex::kMostFailures;
    }
}
