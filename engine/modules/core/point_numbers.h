// Numbers for points, the same for all that lie at one place.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace morvex {

// Counts from 0 in the order in which places first come. The points themselves are kept by the caller.
class PointNumbers {
  public:
    using Point = std::array<double, 3>;

    // The number of a place, and whether it is a new one; `at` answers the point that has a number.
    template <class PointAt>
    std::pair<std::uint32_t, bool> Take(const Point& point, PointAt at) {
        if (std::size_t{2} * count_ >= slots_.size()) Grow(at);
        std::uint32_t& slot = SlotFor(point, at);
        const bool isNew = slot == kFree;
        if (isNew) slot = count_++;
        return {slot, isNew};
    }

  private:
    static constexpr std::uint32_t kFree = ~0u;

    static std::size_t HashOf(const Point& point) {
        std::uint64_t hash = 0;
        // Zero has two signs.
        for (const double value : point) {
            hash = (hash ^ std::bit_cast<std::uint64_t>(value + 0.0)) * 0x9e3779b97f4a7c15u;
            hash ^= hash >> 32;
        }
        return hash;
    }

    template <class PointAt>
    std::uint32_t& SlotFor(const Point& point, PointAt at) {
        std::size_t slot = HashOf(point);
        for (;; ++slot) {
            std::uint32_t& number = slots_[slot & (slots_.size() - 1)];
            if (number == kFree || at(number) == point) return number;
        }
    }

    template <class PointAt>
    void Grow(PointAt at) {
        constexpr std::size_t kFirst = 64;
        slots_.assign(slots_.empty() ? kFirst : 4 * slots_.size(), kFree);
        for (std::uint32_t number = 0; number < count_; ++number) SlotFor(at(number), at) = number;
    }

    std::vector<std::uint32_t> slots_;  // as many as a power of two
    std::uint32_t count_ = 0;
};

}  // namespace morvex
