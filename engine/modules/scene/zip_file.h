// A ZIP archive of a few compressed text members, as packaged document formats want it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/modules/scene/output_file.h"

namespace morvex {

// Members and archive below 4 GB.
class ZipFile {
  public:
    explicit ZipFile(const std::filesystem::path& path) : file_(path) {}

    void Add(const std::string& name, std::string_view contents);
    // Writes the directory. False when anything since the opening has failed or did not fit.
    bool Close();

  private:
    struct Member {
        std::string name;
        std::uint32_t checksum, packed, unpacked, offset;
    };
    void Write(std::string_view bytes);

    OutputFile file_;
    bool failed_ = false;
    std::uint64_t offset_ = 0;
    std::vector<Member> members_;
};

}  // namespace morvex
