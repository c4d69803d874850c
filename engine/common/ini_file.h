// A settings file in the layout of the Windows profile functions, read whole.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace morvex {

// UTF-16LE with its mark, UTF-8 with or without, or 8-bit text. Sections and keys are compared without regard
// to ASCII case, and the first of two equal ones counts, as with the profile functions.
class IniFile {
  public:
    // Empty when the file is missing or unreadable; whatever is not a section or a key is passed over.
    static IniFile Read(const std::filesystem::path& path);
    static IniFile Parse(std::string_view bytes);

    // The value as UTF-8, without blanks around it and without one pair of quotes.
    std::optional<std::string> Value(std::string_view section, std::string_view key) const;
    // Replaces the value. `assignment` is "SECTION/KEY=VALUE"; false when it is not of that form.
    bool Override(std::string_view assignment);

  private:
    std::map<std::string, std::string> values_;  // "section\nkey" in lower case
};

}  // namespace morvex
