#include "convert/child_process.h"

#include <cstddef>
#include <vector>

#include "win/environment.h"

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

// Has a process born into a job. Put in afterwards, it could start something outside of the job first, or,
// held back until then, stay behind asleep if this process died in between.
class JobAttribute {
  public:
    explicit JobAttribute(HANDLE job) : job_(job) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_.resize(size);
        InitializeProcThreadAttributeList(List(), 1, 0, &size);
        usable_ = job_ && UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &job_,
                                                    sizeof job_, nullptr, nullptr);
    }
    ~JobAttribute() { DeleteProcThreadAttributeList(List()); }
    JobAttribute(const JobAttribute&) = delete;
    JobAttribute& operator=(const JobAttribute&) = delete;

    bool Usable() const { return usable_; }
    LPPROC_THREAD_ATTRIBUTE_LIST List() const {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }

  private:
    HANDLE job_;  // the list refers to it
    bool usable_ = false;
    mutable std::vector<std::byte> memory_;
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

ChildRunner::ChildRunner(const ConversionRequest& request)
    : program_(request.program),
      environment_(EnvironmentBlockWith({
          {kFormatInVariable, request.formats.input},
          {kFormatOutVariable, request.formats.output},
          {kUserFolderVariable, request.userFolder},
          {kSideBySideVariable, L"1"},
          {kChildOfRunVariable, L"1"},
      })),
      job_(CreateJobObjectW(nullptr, nullptr)) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
}

int ChildRunner::Run(const ChildArguments& arguments) const {
    std::wstring line = ChildCommandLine(program_, arguments);
    std::wstring environment = environment_;
    const JobAttribute attribute(job_.get());
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.lpAttributeList = attribute.List();
    PROCESS_INFORMATION created{};
    const auto start = [&](DWORD flags) {
        return CreateProcessW(program_.c_str(), line.data(), nullptr, nullptr, TRUE,
                              NORMAL_PRIORITY_CLASS | CREATE_UNICODE_ENVIRONMENT | flags, environment.data(),
                              nullptr, &startup.StartupInfo, &created) != FALSE;
    };
    if (!attribute.Usable() || !start(EXTENDED_STARTUPINFO_PRESENT)) {
        startup.StartupInfo.cb = sizeof startup.StartupInfo;
        if (!start(0))
            return 0;  // where the system denies the job, a child outside of it is better than none
    }
    const UniqueHandle process(created.hProcess);
    const UniqueHandle thread(created.hThread);
    while (StillRunning(process.get())) Sleep(kPollMilliseconds);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    return static_cast<int>(exitCode);
}

}  // namespace morvex
