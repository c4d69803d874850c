// The worker, run as a command by the tests.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace morvex::test {

struct WorkerRun {
    int code = -1;  // exit code, or minus the signal that ended it
    std::string errors;
    double seconds = 0;
    double processorSeconds = 0;  // of all its processes
    long peakMemory = 0;          // bytes, of the largest of its processes
};

// What the started process changes about itself before it becomes the worker.
using BeforeExec = void (*)();

// Runs the worker to its end; the test fails when that takes more than a minute.
WorkerRun RunWorker(const std::vector<std::string>& arguments, BeforeExec before = nullptr);

// A folder of its own for each test, removed at the end.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    const std::filesystem::path& Path() const { return path_; }
    std::vector<std::string> Names() const;  // of all that lies in it, sorted

  private:
    std::filesystem::path path_;
};

std::string ReadWhole(const std::filesystem::path& path);
void WriteWhole(const std::filesystem::path& path, const std::string& bytes);
std::string ReadZipMember(const std::filesystem::path& path,
                          const std::string& name);  // empty when there is none
std::string Sample(const std::string& name);         // a part of the sample set, by its path in it

}  // namespace morvex::test
