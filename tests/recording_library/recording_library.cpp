// A conversion library for tests: converts nothing, writes every call into a log and does what a test
// scripts.
//
// Environment: MORVEX_TEST_LOG names the log (UTF-16LE, one line a call, tab-separated fields); without it
// nothing is logged. MORVEX_TEST_LIBRARY names another conversion library, which gets the calls that have no
// commands. MORVEX_TEST_SCRIPT holds commands for every call; "{commands}" inside the input's file
// name adds more for that file. Commands, separated by ",":
//
// clang-format off
//   result=N                     the result (default 0)
//   errormode, company, picture  results: the process's error mode; -2 where none is spoken of
//   company=N                    -2 where other than N conversions at once are spoken of
//   sleep=N                      milliseconds before the end, after output and report
//   progress                     reports -3, 50 and 150 percent
//   spew=N, stdio=N              writes N kilobytes to standard output, through the C runtime
//   output, report, praise       writes an output file, a report of a failure, of a success beside it
//   read, write, smash           null read, null write, a stack pointer that leads nowhere
//   overflow=N, reporter         stack overflow by frames of N bytes; tells it, on that stack, into a file
//   throw, raise                 a C++ exception, one of another compiler
//   abort, fastfail, exit=N      ends of the process
//   kill, exitthread             the process ended from outside with code 0, the thread ended
//   loop, hoard                  an endless loop, one that takes memory
//   hold=N                       takes N megabytes before it sleeps
//   otherthread, lonely          a fault on a thread of its own; ends all threads but the first and its own
//   unload, handles              takes itself, or everybody's handles, away
//   disturb, divide              changes what belongs to the process; divides by zero
//   version                      in MORVEX_TEST_SCRIPT: the version query reads from null
//   grandchild                   starts a process that is left behind
//   attach, detach               in a child's input: hangs while it is loaded, while the process ends
// clang-format on
#include <windows.h>

#include <cfloat>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <thread>
#include <tlhelp32.h>
#include <utility>

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

// As a crash reporter of the library's own does: it needs room on the very stack that has run over.
PVOID reporter = nullptr;
LONG CALLBACK TellOverflow(EXCEPTION_POINTERS* fault) {
    if (fault->ExceptionRecord->ExceptionCode != EXCEPTION_STACK_OVERFLOW) return EXCEPTION_CONTINUE_SEARCH;
    RemoveVectoredExceptionHandler(reporter);
    volatile char text[40 << 10];
    for (size_t at = sizeof text; at >= 4096; at -= 4096) text[at - 1] = 1;
    sink = text[sizeof text - 1];
    WriteBytes(Environment(L"MORVEX_TEST_LOG") + L".overflow", "told");
    return EXCEPTION_CONTINUE_SEARCH;
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

HMODULE Self(DWORD flags) {
    static const wchar_t inside = L' ';
    HMODULE self = nullptr;
    GetModuleHandleExW(flags | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, &inside, &self);
    return self;
}

// Everything that a badly behaved library may change for those who come after it.
void Disturb() {
    SetCurrentDirectoryW(L"C:\\windows");
    SetPriorityClass(GetCurrentProcess(), IDLE_PRIORITY_CLASS);
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_IDLE);
    SetErrorMode(0);
    SetUnhandledExceptionFilter(nullptr);
    std::setlocale(LC_ALL, "German");
    _controlfp(0, _MCW_EM);  // floating-point faults become exceptions
}

void Take(int megabytes) {
    const size_t size = static_cast<size_t>(megabytes) << 20;
    auto* const block = static_cast<volatile char*>(std::malloc(size));
    for (size_t at = 0; block && at < size; at += 4096) block[at] = 1;
}

void EndOtherThreads() {
    const HANDLE threads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    bool first = true;
    for (BOOL more = Thread32First(threads, &entry); more; more = Thread32Next(threads, &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId()) continue;
        if (!std::exchange(first, false) && entry.th32ThreadID != GetCurrentThreadId())
            TerminateThread(OpenThread(THREAD_TERMINATE, FALSE, entry.th32ThreadID), 0);
    }
    CloseHandle(threads);
}

// Without a trace on its way out: the code that called is gone.
void Unload() {
    const HMODULE self = Self(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
    while (FreeLibrary(self)) {
    }
}

void Misbehave(const Script& script) {
    if (script.Has(L"disturb")) Disturb();
    volatile double zero = 0;
    if (script.Has(L"divide")) sink = 1 / zero > 0;
    if (script.Has(L"loop")) {
        for (;;) sink = sink + 1;
    }
    while (script.Has(L"hoard")) Take(16);
    if (script.Has(L"unload")) Unload();
    if (script.Has(L"lonely")) EndOtherThreads();
    if (script.Has(L"otherthread")) {
        std::thread([] {
            const volatile int* volatile nowhere = nullptr;
            sink = *nowhere;
        }).join();
    }
    for (std::uintptr_t i = 4; script.Has(L"handles") && i < 4000; i += 4)
        CloseHandle(reinterpret_cast<HANDLE>(i));
    if (script.Has(L"detach")) Self(GET_MODULE_HANDLE_EX_FLAG_PIN);
}

void Die(const Script& script) {
    int* volatile nowhere = nullptr;
    if (script.Has(L"read")) sink = *nowhere;
    if (script.Has(L"write")) *nowhere = 1;
    if (script.Has(L"smash")) __asm__ volatile("xorl %%esp, %%esp\n\tpush %%rax" : : : "memory");
    if (script.Has(L"reporter")) reporter = AddVectoredExceptionHandler(1, TellOverflow);
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
    if (script.Has(L"praise")) WriteBytes(std::wstring(output) + L"-zel.xml", "<written solids=\"1\"/>");
    Take(script.Number(L"hold", 0));
    if (const int sleep = script.Number(L"sleep", 0)) Sleep(static_cast<DWORD>(sleep));
    if (const int kilobytes = script.Number(L"spew", 0)) Spew(kilobytes);
    for (int i = script.Number(L"stdio", 0); i > 0; --i) std::printf("%01024d", i);
    if (script.Has(L"grandchild")) StartGrandchild();
    Misbehave(script);
    Die(script);
}

using Convert = int (*)(int, int, const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                        ProgressCallback, int, void*, int, int, int, int);

// The other library's entry; null when there is none.
Convert OtherLibrary() {
    const std::wstring path = Environment(L"MORVEX_TEST_LIBRARY");
    if (path.empty()) return nullptr;
    const HMODULE library = LoadLibraryW(path.c_str());
    return reinterpret_cast<Convert>(reinterpret_cast<void*>(GetProcAddress(library, "_zelConvert")));
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* ending) {
    const auto told = [](const wchar_t* command) { return std::wcsstr(GetCommandLineW(), command); };
    if ((reason == DLL_PROCESS_ATTACH && told(L"{attach")) ||
        (reason == DLL_PROCESS_DETACH && ending && told(L"detach}"))) {
        Sleep(INFINITE);
    }
    return TRUE;
}

extern "C" {

__declspec(dllexport) int _zelConvert(int inputFormat, int outputFormat, const wchar_t* input,
                                      const wchar_t* output, const wchar_t* config, const wchar_t* schema,
                                      ProgressCallback progress, int parallel, void* reserved, int option,
                                      int traceLevel, int reserved2, int runSize) {
    const Script script = ScriptFor(input);
    if (const Convert convert = script.commands.empty() ? OtherLibrary() : nullptr) {
        return convert(inputFormat, outputFormat, input, output, config, schema, progress, parallel, reserved,
                       option, traceLevel, reserved2, runSize);
    }
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
                                   L"fastfail", L"exit", L"kill", L"grandchild", L"spew", L"stdio", L"loop",
                                   L"hoard", L"unload", L"otherthread", L"handles"}) {
        returns = returns && script.commands.find(command) == std::wstring::npos;
    }
    if (!returns) WriteLog(line + number(start) + L"\n");
    Play(script, output, progress);
    if (returns) WriteLog(line + number(Milliseconds()) + L"\n");
    if (script.Has(L"errormode")) return static_cast<int>(GetErrorMode());
    if (script.Has(L"picture") && Environment(L"MORVEX_PREVIEW") != L"1") return -2;
    const std::wstring company = Environment(L"MORVEX_SIDE_BY_SIDE");
    if (script.Has(L"company") && company.empty()) return -2;
    const int wanted = script.Number(L"company", 0);
    if (wanted != 0 && company != std::to_wstring(wanted)) return -2;
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
