#include "engine/modules/scan/triangle_moments.h"

#include <algorithm>
#include <cmath>

namespace morvex {

double Extent::Diagonal() const {
    return IsVoid() ? 0 : std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

void Extent::Add(const Point& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], point[axis]);
        high[axis] = std::max(high[axis], point[axis]);
    }
}

// Runs for each triangle of model and file: what is the same for all is left to the end.
void TriangleMoments::Add(const Point& a, const Point& b, const Point& c) {
    ++count_;
    const Point ab{b[0] - a[0], b[1] - a[1], b[2] - a[2]}, ac{c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const Point normal{ab[1] * ac[2] - ab[2] * ac[1], ab[2] * ac[0] - ab[0] * ac[2],
                       ab[0] * ac[1] - ab[1] * ac[0]};
    // Coordinates are far from where squares overflow, and hypot is slow.
    const double area = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    const double volume = a[0] * normal[0] + a[1] * normal[1] + a[2] * normal[2];
    areas_ += area;
    volumes_ += volume;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double sum = a[axis] + b[axis] + c[axis];
        facing_[axis] += normal[axis];
        areaMoment_[axis] += area * sum;
        bodyMoment_[axis] += volume * sum;
        box_.low[axis] = std::min(box_.low[axis], std::min(a[axis], std::min(b[axis], c[axis])));
        box_.high[axis] = std::max(box_.high[axis], std::max(a[axis], std::max(b[axis], c[axis])));
    }
}

bool TriangleMoments::IsClosed() const {
    constexpr double kRounding = 1e-5;
    return areas_ > 0 && std::hypot(facing_[0], facing_[1], facing_[2]) <= kRounding * areas_;
}

Point TriangleMoments::Centre() const {
    const bool body = IsClosed() && volumes_ != 0;
    Point centre = body ? bodyMoment_ : areaMoment_;
    const double weight = body ? 4 * volumes_ : 3 * areas_;
    for (double& x : centre) x = weight != 0 ? x / weight : 0;
    return centre;
}

}  // namespace morvex
