// A folder for what is not finished yet.
#pragma once

#include <filesystem>
#include <system_error>

namespace morvex {

// Owns the folder and removes it with all that is left in it.
class TemporaryFolder {
  public:
    TemporaryFolder() = default;
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { Remove(); }

    // Makes a folder with a name of its own in `parent`; the error says why there is none.
    std::error_code Make(const std::filesystem::path& parent);
    const std::filesystem::path& Path() const { return path_; }
    void Remove();

  private:
    std::filesystem::path path_;
};

// Waits until a file or the entries of a folder are on the disk. A writer that has lost an error on the way
// to a full disk is found out here.
std::error_code FlushToDisk(const std::filesystem::path& path);

}  // namespace morvex
