// A folder for what is not finished yet.
#pragma once

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

namespace morvex {

// Owns the folder and removes it with all that is left in it. Holds a lock on it, by which others see that
// its process, or a child of it, is still there. A lock is seen on its own machine only, so each user of each
// machine cleans up what is theirs alone.
class TemporaryFolder {
  public:
    TemporaryFolder() = default;
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { Remove(); }

    // Makes a folder with a name of its own in `parent` or below; the error says why there is none. Calls
    // `recover` for each such folder there whose process has died, and then removes it, unless that answers
    // that something in it is still needed.
    using Recover = bool(const std::filesystem::path& abandoned, const std::filesystem::path& parent);
    std::error_code Make(const std::filesystem::path& parent, Recover* recover = nullptr);
    const std::filesystem::path& Path() const { return path_; }
    void Remove();
    void Abandon();  // leaves it and all in it for another process to recover

  private:
    std::filesystem::path path_;
    std::intptr_t lock_ = -1;  // a handle of the system; -1: none
};

// The regular files in a folder and below, as paths from it.
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder);

// Waits until a file or the entries of a folder are on the disk. A writer that has lost an error on the way
// to a full disk is found out here.
std::error_code FlushToDisk(const std::filesystem::path& path);

}  // namespace morvex
