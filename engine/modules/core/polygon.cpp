#include "engine/modules/core/polygon.h"

#include <numeric>

namespace morvex {
namespace {

// A longer one is taken for convex: the time grows with the square.
constexpr std::size_t kMostCorners = 2000;

gp_XYZ NormalOf(const std::vector<gp_XYZ>& points) {
    gp_XYZ normal;
    for (std::size_t at = 1; at + 1 < points.size(); ++at)
        normal += (points[at] - points[0]).Crossed(points[at + 1] - points[0]);
    return normal;
}

class EarCutter {
  public:
    explicit EarCutter(const std::vector<gp_XYZ>& points) : points_(points), normal_(NormalOf(points)) {
        left_.resize(points.size());
        std::iota(left_.begin(), left_.end(), 0u);
    }

    std::vector<std::uint32_t> Cut() {
        std::vector<std::uint32_t> triangles;
        std::size_t at = 0, missed = 0;
        while (left_.size() > 3) {
            const std::size_t count = left_.size();
            at %= count;
            // A polygon that crosses itself may have no ear left.
            if (missed < count && !IsEar(at)) {
                ++at;
                ++missed;
                continue;
            }
            triangles.insert(triangles.end(),
                             {left_[(at + count - 1) % count], left_[at], left_[(at + 1) % count]});
            left_.erase(left_.begin() + static_cast<std::ptrdiff_t>(at));
            missed = 0;
        }
        triangles.insert(triangles.end(), left_.begin(), left_.end());
        return triangles;
    }

  private:
    double Side(const gp_XYZ& a, const gp_XYZ& b, const gp_XYZ& c) const {
        return (b - a).Crossed(c - a).Dot(normal_);
    }

    bool IsEar(std::size_t at) const {
        const std::size_t count = left_.size(), before = (at + count - 1) % count, after = (at + 1) % count;
        const gp_XYZ &a = points_[left_[before]], &b = points_[left_[at]], &c = points_[left_[after]];
        if (!(Side(a, b, c) > 0)) return false;
        for (std::size_t other = 0; other < count; ++other) {
            if (other == before || other == at || other == after) continue;
            const gp_XYZ& p = points_[left_[other]];
            if (Side(a, b, p) >= 0 && Side(b, c, p) >= 0 && Side(c, a, p) >= 0 && !p.IsEqual(a, 0) &&
                !p.IsEqual(c, 0))
                return false;
        }
        return true;
    }

    const std::vector<gp_XYZ>& points_;
    gp_XYZ normal_;
    std::vector<std::uint32_t> left_;
};

}  // namespace

std::vector<std::uint32_t> CutIntoTriangles(const std::vector<gp_XYZ>& points) {
    if (points.size() < 3) return {};
    if (points.size() == 3) return {0, 1, 2};
    if (points.size() <= kMostCorners) return EarCutter(points).Cut();
    std::vector<std::uint32_t> fan;
    for (std::uint32_t at = 1; at + 1 < points.size(); ++at) fan.insert(fan.end(), {0, at, at + 1});
    return fan;
}

}  // namespace morvex
