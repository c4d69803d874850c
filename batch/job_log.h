#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "convert/output_names.h"
#include "win/unique_handle.h"

// The job log: one line a file, UTF-8, the fields between tabs. In texts a tab, a line end and a percent sign
// stand as %09, %0A, %0D and %25.
namespace morvex {

struct JobRecord {
    std::wstring start;  // "2026-01-31T08:15:00.250Z"
    double seconds = 0;
    int result = 0;  // 0: converted
    std::wstring reason;
    std::uint64_t inputBytes = 0, outputBytes = 0;
    std::wstring input, output;
};

// The time as a log has it; such texts sort as the times do.
std::wstring LogTime(const FILETIME& time);

std::string FormatJobRecord(const JobRecord& record);             // with its line end
std::optional<JobRecord> ParseJobRecord(std::wstring_view line);  // nothing for a line that is cut or damaged

// Appends to a log. One batch a log: a second one that wants the same is refused. One thread at a time.
class JobLog {
  public:
    // An incomplete line at the log's end is cut off. A file that is no log is refused, and left as it is.
    // Returns what is wrong; empty when nothing is.
    std::wstring Open(const std::wstring& path);

    // Appends one line as a whole: false, and the log as it was, when it cannot be written.
    bool Append(const JobRecord& record);

    // Brings what was appended to the disk; FlushWhenDue, to be called every moment, a second after it was.
    void Flush();
    void FlushWhenDue();

  private:
    bool IsLog();
    bool CutIncompleteLine();

    UniqueHandle file_;
    bool flushed_ = true;
    ULONGLONG flushAt_ = 0;  // milliseconds
};

// What a log says of each input, its last line counting. Holds a few bytes a line and reads the rest again
// when it is asked.
class JobHistory {
  public:
    explicit JobHistory(OutputNames& names) : names_(names) {}

    // Whether the names of the log's outputs are given to nobody else.
    enum class Outputs { Keep, Ignore };

    // Returns what is wrong; empty when nothing is. A log that does not exist is an empty one.
    std::wstring Read(const std::wstring& path, Outputs outputs);

    // The last record of that input, however its path is spelled there. Any thread, as the next.
    std::optional<JobRecord> Find(const std::wstring& input);
    // The inputs that failed last, in the log's order.
    void ForEachFailed(const std::function<void(const JobRecord&)>& take);

  private:
    std::optional<JobRecord> RecordAt(std::uint64_t offset);

    OutputNames& names_;
    std::mutex mutex_;  // guards the place in the file
    UniqueHandle file_;
    struct Line {
        std::uint64_t path = 0;  // hash of the input as the log spells it
        std::uint64_t offset = 0;
    };
    std::unordered_multimap<OutputNames::Key, Line> lastLines_;  // of each path
};

}  // namespace morvex
