#include "convert/in_process.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>

#include "convert/conversion_library.h"
#include "convert/crash_guard.h"
#include "convert/process_state.h"
#include "convert/row_status.h"

namespace morvex {
namespace {

// Where the library's call-back finds the receiver: it carries no context.
struct ProgressTarget {
    const std::function<void(int percent)>& receive;
    std::exception_ptr failure;  // what left the receiver; it must not cross the library's frames
};
std::atomic<ProgressTarget*> progressTarget = nullptr;

void OnLibraryProgress(const int* phase, const int* percent) {
    ProgressTarget* const target = progressTarget;
    if (!phase || !percent || *phase < 1 || !target) return;
    try {
        target->receive(std::clamp(*percent, 0, 100));
    } catch (...) {
        target->failure = std::current_exception();
    }
}

// All that is done with the library, in the shape that the guard can call.
struct LibraryUse {
    const ConversionRequest& request;
    const std::wstring& input;
    const std::wstring& output;
    int runSize;
    std::optional<ConversionLibrary> library;
    InProcessResult::Library usable = InProcessResult::Library::NotLoaded;

    int Convert() {
        using Library = InProcessResult::Library;
        library.emplace(request.libraryPath);
        if (!library->Loaded()) return kResultFailed;
        const bool progressGroup = request.formats.InProgressGroup();
        const ZelConvert convert = library->ConvertEntry();
        usable =
            progressGroup || convert || library->HasExecute() ? Library::Usable : Library::WithoutEntries;
        const int result = convert ? Call(convert) : kResultFailed;
        library.reset();
        return result;
    }

    int Call(ZelConvert convert) const {
        constexpr int kAlone = 0;  // a multiprocess run makes no call in this process
        const ConversionFormats& formats = request.formats;
        const int option = formats.InProgressGroup() ? 1 : request.developerMode ? request.healing : 0;
        return convert(formats.inputCode, formats.outputCode, input.c_str(), output.c_str(),
                       request.configFile.c_str(), request.schemaFolder.c_str(), OnLibraryProgress, kAlone,
                       nullptr, option, request.developerMode ? -5 : 0, 0, runSize);
    }

    static int RunConvert(void* use) { return static_cast<LibraryUse*>(use)->Convert(); }
    // After a fault: the next conversion gets the library afresh.
    static int Unload(void* use) {
        static_cast<LibraryUse*>(use)->library.reset();
        return 0;
    }
};

}  // namespace

InProcessResult ConvertInProcess(const ConversionRequest& request, const std::wstring& input,
                                 const std::wstring& output, int runSize,
                                 const std::function<void(int percent)>& progress) {
    const ProcessState before;
    LibraryUse use{request, input, output, runSize, {}};
    ProgressTarget target{progress, nullptr};
    progressTarget = &target;
    const GuardedResult guarded = CallGuarded(LibraryUse::RunConvert, &use, request.guarded);
    progressTarget = nullptr;
    if (guarded.fault) CallGuarded(LibraryUse::Unload, &use);
    if (target.failure) std::rethrow_exception(target.failure);
    if (guarded.fault) return {InProcessResult::Library::Usable, kResultFailed, true};
    return {use.usable, guarded.value, false};
}

}  // namespace morvex
