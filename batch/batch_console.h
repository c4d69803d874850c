#pragma once

#include <windows.h>

#include <mutex>
#include <string>

#include "batch/job_log.h"

namespace morvex {

// What became of a file, for those who watch.
enum class FileState { Converted, Failed, Skipped, DoneBefore, FailedBefore, Planned };
inline constexpr int kFileStates = 6;
const wchar_t* FileStateText(FileState state);

struct BatchCounts {
    size_t of[kFileStates] = {};
    size_t listed = 0;       // so far
    bool allListed = false;  // no more will come
    double seconds = 0;      // since the start
    size_t Of(FileState state) const { return of[static_cast<int>(state)]; }
    size_t Finished() const;  // of those listed
};

std::wstring BatchSummary(const BatchCounts& counts);  // "3 converted, 1 failed, 0 skipped"

// Writes to standard output and standard error, in UTF-8 or, on a console, in its own encoding. Where nobody
// reads any more the batch goes on in silence. Any thread.
class BatchConsole {
  public:
    enum class Style { Plain, Terminal, Quiet, Json };
    // Plain becomes Terminal where standard output is one.
    explicit BatchConsole(Style style);

    void Tell(const JobRecord& record, FileState state, unsigned attempts);
    void ShowProgress(const BatchCounts& counts);
    void TellEnd(const BatchCounts& counts, size_t leftAside, const std::wstring& stopped);

    static void Print(DWORD stream, const std::wstring& text);
    static void Complain(const std::wstring& message);  // on standard error, with the command's name

  private:
    void PrintLine(const std::wstring& line);

    Style style_;
    size_t width_ = 79;  // of the terminal, in characters
    std::mutex mutex_;   // guards what follows
    size_t shown_ = 0;   // characters of the progress line
};

}  // namespace morvex
