#pragma once

#include <optional>
#include <string>
#include <vector>

#include "convert/conversion_request.h"
#include "convert/row_status.h"

// One run over a list of files: each is converted in this process or by a child process of the program.
namespace morvex {

// Told what happens in a run, on whichever thread it happens (several at once in a multiprocess run). The run
// waits for nothing here: an implementation that shows things posts them to its window and returns.
class RunObserver {
  public:
    virtual ~RunObserver() = default;
    // A file has begun (Running), ended, or will not be converted: each file's last call is a Final status.
    // In developer mode a row beyond the last file tells the run's total time.
    virtual void OnStatus(size_t /*row*/, const RowStatus& /*status*/) {}
    // Progress of a file being converted, 0 to 100, where the library tells it.
    virtual void OnProgress(size_t /*row*/, int /*percent*/) {}
    // True ends the run before its next file.
    virtual bool StopRequested() { return false; }
};

struct RunOutcome {
    int lastResult = 0;      // the library's result of the file that ended last
    bool abandoned = false;  // the run ended before its time: the library is not usable, or memory ran out
    std::wstring message;    // what to tell the user of an abandoned run; may be empty
    size_t failed = 0;       // files that ended with another result than 0
    size_t notStarted = 0;   // files that count as converted though their child could not be started
};

// Converts the job's files and returns when all are done. Runs on the caller's thread and, in a multiprocess
// job, on the parallel runtime's workers. Throws nothing: what goes wrong is in the outcome.
RunOutcome RunConversions(const ConversionJob& job, RunObserver& observer) noexcept;

}  // namespace morvex
