#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace morvex {

// A picture that was read from a file's bytes. Its thread has COM.
class Picture {
  public:
    Picture() = default;
    // Reads the bytes of an image file of a kind that the system knows, such as PNG; of others nothing
    // becomes of it.
    explicit Picture(const std::string& bytes);

    bool Empty() const { return pixels_.empty(); }
    // Draws it into the middle of the area, as large as it fits.
    void Draw(HDC device, const RECT& area) const;

  private:
    SIZE size_{};
    std::vector<std::uint32_t> pixels_;  // blue in the lowest byte, rows from the top
};

}  // namespace morvex
