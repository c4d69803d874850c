#include "convert/child_process.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <psapi.h>
#include <vector>

#include "convert/result_channel.h"
#include "convert/row_status.h"
#include "core/program_folders.h"
#include "res/string_ids.h"
#include "win/environment.h"

namespace morvex {
namespace {

constexpr DWORD kPollMilliseconds = 5;
constexpr DWORD kUnwatchedMilliseconds = 100;  // between two looks at a child whose progress nobody sees
constexpr ULONGLONG kLookMilliseconds = 200;   // between the looks that cost more
constexpr DWORD kDeathMilliseconds = 10000;    // no process takes that long to die
constexpr DWORD kLastWordMilliseconds = 2000;  // between a whole output and the result, at the most
constexpr int kTries = 50;                     // to start a child, while what hinders it may pass
constexpr int kBirths = 3;                     // of a child that dies before it has begun
constexpr DWORD kBetweenTriesMilliseconds = 100;

// Backslashes right before the closing quote would escape it.
std::wstring Quoted(const std::wstring& text) {
    const size_t last = text.find_last_not_of(L'\\');
    const size_t trailing = text.size() - (last == text.npos ? 0 : last + 1);
    return L'"' + text + std::wstring(trailing, L'\\') + L'"';
}

// Want of memory or of a place for a new process (Wine's internal error), or a program file that somebody
// looks through: another moment may be better.
bool MayPass(DWORD error) {
    constexpr DWORD kPassing[] = {ERROR_INTERNAL_ERROR,   ERROR_NOT_ENOUGH_MEMORY,
                                  ERROR_OUTOFMEMORY,      ERROR_NO_SYSTEM_RESOURCES,
                                  ERROR_COMMITMENT_LIMIT, ERROR_SHARING_VIOLATION};
    return std::ranges::find(kPassing, error) != std::end(kPassing);
}

template <class Start>
bool StartPatiently(Start start) {
    for (int tries = 1; !start(); ++tries) {
        if (tries == kTries || !MayPass(GetLastError())) return false;
        Sleep(kBetweenTriesMilliseconds);
    }
    return true;
}

// In bytes, 0 when it is not known. Asked once, by one thread: Wine keeps the answer for a second in a place
// without a lock, where whoever asks beside the first one finds zeros.
std::uint64_t MachineMemory() {
    static const std::uint64_t bytes = [] {
        MEMORYSTATUSEX machine{};
        machine.dwLength = sizeof machine;
        return GlobalMemoryStatusEx(&machine) ? machine.ullTotalPhys : 0;
    }();
    return bytes;
}

std::uint64_t MostMemoryOfChild(unsigned megabytes) {
    if (megabytes != 0) return std::uint64_t{megabytes} << 20;
    return MachineMemory() == 0 ? UINT64_MAX : MachineMemory() / 4 * 3;
}

// One for all that this process runs: some of its runs are of one file.
const std::wstring& NameOfRun() {
    static const std::wstring name =
        std::to_wstring(GetCurrentProcessId()) + L'-' + std::to_wstring(GetTickCount64());
    return name;
}

// What a child inherits and where it belongs: it gets no other handles, and is born into a job. Put in
// afterwards, it could start something outside of the job first, or, held back until then, stay behind asleep
// if this process died in between.
class StartAttributes {
  public:
    StartAttributes(HANDLE job, HANDLE channel, HANDLE output) : job_(job), inherited_{channel, output} {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 2, 0, &size);
        memory_.resize(size);
        InitializeProcThreadAttributeList(List(), 2, 0, &size);
        usable_ = Add(PROC_THREAD_ATTRIBUTE_JOB_LIST, &job_, sizeof job_) &&
                  Add(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited_.data(), sizeof inherited_);
    }
    ~StartAttributes() { DeleteProcThreadAttributeList(List()); }
    StartAttributes(const StartAttributes&) = delete;
    StartAttributes& operator=(const StartAttributes&) = delete;

    bool Usable() const { return usable_; }
    LPPROC_THREAD_ATTRIBUTE_LIST List() const {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }

  private:
    bool Add(DWORD_PTR attribute, void* value, SIZE_T size) const {
        return UpdateProcThreadAttribute(List(), 0, attribute, value, size, nullptr, nullptr) != FALSE;
    }

    HANDLE job_;  // the list refers to these two
    std::array<HANDLE, 2> inherited_;
    bool usable_ = false;
    mutable std::vector<std::byte> memory_;
};

// One child, its channel and its job; whatever of it is left dies with the object.
class Child {
  public:
    Child() : job_(CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    }

    bool Start(const ConversionRequest& request, const ChildArguments& arguments, unsigned atOnce,
               HANDLE output) {
        std::wstring line = ChildCommandLine(request.program, arguments);
        std::map<std::wstring, std::wstring> variables = {
            {kFormatInVariable, request.formats.input},     {kFormatOutVariable, request.formats.output},
            {kSideBySideVariable, std::to_wstring(atOnce)}, {kRunVariable, NameOfRun()},
            {kResultChannelVariable, channel_.Name()},
        };
        if (request.megabytesPerFile != 0)
            variables[kMegabytesVariable] = std::to_wstring(request.megabytesPerFile);
        if (request.pictures) variables[kPictureVariable] = L"1";
        if (!request.userFolder.empty()) variables[kUserFolderVariable] = request.userFolder;
        std::wstring environment = EnvironmentBlockWith(variables);
        const StartAttributes attributes(job_.get(), channel_.Handle(), output);
        STARTUPINFOEXW startup{};
        startup.StartupInfo.cb = sizeof startup;
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdOutput = startup.StartupInfo.hStdError = output;
        startup.lpAttributeList = attributes.List();
        PROCESS_INFORMATION created{};
        // Detached: Ctrl+C in this process's console is not for its children.
        const auto start = [&](DWORD flags) {
            return CreateProcessW(request.program.c_str(), line.data(), nullptr, nullptr, TRUE,
                                  (request.lowPriority ? IDLE_PRIORITY_CLASS : NORMAL_PRIORITY_CLASS) |
                                      DETACHED_PROCESS | CREATE_UNICODE_ENVIRONMENT | flags,
                                  environment.data(), nullptr, &startup.StartupInfo, &created) != FALSE;
        };
        if (!attributes.Usable() || !StartPatiently([&] { return start(EXTENDED_STARTUPINFO_PRESENT); })) {
            startup.StartupInfo.cb = sizeof startup.StartupInfo;
            // Where the system denies the job, a child outside of it is better than none.
            if (!start(0)) return false;
        }
        process_.reset(created.hProcess);
        CloseHandle(created.hThread);
        return true;
    }

    bool Runs() const {
        DWORD exitCode = 0;
        return !GetExitCodeProcess(process_.get(), &exitCode) || exitCode == STILL_ACTIVE;
    }
    // 259 means "still running", but a process may also end with it: then only its handle tells.
    bool EndsWithin(DWORD milliseconds) const {
        return WaitForSingleObject(process_.get(), milliseconds) != WAIT_TIMEOUT;
    }
    int Percent() const { return channel_.Percent(); }

    std::uint64_t Memory() const {
        PROCESS_MEMORY_COUNTERS memory{};
        return K32GetProcessMemoryInfo(process_.get(), &memory, sizeof memory) ? memory.PagefileUsage : 0;
    }

    void Kill() {
        killed_ = true;
        TerminateJobObject(job_.get(), kResultFailed);
        TerminateProcess(process_.get(), kResultFailed);  // where it is in no job
        WaitForSingleObject(process_.get(), kDeathMilliseconds);
    }

    ChildEnd End(const TextCatalogue& text) const {
        DWORD exitCode = 0;
        GetExitCodeProcess(process_.get(), &exitCode);
        const int code = static_cast<int>(exitCode);
        const std::optional<ChildReport> report = channel_.Read();
        if (!report) {
            const bool begun = channel_.HasBegun();
            return {begun ? ChildEnd::Kind::Died : ChildEnd::Kind::NeverBegan,
                    code == kResultOk ? kResultFailed : code,
                    Format(text(begun ? IDS_REASON_DIED : IDS_REASON_NEVER_BEGAN).c_str(), code)};
        }
        if (report->abandoned) return {ChildEnd::Kind::Abandoned, kResultFailed, report->message};
        const int result = code == kResultOk || killed_ ? report->result : code;
        if (report->crashed) return {ChildEnd::Kind::Crashed, result, text(IDS_REASON_CRASHED)};
        return {ChildEnd::Kind::Finished, result, {}};
    }

  private:
    ResultChannel channel_;
    UniqueHandle job_;
    UniqueHandle process_;
    bool killed_ = false;
};

}  // namespace

std::wstring ChildCommandLine(const std::wstring& program, const ChildArguments& arguments) {
    std::wstring line = Quoted(program);
    for (const std::wstring* text :
         {&arguments.input, &arguments.output, &arguments.configFile, &arguments.schemaFolder}) {
        line += L' ' + Quoted(*text);
    }
    return line;
}

ChildRunner::ChildRunner(const ConversionRequest& request, int workers)
    : request_(request),
      atOnce_(request.childrenAtOnce != 0 ? request.childrenAtOnce : static_cast<unsigned>(workers)),
      mostMemory_(MostMemoryOfChild(request.megabytesPerFile)) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    nowhere_ = OwnFile(CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                   OPEN_EXISTING, 0, nullptr));
}

ChildEnd ChildRunner::Run(const ChildArguments& arguments, const Follower& follower) const {
    // On a busy machine a process may die on the system's way to its first instruction. It has done nothing.
    for (int tries = 1;; ++tries) {
        ChildEnd end = RunOnce(arguments, follower);
        if (end.kind != ChildEnd::Kind::NeverBegan || tries == kBirths || follower.stop()) return end;
        Sleep(kBetweenTriesMilliseconds);
    }
}

ChildEnd ChildRunner::RunOnce(const ChildArguments& arguments, const Follower& follower) const {
    using Kind = ChildEnd::Kind;
    const TextCatalogue& text = request_.text;
    Child child;
    // That such a file counts as converted is this program's long-standing rule, which scripts rely on.
    if (!child.Start(request_, arguments, atOnce_, nowhere_.get()))
        return {Kind::NotStarted, kResultOk, text(IDS_REASON_NOT_STARTED)};
    const ULONGLONG started = GetTickCount64();
    const ULONGLONG limit = request_.secondsPerFile * 1000ULL;
    int shown = 0;
    ULONGLONG nextLook = started + kLookMilliseconds;
    while (child.Runs()) {
        const ULONGLONG now = GetTickCount64();
        const bool late = limit != 0 && now - started >= limit;
        bool greedy = false;
        if (now >= nextLook) {
            if (child.EndsWithin(0)) break;
            greedy = child.Memory() > mostMemory_;
            nextLook = now + kLookMilliseconds;
        }
        if (late || greedy || follower.stop()) {
            // Without its result a whole output would pass for a half one.
            if (!greedy && follower.outputIsThere() && child.EndsWithin(kLastWordMilliseconds)) break;
            child.Kill();
            ChildEnd end = child.End(text);
            if (end.kind == Kind::Finished || end.kind == Kind::Crashed) return end;
            if (greedy) return {Kind::Greedy, kResultFailed, text(IDS_REASON_MEMORY)};
            return {late ? Kind::TimedOut : Kind::Stopped, kResultFailed, {}};
        }
        if (const int percent = child.Percent(); percent != shown) follower.progress(shown = percent);
        if (!request_.unwatched)
            Sleep(kPollMilliseconds);
        else if (child.EndsWithin(kUnwatchedMilliseconds))
            break;
    }
    return child.End(text);
}

}  // namespace morvex
