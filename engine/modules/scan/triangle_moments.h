// What triangles enclose and extend over.
#pragma once

#include <array>
#include <cstdint>

namespace morvex {

using Point = std::array<double, 3>;

struct Extent {
    Point low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};

    bool IsVoid() const { return low[0] > high[0]; }
    double Diagonal() const;
    void Add(const Point& point);
};

// Sums over triangles whose corners are counter-clockwise as seen from outside.
class TriangleMoments {
  public:
    void Add(const Point& a, const Point& b, const Point& c);

    std::int64_t Count() const { return count_; }
    const Extent& Box() const { return box_; }
    double Area() const { return areas_ / 2; }
    double Volume() const { return volumes_ / 6; }
    // Closed surfaces face all directions alike. One that is not closed encloses nothing.
    bool IsClosed() const;
    // Of the body when it is closed, else of the surface.
    Point Centre() const;

  private:
    std::int64_t count_ = 0;
    Extent box_;
    double areas_ = 0;                   // twice
    double volumes_ = 0;                 // six times
    Point facing_{};                     // sum of the areas' vectors, twice
    Point areaMoment_{}, bodyMoment_{};  // of the above, three times that of areas, four that of volumes
};

}  // namespace morvex
