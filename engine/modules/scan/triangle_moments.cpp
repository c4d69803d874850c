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

void TriangleMoments::Add(const Point& a, const Point& b, const Point& c) {
    ++count_;
    Point normal, ab, ac;
    for (std::size_t axis = 0; axis < 3; ++axis) ab[axis] = b[axis] - a[axis], ac[axis] = c[axis] - a[axis];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t next = (axis + 1) % 3, last = (axis + 2) % 3;
        normal[axis] = ab[next] * ac[last] - ab[last] * ac[next];
    }
    const double area = std::hypot(normal[0], normal[1], normal[2]) / 2;
    const double volume = (a[0] * normal[0] + a[1] * normal[1] + a[2] * normal[2]) / 6;
    area_ += area;
    volume_ += volume;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double sum = a[axis] + b[axis] + c[axis];
        facing_[axis] += normal[axis] / 2;
        areaMoment_[axis] += area * sum / 3;
        bodyMoment_[axis] += volume * sum / 4;
    }
    for (const Point* const point : {&a, &b, &c}) box_.Add(*point);
}

bool TriangleMoments::IsClosed() const {
    constexpr double kRounding = 1e-5;
    return area_ > 0 && std::hypot(facing_[0], facing_[1], facing_[2]) <= kRounding * area_;
}

Point TriangleMoments::Centre() const {
    const bool body = IsClosed() && volume_ != 0;
    Point centre = body ? bodyMoment_ : areaMoment_;
    const double weight = body ? volume_ : area_;
    for (double& x : centre) x = weight != 0 ? x / weight : 0;
    return centre;
}

}  // namespace morvex
