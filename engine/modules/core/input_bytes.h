// The bytes of an input and of the files that it refers to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

// The whole of a file, mapped for reading.
class InputBytes {
  public:
    // A file that the user has named. Throws ReadError when it is no regular file or cannot be read.
    explicit InputBytes(const std::filesystem::path& path);
    ~InputBytes();
    InputBytes(InputBytes&& other) noexcept;
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    std::string_view View() const { return {data_, size_}; }

  private:
    const char* data_ = nullptr;
    std::size_t size_ = 0;
};

// Where the file is that the input calls `reference`, a path relative to its own folder. Throws ReadError
// unless it is a regular file of at most `largest` bytes in that folder or below, all links resolved. Tells
// the journal of it, and lets the conversion have as much more memory as such a file is worth.
std::filesystem::path FindSideFile(JobContext& context, const std::string& reference, std::uint64_t largest);

}  // namespace morvex
