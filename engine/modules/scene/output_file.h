// A file being written, with all its errors told at the end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace morvex {

class OutputFile {
  public:
    explicit OutputFile(const std::filesystem::path& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view bytes);
    // False when anything since the opening has failed.
    bool Close();

  private:
    std::FILE* file_;
    bool failed_;
};

// The lowest `size` bytes of a number, the lowest first.
void AppendLittleEndian(std::string& bytes, std::uint64_t number, int size);

}  // namespace morvex
