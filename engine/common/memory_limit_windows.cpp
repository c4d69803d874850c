#include <windows.h>

#include "engine/common/job_object_windows.h"
#include "engine/common/memory_limit.h"

namespace morvex {

// The limit of the process grows, that of its job object stays. The handle is held for a moment only: the
// process that watches ends this one by letting go of the last one.
void AllowMemory(std::uint64_t bytes) {
    const HANDLE job = OpenJobObjectW(JOB_OBJECT_QUERY | JOB_OBJECT_SET_ATTRIBUTES, FALSE,
                                      JobObjectName(GetCurrentProcessId()).c_str());
    if (job == nullptr) return;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    // Wine tells of no limits, and what was set back from that would be none, the end with the worker
    // included.
    if (QueryInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits, nullptr) &&
        (limits.BasicLimitInformation.LimitFlags & JOB_OBJECT_LIMIT_PROCESS_MEMORY) != 0) {
        limits.ProcessMemoryLimit += bytes;
        SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    }
    CloseHandle(job);
}

}  // namespace morvex
