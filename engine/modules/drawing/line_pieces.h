// Pieces of lines on a plane.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace morvex {

using Point2d = std::array<double, 2>;
using Polyline = std::vector<Point2d>;
using Piece = std::array<Point2d, 2>;

// Pieces that overlap on one straight line become one. `size` is about that of the whole picture.
class LinePieces {
  public:
    explicit LinePieces(double size) : size_(size) {}

    // One that is no longer than a point is left out.
    void Add(const Piece& piece);
    // Puts together what overlaps; then leaves out what the other one, joined already, has too.
    void Join();
    void Remove(const LinePieces& others);

    // Put together to long lines where the ends of just two meet.
    std::vector<Polyline> Lines() const;

  private:
    // The direction without its sense, and the distance from the origin, in steps.
    using Key = std::array<std::int64_t, 3>;
    struct End {
        double at;  // along the line
        Point2d point;
    };
    using Span = std::array<End, 2>;

    double size_;
    std::map<Key, std::vector<Span>> lines_;
};

}  // namespace morvex
