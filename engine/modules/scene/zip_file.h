// A ZIP archive of a few compressed members, as packaged document formats want it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace morvex {

class ZipFile {
  public:
    explicit ZipFile(const std::filesystem::path& path);
    ~ZipFile();
    ZipFile(const ZipFile&) = delete;
    ZipFile& operator=(const ZipFile&) = delete;

    void Add(const std::string& name, std::string_view contents);
    // Writes the directory. False when anything since the opening has failed.
    bool Close();

  private:
    void* archive_;
    bool failed_;
};

}  // namespace morvex
