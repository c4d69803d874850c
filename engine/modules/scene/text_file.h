// Text with numbers that depend on no locale, for the formats that are text.
#pragma once

#include <charconv>
#include <filesystem>
#include <functional>
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
    // For text that `take` gets in such pieces.
    TextFile(std::function<void(std::string_view piece)> take, int decimals);
    // For text kept in memory; take it with Text().
    explicit TextFile(int decimals) : decimals_(decimals) {}

    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    TextFile& operator<<(std::string_view text);
    TextFile& operator<<(double number) { return Number(number, kOtherDecimals); }
    TextFile& Coordinate(double number) { return Number(number, decimals_); }
    template <class Whole>
    requires std::is_integral_v<Whole> TextFile& operator<<(Whole number) {
        char digits[24];
        const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }

    const std::string& Text() const { return text_; }
    // Hands on the rest. False when a file could not be written.
    bool Close();

  private:
    static constexpr int kOtherDecimals = 10;
    TextFile& Number(double number, int decimals);
    void Flush();

    std::optional<OutputFile> file_;
    std::function<void(std::string_view piece)> take_;  // none: the text is kept
    int decimals_;
    std::string text_;
};

}  // namespace morvex
