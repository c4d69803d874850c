#include <windows.h>

#include <exception>

#include "app/morvex_app.h"

namespace {

LONG WINAPI EndOnFault(EXCEPTION_POINTERS* fault) {
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

// Before anything else: no box of the system and no debugger on a fault or a missing disk (a child has nobody
// to close it), and no library is ever taken from the current folder or the path.
void HardenProcess() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndOnFault);
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    HardenProcess();
    try {
        morvex::CmorvexApp().InitInstance();
        return 0;
    } catch (const std::exception& failure) {
        OutputDebugStringA(failure.what());
        return 1;
    }
}
