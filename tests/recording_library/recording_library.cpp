// A conversion library for tests: converts nothing, writes every call into a log and does what a test
// scripts.
//
// Environment: MORVEX_TEST_LOG names the log (UTF-16LE, one line a call, tab-separated fields); without it
// nothing is logged. MORVEX_TEST_SCRIPT holds commands for every call; "{commands}" inside the input's file
// name adds more for that file. Commands, separated by ",":
//
// clang-format off
//   result=N                     the result (default 0)
//   sleep=N                      milliseconds before the end, after output and report
//   progress                     reports -3, 50 and 150 percent
//   spew=N, stdio=N              writes N kilobytes to standard output, through the C runtime
//   output, report               writes an output file, a report of a failure beside it
//   read, write, smash           null read, null write, a stack pointer that leads nowhere
//   overflow=N                   stack overflow by frames of N bytes
//   throw, raise                 a C++ exception, one of another compiler
//   abort, fastfail, exit=N      ends of the process
//   kill, exitthread             the process ended from outside with code 0, the thread ended
//   version                      in MORVEX_TEST_SCRIPT: the version query reads from null
//   grandchild                   starts a process that is left behind
// clang-format on
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using ProgressCallback = void (*)(const int*, const int*);

std::wstring Environment(const wchar_t* name) {
    std::wstring text(32768, L'\0');
    text.resize(GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

long long Milliseconds() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return static_cast<long long>(
        (static_cast<unsigned long long>(now.dwHighDateTime) << 32 | now.dwLowDateTime) / 10000);
}

void WriteLog(const std::wstring& line) {
    const std::wstring path = Environment(L"MORVEX_TEST_LOG");
    if (path.empty()) return;
    // Appending is not one step everywhere, and calls of several processes end at once.
    const HANDLE turn = CreateMutexW(nullptr, FALSE, L"morvex-test-log");
    WaitForSingleObject(turn, INFINITE);
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size() * 2), &written, nullptr);
    CloseHandle(file);
    ReleaseMutex(turn);
    CloseHandle(turn);
}

volatile int sink = 0;
int Recurse(int frameSize, int depth) {
    auto* const frame = static_cast<volatile char*>(__builtin_alloca(static_cast<size_t>(frameSize)));
    frame[0] = static_cast<char>(depth);
    sink = frame[0];
    return depth < 0 ? 0 : Recurse(frameSize, depth + 1) + frame[0];
}

struct Script {
    std::wstring commands;

    bool Has(const std::wstring& command) const {
        return (L"," + commands + L",").find(L"," + command + L",") != std::wstring::npos;
    }
    int Number(const std::wstring& name, int fallback) const {
        const std::wstring text = L"," + commands;
        const size_t at = text.find(L"," + name + L"=");
        return at == std::wstring::npos ? fallback : std::stoi(text.substr(at + name.size() + 2));
    }
};

Script ScriptFor(const std::wstring& input) {
    Script script{Environment(L"MORVEX_TEST_SCRIPT")};
    const size_t open = input.rfind(L'{'), close = input.rfind(L'}');
    if (open != std::wstring::npos && close != std::wstring::npos && open < close) {
        script.commands = input.substr(open + 1, close - open - 1) + L"," + script.commands;
    }
    return script;
}

void Spew(int kilobytes) {
    const std::string block(1024, 'x');
    for (int i = 0; i < kilobytes; ++i) {
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), block.data(), static_cast<DWORD>(block.size()), &written,
                  nullptr);
    }
}

void WriteBytes(const std::wstring& path, const char* text) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
    CloseHandle(file);
}

// The process itself again, as one that sleeps; its id goes into a file beside the log.
void StartGrandchild() {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    wchar_t command[] = L"grandchild sleep";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    CreateProcessW(program, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created);
    const std::wstring path = Environment(L"MORVEX_TEST_LOG") + L".grandchild";
    WriteBytes(path, std::to_string(created.dwProcessId).c_str());
}

void Die(const Script& script) {
    int* volatile nowhere = nullptr;
    if (script.Has(L"read")) sink = *nowhere;
    if (script.Has(L"write")) *nowhere = 1;
    if (script.Has(L"smash")) __asm__ volatile("xorl %%esp, %%esp\n\tpush %%rax" : : : "memory");
    if (const int frame = script.Number(L"overflow", 0)) sink = Recurse(frame, 0);
    if (script.Has(L"throw")) throw std::runtime_error("scripted");
    if (script.Has(L"raise")) RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    if (script.Has(L"abort")) std::abort();
    if (script.Has(L"fastfail")) __asm__ volatile("int $0x29" : : "c"(7));
    if (script.Has(L"kill")) TerminateProcess(GetCurrentProcess(), 0);
    if (script.Has(L"exitthread")) ExitThread(0);
    if (const int code = script.Number(L"exit", -1); code >= 0) ExitProcess(static_cast<UINT>(code));
}

void Play(const Script& script, const wchar_t* output, ProgressCallback progress) {
    const int phases[] = {0, 1, 1, 1};
    const int percents[] = {99, -3, 50, 150};
    if (script.Has(L"progress") && progress) {
        for (int i = 0; i < 4; ++i) progress(&phases[i], &percents[i]);
    }
    if (script.Has(L"output")) WriteBytes(output, "written");
    if (script.Has(L"report"))
        WriteBytes(std::wstring(output) + L"-zel.xml", "<reason>1 &lt; 2 &amp;amp;</reason>");
    if (const int sleep = script.Number(L"sleep", 0)) Sleep(static_cast<DWORD>(sleep));
    if (const int kilobytes = script.Number(L"spew", 0)) Spew(kilobytes);
    for (int i = script.Number(L"stdio", 0); i > 0; --i) std::printf("%01024d", i);
    if (script.Has(L"grandchild")) StartGrandchild();
    Die(script);
}

}  // namespace

extern "C" {

__declspec(dllexport) int _zelConvert(int inputFormat, int outputFormat, const wchar_t* input,
                                      const wchar_t* output, const wchar_t* config, const wchar_t* schema,
                                      ProgressCallback progress, int parallel, void* reserved, int option,
                                      int traceLevel, int reserved2, int runSize) {
    const Script script = ScriptFor(input);
    const long long start = Milliseconds();
    const std::wstring tab = L"\t";
    const auto number = [&tab](long long value) { return tab + std::to_wstring(value); };
    std::wstring line = std::to_wstring(GetCurrentProcessId());
    line += number(inputFormat) + number(outputFormat) + tab + input + tab + output + tab + config + tab +
            schema + number(progress != nullptr) + number(parallel) + number(reserved != nullptr) +
            number(option) + number(traceLevel) + number(reserved2) + number(runSize) + number(start);
    // A call that may not return, or late, is logged before; its end is then its start.
    bool returns = true;
    for (const wchar_t* command : {L"read", L"write", L"smash", L"overflow", L"throw", L"raise", L"abort",
                                   L"fastfail", L"exit", L"kill", L"grandchild", L"spew", L"stdio"}) {
        returns = returns && script.commands.find(command) == std::wstring::npos;
    }
    if (!returns) WriteLog(line + number(start) + L"\n");
    Play(script, output, progress);
    if (returns) WriteLog(line + number(Milliseconds()) + L"\n");
    return script.Number(L"result", 0);
}

__declspec(dllexport) int _zelGetVersion() {
    const int* volatile nowhere = nullptr;
    return Script{Environment(L"MORVEX_TEST_SCRIPT")}.Has(L"version") ? *nowhere : 244;
}
__declspec(dllexport) int _zelGetRelease() {
    return 20240930;
}
// Of all settings it uses one.
__declspec(dllexport) int _zelUsesSetting(const wchar_t* section, const wchar_t* key) {
    return _zelGetVersion() == 244 && std::wstring(section) == L"MODIFICATION D'ATTRIBUT" &&
           std::wstring(key) == L"VISIBILITY";
}
}
