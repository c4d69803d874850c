// Numbers in a text, one after the other, whatever stands between them.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace morvex {

class NumberReader {
  public:
    explicit NumberReader(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

    // False at the end of the text, or where a number cannot be held.
    bool Read(double& number) { return Take(number); }
    bool Read(std::array<double, 3>& numbers) {
        return Take(numbers[0]) && Take(numbers[1]) && Take(numbers[2]);
    }
    // Passes over so many.
    void Skip(double count) {
        for (double number = 0; count > 0 && Take(number);) --count;
    }

  private:
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

    bool Take(double& number) {
        while (at_ < end_ && !IsDigit(*at_) && *at_ != '-' && *at_ != '.') ++at_;
        if (TakeShort(number)) return true;
        const auto [stop, error] = std::from_chars(at_, end_, number);
        at_ = stop;
        return error == std::errc{};
    }

    // Up to fifteen digits without an exponent: the quotient of two numbers that are exact is exactly
    // rounded.
    bool TakeShort(double& number) {
        static constexpr double kTens[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                           1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
        constexpr std::ptrdiff_t kMost = 15;
        const char* at = at_;
        std::uint64_t value = 0;
        const auto takeDigits = [&] {
            const char* const start = at;
            // More than can be held does no harm: such a number is not taken.
            for (; at < end_ && IsDigit(*at); ++at)
                value = value * 10 + static_cast<unsigned char>(*at - '0');
            return at - start;
        };
        const bool negative = at < end_ && *at == '-';
        at += negative;
        const std::ptrdiff_t whole = takeDigits();
        const bool point = at < end_ && *at == '.';
        at += point;
        const std::ptrdiff_t fraction = point ? takeDigits() : 0;
        if (whole == 0 || whole + fraction > kMost || (at < end_ && (*at == 'e' || *at == 'E'))) return false;
        number = static_cast<double>(static_cast<std::int64_t>(value)) / kTens[fraction];
        if (negative) number = -number;
        at_ = at;
        return true;
    }

    const char* at_;
    const char* end_;
};

}  // namespace morvex
