#include <windows.h>

#include <fcntl.h>
#include <stdlib.h>

#include "engine/worker/standard_streams.h"

namespace morvex {
namespace {

LONG WINAPI EndAtOnce(EXCEPTION_POINTERS* fault) {
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void PrepareStandardStreams() {
    // A fault ends the process at once; no box and no debugger waits for somebody.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(EndAtOnce);
    // Text files have the same bytes as on every other system.
    _fmode = _O_BINARY;
}

std::size_t ReadFromCaller(char* bytes, std::size_t size) {
    DWORD got = 0;
    return ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes, static_cast<DWORD>(size), &got, nullptr) ? got : 0;
}

void WriteToCaller(std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        const auto size = static_cast<DWORD>(bytes.size());
        if (!WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), size, &written, nullptr)) return;
        bytes.remove_prefix(written);
    }
}

}  // namespace morvex
