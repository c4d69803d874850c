// Escaped letters in STEP files.
#pragma once

#include <filesystem>
#include <fstream>
#include <streambuf>
#include <string>
#include <string_view>

namespace morvex {

// The text with its UTF-8 letters beyond ASCII in the escapes of ISO 10303-21 (\X2\, \X4\); broken bytes
// become U+FFFD. A run of such letters must not be cut at either end.
std::string EscapeStepText(std::string_view utf8);

// The text with such escapes undone, in UTF-8. What is no escape stays as it is.
std::string DecodeStepText(std::string_view text);

// A file that escapes what is written to it. Open CASCADE writes UTF-8 as it is, which few other systems
// read.
class StepTextBuffer : public std::streambuf {
  public:
    explicit StepTextBuffer(const std::filesystem::path& path);
    // False when anything since the opening has failed.
    bool Close();

  private:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    void Flush(bool last);

    std::ofstream file_;
    std::string pending_;
};

}  // namespace morvex
