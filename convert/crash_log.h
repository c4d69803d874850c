#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace morvex {

// The crash log of one run: what was being converted when the process died is its last line. Each note is on
// disk when its function returns. Safe from several threads; does nothing without a path; failed writes are
// ignored.
class CrashLog {
  public:
    explicit CrashLog(std::wstring path) : path_(std::move(path)) {}

    void RunStarts(size_t files) const;  // begins a new log
    void FileStarts(const std::wstring& input);
    void FileCrashed();
    void RunEnds();

  private:
    void Append(const std::wstring& text);

    std::wstring path_;
    std::mutex mutex_;
};

}  // namespace morvex
