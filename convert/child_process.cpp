#include "convert/child_process.h"

#include <utility>

namespace morvex {
namespace {

constexpr DWORD kPollMilliseconds = 5;

// Backslashes right before the closing quote would escape it.
std::wstring Quoted(const std::wstring& text) {
    const size_t last = text.find_last_not_of(L'\\');
    const size_t trailing = text.size() - (last == text.npos ? 0 : last + 1);
    return L'"' + text + std::wstring(trailing, L'\\') + L'"';
}

// 259 means "still running", but a process may also end with it: then only its handle tells.
bool StillRunning(HANDLE process) {
    DWORD exitCode = 0;
    return GetExitCodeProcess(process, &exitCode) && exitCode == STILL_ACTIVE &&
           WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
}

}  // namespace

std::wstring ChildCommandLine(const std::wstring& program, const ChildArguments& arguments) {
    std::wstring line = Quoted(program);
    for (const std::wstring* text :
         {&arguments.input, &arguments.output, &arguments.configFile, &arguments.schemaFolder}) {
        line += L' ' + Quoted(*text);
    }
    return line;
}

ChildRunner::ChildRunner(std::wstring program, const std::wstring& formatIn, const std::wstring& formatOut)
    : program_(std::move(program)), job_(CreateJobObjectW(nullptr, nullptr)) {
    SetEnvironmentVariableW(kFormatInVariable, formatIn.c_str());
    SetEnvironmentVariableW(kFormatOutVariable, formatOut.c_str());
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
}

int ChildRunner::Run(const ChildArguments& arguments) const {
    std::wstring line = ChildCommandLine(program_, arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    // Suspended until it is in the job, so that it cannot start anything outside of it.
    if (!CreateProcessW(program_.c_str(), line.data(), nullptr, nullptr, TRUE,
                        NORMAL_PRIORITY_CLASS | CREATE_SUSPENDED, nullptr, nullptr, &startup, &created)) {
        return 0;
    }
    const UniqueHandle process(created.hProcess);
    const UniqueHandle thread(created.hThread);
    AssignProcessToJobObject(job_.get(), process.get());
    ResumeThread(thread.get());

    while (StillRunning(process.get())) Sleep(kPollMilliseconds);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    return static_cast<int>(exitCode);
}

}  // namespace morvex
