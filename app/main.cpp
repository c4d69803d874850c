#include <windows.h>

#include <cstdlib>
#include <exception>

#include "app/console.h"
#include "app/morvex_app.h"
#include "win/command_line.h"

namespace {

LONG WINAPI EndOnFault(EXCEPTION_POINTERS* fault) {
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

// Before anything else: no box of the system and no debugger on a fault or a missing disk (a child has nobody
// to close it), and no library is ever taken from the current folder or the path: only from the system's
// folder and, for what the conversion library loads later, from its own.
void HardenProcess() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndOnFault);
    _set_error_mode(_OUT_TO_STDERR);  // of abort and failed assertions, in libraries on this C runtime too
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32 | LOAD_LIBRARY_SEARCH_USER_DIRS);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    HardenProcess();
    try {
        if (const auto answer = morvex::AnswerTo(morvex::SplitCommandLine(GetCommandLineW()))) {
            morvex::Print(STD_OUTPUT_HANDLE, *answer);
            return 0;
        }
        morvex::CmorvexApp().InitInstance();
        return 0;
    } catch (const std::exception& failure) {
        morvex::CmorvexApp::ReportFailure(failure.what());
        return 1;
    }
}
