#include "engine/worker/start_job_windows.h"

#include <atomic>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/common/job_object_windows.h"
#include "engine/worker/be_the_job_windows.h"

namespace morvex {
namespace {

struct Pipe {
    OwnedHandle ours, theirs;
};

SECURITY_ATTRIBUTES Inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

// Anonymous pipes know no overlapped reads, so the journal's has a name.
Pipe MakeJournalPipe() {
    static std::atomic<int> count = 0;
    const std::wstring name = L"\\\\.\\pipe\\morvex-engine-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(++count);
    constexpr DWORD kBuffer = 64 << 10;
    Pipe pipe;
    pipe.ours = Own(CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, kBuffer, kBuffer, 0, nullptr));
    SECURITY_ATTRIBUTES inheritable = Inheritable();
    pipe.theirs = Own(CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inheritable, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    return pipe;
}

// The read end of a pipe that already holds all of the order: the writer never waits for the process.
OwnedHandle MakeOrderPipe(const std::string& order) {
    HANDLE read = nullptr, write = nullptr;
    SECURITY_ATTRIBUTES inheritable = Inheritable();
    const auto size = static_cast<DWORD>(order.size());
    if (!CreatePipe(&read, &write, &inheritable, size + 1)) return nullptr;
    const OwnedHandle writeEnd(write);
    OwnedHandle readEnd(read);
    DWORD written = 0;
    return WriteFile(write, order.data(), size, &written, nullptr) && written == size ? std::move(readEnd)
                                                                                      : nullptr;
}

OwnedHandle InheritableStandardError() {
    HANDLE copy = nullptr;
    const HANDLE self = GetCurrentProcess();
    DuplicateHandle(self, GetStdHandle(STD_ERROR_HANDLE), self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
    return OwnedHandle(copy);
}

// Named after its process, which may ask for more memory than it has been given first.
OwnedHandle MakeJobObject(DWORD process, const MemoryLimits& memory) {
    OwnedHandle job = Own(CreateJobObjectW(nullptr, JobObjectName(process).c_str()));
    if (job != nullptr && GetLastError() == ERROR_ALREADY_EXISTS) return nullptr;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE |
                                              JOB_OBJECT_LIMIT_JOB_MEMORY | JOB_OBJECT_LIMIT_PROCESS_MEMORY |
                                              JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    limits.JobMemoryLimit = memory.most;
    limits.ProcessMemoryLimit = memory.first;
    const BOOL limited =
        job != nullptr &&
        SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return limited ? std::move(job) : nullptr;
}

std::wstring OwnPath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// The list of handles that a process inherits, whatever else is inheritable.
class InheritanceList {
  public:
    explicit InheritanceList(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_.resize(size);
        made_ = InitializeProcThreadAttributeList(Get(), 1, 0, &size) &&
                UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                          handles_.size() * sizeof(HANDLE), nullptr, nullptr);
    }
    InheritanceList(const InheritanceList&) = delete;
    InheritanceList& operator=(const InheritanceList&) = delete;
    ~InheritanceList() {
        if (made_) DeleteProcThreadAttributeList(Get());
    }
    LPPROC_THREAD_ATTRIBUTE_LIST Get() {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data());
    }

  private:
    std::vector<HANDLE> handles_;
    std::vector<char> bytes_;
    bool made_ = false;
};

// Suspended, so that the process is in the job before its first instruction. It is out of reach of the
// console's Ctrl+C, which this process answers.
bool Spawn(StartedJob& job, const MemoryLimits& memory, HANDLE input, HANDLE output, HANDLE errors) {
    std::vector<HANDLE> inherited = {input, output};
    if (errors != nullptr) inherited.push_back(errors);
    InheritanceList list(std::move(inherited));
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = input;
    start.StartupInfo.hStdOutput = output;
    start.StartupInfo.hStdError = errors;
    start.lpAttributeList = list.Get();
    // A process without a console must not get one for its child: that would be a window.
    const DWORD console = GetConsoleCP() != 0 ? CREATE_NEW_PROCESS_GROUP : DETACHED_PROCESS;
    std::wstring command = L"morvex-engine ";
    for (const char c : std::string_view(kJobOption)) command += static_cast<wchar_t>(c);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(OwnPath().c_str(), command.data(), nullptr, nullptr, TRUE,
                        console | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                        &start.StartupInfo, &process)) {
        return false;
    }
    OwnedHandle started(process.hProcess);
    job.thread = OwnedHandle(process.hThread);
    job.jobObject = MakeJobObject(process.dwProcessId, memory);
    if (job.jobObject == nullptr || !AssignProcessToJobObject(job.jobObject.get(), process.hProcess)) {
        const DWORD error = GetLastError();
        TerminateProcess(process.hProcess, EXIT_FAILURE);
        SetLastError(error);
        return false;
    }
    ResumeThread(process.hThread);
    job.process = std::move(started);
    return true;
}

}  // namespace

StartedJob StartJobProcess(const std::string& order, bool trace, const MemoryLimits& limits) {
    StartedJob started;
    const OwnedHandle input = MakeOrderPipe(order);
    Pipe journal = MakeJournalPipe();
    started.error = GetLastError();
    if (input == nullptr || journal.ours == nullptr || journal.theirs == nullptr) return started;
    const OwnedHandle errors = trace ? InheritableStandardError() : nullptr;
    if (!Spawn(started, limits, input.get(), journal.theirs.get(), errors.get()))
        started.error = GetLastError();
    started.journal = std::move(journal.ours);
    return started;
}

}  // namespace morvex
