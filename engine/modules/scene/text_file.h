// Text with numbers that depend on no locale, for the formats that are text.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "engine/modules/scene/output_file.h"

namespace morvex {

class TextFile {
  public:
    // Written in large pieces. Coordinates get at most `decimals` places after the point, other numbers ten;
    // fewer where zeros would follow.
    TextFile(const std::filesystem::path& path, int decimals);
    // For text kept in memory; take it with Text().
    explicit TextFile(int decimals) : decimals_(decimals) {}

    TextFile& operator<<(std::string_view text);
    TextFile& operator<<(double number) { return Number(number, kOtherDecimals); }
    TextFile& Coordinate(double number) { return Number(number, decimals_); }
    template <class Whole>
    requires std::is_integral_v<Whole> TextFile& operator<<(Whole number) {
        return *this << std::string_view(std::to_string(number));
    }

    const std::string& Text() const { return text_; }
    // Writes out the rest. False when anything since the opening has failed.
    bool Close();

  private:
    static constexpr int kOtherDecimals = 10;
    TextFile& Number(double number, int decimals);
    void Flush();

    std::optional<OutputFile> file_;
    int decimals_;
    std::string text_;
};

}  // namespace morvex
