#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "batch/batch_console.h"
#include "batch/batch_options.h"
#include "batch/batch_plan.h"
#include "batch/job_log.h"
#include "list/html_report.h"

namespace morvex {

// Keeps the results of a batch: counts them, and hands each to the log, the report and the console. Any
// thread.
class BatchResults {
  public:
    explicit BatchResults(const BatchOptions& options);

    // Opens log and report. Returns what is wrong; empty when nothing is.
    std::wstring Open();

    void Ended(const JobRecord& record, unsigned attempts);
    void Refused(const BatchTask& task, const RefusedTask& refused);
    void CannotList(const std::wstring& path, const std::wstring& reason);
    void Planned(const BatchTask& task);

    // The log cannot be written any more: nothing more is to be begun, since nobody would learn of it.
    bool Broken() const;
    BatchCounts Counts() const;
    // To be called every moment.
    void ShowProgress(const BatchCounts& counts);
    void Close(const BatchCounts& counts, size_t leftAside, const std::wstring& stopped);

  private:
    void Take(const JobRecord& record, FileState state, unsigned attempts, bool logged);

    const BatchOptions& options_;
    BatchConsole console_;
    mutable std::mutex mutex_;  // guards what follows
    JobLog log_;
    std::unique_ptr<HtmlReport> report_;
    BatchCounts counts_;
    bool broken_ = false;
};

// Now, as a log has it.
std::wstring LogTimeNow();

}  // namespace morvex
