#pragma once

#include <optional>
#include <string>
#include <vector>

#include "convert/conversion_job.h"
#include "core/text_catalogue.h"

// One run over a list of files: each is converted in this process or by a child process of the program.
namespace morvex {

// Told what happens in a run, on whichever thread it happens (several at once in a multiprocess run). The run
// waits for nothing here: an implementation that shows things posts them to its window and returns.
class RunObserver {
  public:
    virtual ~RunObserver() = default;
    // Before the first file: every row is about to be converted (status "-").
    virtual void OnRunStarted(size_t /*files*/) {}
    virtual void OnFileStarted(size_t /*row*/, const std::wstring& /*fileName*/) {}
    virtual void OnStatus(size_t /*row*/, const std::wstring& /*text*/) {}
    // The row's final library result, right after its status text.
    virtual void OnResult(size_t /*row*/, int /*result*/) {}
    // Progress of the file being converted, 0 to 100; only in conversions made in this process.
    virtual void OnProgress(int /*percent*/) {}
    // True ends the run before its next file; rows not yet begun keep their status.
    virtual bool StopRequested() { return false; }
};

struct RunOutcome {
    int lastResult = 0;      // the library's result of the file that ended last
    bool abandoned = false;  // the library is not usable; rows not yet converted keep their status
    std::wstring message;    // what to tell the user of an abandoned run; may be empty
    size_t failed = 0;       // files that ended with another result than 0
};

// Converts the job's files and returns when all are done. Runs on the caller's thread and, in a multiprocess
// job, on the parallel runtime's workers. Never throws for what a file or the library does.
RunOutcome RunConversions(const ConversionJob& job, RunObserver& observer);

}  // namespace morvex
