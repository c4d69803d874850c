#include "win/harden_process.h"

#include <windows.h>

#include <cstdlib>

namespace morvex {
namespace {

LONG WINAPI EndOnFault(EXCEPTION_POINTERS* fault) {
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void HardenProcess() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndOnFault);
    _set_error_mode(_OUT_TO_STDERR);  // of abort and failed assertions, in libraries on this C runtime too
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32 | LOAD_LIBRARY_SEARCH_USER_DIRS);
}

}  // namespace morvex
