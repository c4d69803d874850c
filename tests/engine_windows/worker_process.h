// The worker with its stand-in, run as a caller runs it.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace morvex::test {

namespace fs = std::filesystem;

// A folder of the test's own, removed with what is in it.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    fs::path operator/(const fs::path& name) const { return path_ / name; }
    std::vector<fs::path> Names() const;  // sorted
    // An input that makes the stand-in do what `command` says.
    fs::path Input(const std::string& command, const fs::path& name = L"in.obj") const;

  private:
    fs::path path_;
};

std::string ReadWhole(const fs::path& path);
void WriteWhole(const fs::path& path, const std::string& bytes);

class Worker {
  public:
    explicit Worker(const std::vector<std::wstring>& arguments);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    void Send(const std::string& bytes) const;
    void Leave();              // the caller's end of its standard input
    std::string ReadLine();    // the next line of its output, without its end
    std::string ReadOutput();  // all of it, standard error included, to its end
    DWORD Wait() const;        // the exit code; 9999 when it does not end
    HANDLE Process() const { return process_; }
    DWORD Id() const { return id_; }

  private:
    HANDLE process_ = nullptr, to_ = nullptr, from_ = nullptr;
    DWORD id_ = 0;
};

struct WorkerRun {
    DWORD code;
    std::string output;
};
WorkerRun RunWorker(const std::vector<std::wstring>& arguments);

// The job process that converts `input`, waited for until it has come up; null when it does not.
HANDLE JobProcessOf(const fs::path& input);
// Whether the process ends by itself; one that does not is ended.
bool EndsSoon(HANDLE process);

}  // namespace morvex::test
