// The bytes of an input and of the files that it refers to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <streambuf>
#include <string>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

// The whole of a file.
class InputBytes {
  public:
    // A file that the user has named. Throws ReadError when it is no regular file or cannot be read.
    explicit InputBytes(const std::filesystem::path& path) : InputBytes(path, false) {}
    ~InputBytes();
    InputBytes(InputBytes&& other) noexcept;
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    std::string_view View() const { return {data_, size_}; }

  protected:
    InputBytes(const std::filesystem::path& path, bool changeable);
    char* data_ = nullptr;
    std::size_t size_ = 0;
};

// Bytes that may be changed without changing the file. They count as memory of the process.
class ChangeableBytes : public InputBytes {
  public:
    explicit ChangeableBytes(const std::filesystem::path& path) : InputBytes(path, true) {}
    char* Data() { return data_; }
};

// Bytes in memory for a stream to read from.
class BytesBuffer : public std::streambuf {
  public:
    explicit BytesBuffer(std::string_view bytes) {
        char* const start = const_cast<char*>(bytes.data());  // the get area is never written to
        setg(start, start, start + bytes.size());
    }

  private:
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode mode) override;
    pos_type seekpos(pos_type at, std::ios_base::openmode mode) override;
};

// Where the file is that the input calls `reference`, a path relative to its own folder. Throws ReadError
// unless it is a regular file of at most `largest` bytes in that folder or below, all links resolved. Tells
// the journal of it, and lets the conversion have as much more memory as such a file is worth.
std::filesystem::path FindSideFile(JobContext& context, const std::string& reference, std::uint64_t largest);

}  // namespace morvex
