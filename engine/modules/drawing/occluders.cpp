#include "engine/modules/drawing/occluders.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace morvex {
namespace {

// Twice the area of the triangle as seen; positive when its corners go counter-clockwise.
double SeenArea(const SeenPoint& a, const SeenPoint& b, const SeenPoint& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

// Keeps of a span where a linear function with these values at the ends of the segment is not negative.
void Clip(Span& span, double atStart, double atEnd) {
    if (atStart >= 0 && atEnd >= 0) return;
    if (atStart < 0 && atEnd < 0) {
        span.second = -1;
    } else if (atStart < 0) {
        span.first = std::max(span.first, atStart / (atStart - atEnd));
    } else {
        span.second = std::min(span.second, atStart / (atStart - atEnd));
    }
}

}  // namespace

Occluders::Occluders(const EdgedSurface& surface, const std::vector<SeenPoint>& points)
    : surface_(surface),
      points_(points),
      aside_(surface.size * 1e-9),
      behind_(surface.size * 2e-4),
      order_(surface.triangles.size()) {
    std::iota(order_.begin(), order_.end(), 0u);
    if (!order_.empty()) Build(0, static_cast<std::uint32_t>(order_.size()));
}

Occluders::Node Occluders::Survey(std::uint32_t begin, std::uint32_t end) const {
    Node node{{1e300, 1e300}, {-1e300, -1e300}, -1e300, begin, end, 0};
    for (std::uint32_t at = begin; at < end; ++at) {
        for (const std::uint32_t corner : surface_.triangles[order_[at]].corners) {
            const SeenPoint& point = points_[corner];
            for (std::size_t axis = 0; axis < 2; ++axis) {
                node.low[axis] = std::min(node.low[axis], point[axis]);
                node.high[axis] = std::max(node.high[axis], point[axis]);
            }
            node.nearest = std::max(node.nearest, point[2]);
        }
    }
    return node;
}

void Occluders::Build(std::uint32_t begin, std::uint32_t end) {
    constexpr std::uint32_t kLeaf = 8;
    const std::size_t number = nodes_.size();
    nodes_.push_back(Survey(begin, end));
    if (end - begin <= kLeaf) return;
    const Node& node = nodes_.back();
    const std::size_t axis = node.high[0] - node.low[0] > node.high[1] - node.low[1] ? 0 : 1;
    const auto middleOf = [&](std::uint32_t triangle) {
        const auto& [a, b, c] = surface_.triangles[triangle].corners;
        return points_[a][axis] + points_[b][axis] + points_[c][axis];
    };
    const std::uint32_t half = begin + (end - begin) / 2;
    std::nth_element(order_.begin() + begin, order_.begin() + half, order_.begin() + end,
                     [&](std::uint32_t a, std::uint32_t b) { return middleOf(a) < middleOf(b); });
    Build(begin, half);
    nodes_[number].second = static_cast<std::uint32_t>(nodes_.size());
    Build(half, end);
}

bool Occluders::MayHide(const Node& node, const SeenSegment& segment) const {
    const auto& [p, q] = segment;
    for (std::size_t axis = 0; axis < 2; ++axis) {
        if (std::max(p[axis], q[axis]) < node.low[axis] - aside_ ||
            std::min(p[axis], q[axis]) > node.high[axis] + aside_)
            return false;
    }
    if (node.nearest < std::min(p[2], q[2]) + behind_) return false;
    // The rectangle may lie aside of the segment's line as a whole.
    const double right = q[0] - p[0], up = q[1] - p[1], length = std::hypot(right, up);
    const double middle =
        right * ((node.low[1] + node.high[1]) / 2 - p[1]) - up * ((node.low[0] + node.high[0]) / 2 - p[0]);
    const double reach =
        (std::abs(up) * (node.high[0] - node.low[0]) + std::abs(right) * (node.high[1] - node.low[1])) / 2;
    return std::abs(middle) <= reach + aside_ * length;
}

void Occluders::AddHidden(std::uint32_t triangle, const SeenSegment& segment,
                          std::vector<Span>& spans) const {
    constexpr double kEdgeOn = 1e-12;  // of the square of the size
    auto [first, second, third] = surface_.triangles[triangle].corners;
    double area = SeenArea(points_[first], points_[second], points_[third]);
    if (std::abs(area) <= kEdgeOn * surface_.size * surface_.size) return;
    if (area < 0) {
        std::swap(second, third);
        area = -area;
    }
    const SeenPoint &a = points_[first], &b = points_[second], &c = points_[third];
    Span span{0, 1};
    std::array<double, 2> depth{};  // of the triangle's plane before the ends
    for (const auto& [from, to, opposite] : {std::array{&a, &b, &c}, {&b, &c, &a}, {&c, &a, &b}}) {
        const double slack = aside_ * std::hypot((*to)[0] - (*from)[0], (*to)[1] - (*from)[1]);
        std::array<double, 2> inside{};
        for (std::size_t end = 0; end < 2; ++end) {
            inside[end] = SeenArea(*from, *to, segment[end]);
            depth[end] += inside[end] / area * (*opposite)[2];
        }
        Clip(span, inside[0] + slack, inside[1] + slack);
    }
    Clip(span, depth[0] - segment[0][2] - behind_, depth[1] - segment[1][2] - behind_);
    if (span.second > span.first) spans.push_back(span);
}

std::vector<Span> Occluders::HiddenPieces(const SeenSegment& segment) const {
    std::vector<Span> spans, merged;
    std::vector<std::uint32_t> open;
    if (!nodes_.empty()) open.push_back(0);
    while (!open.empty()) {
        const std::uint32_t number = open.back();
        const Node& node = nodes_[number];
        open.pop_back();
        if (!MayHide(node, segment)) continue;
        if (node.second != 0) {
            open.push_back(node.second);
            open.push_back(number + 1);
            continue;
        }
        const auto known = static_cast<std::ptrdiff_t>(spans.size());
        for (std::uint32_t at = node.begin; at < node.end; ++at) AddHidden(order_[at], segment, spans);
        const bool whole = std::any_of(spans.begin() + known, spans.end(),
                                       [](const Span& span) { return span.first <= 0 && span.second >= 1; });
        if (whole) return {{0, 1}};
    }
    std::ranges::sort(spans);
    constexpr double kGap = 1e-9;
    for (const Span& span : spans) {
        if (!merged.empty() && span.first <= merged.back().second + kGap) {
            merged.back().second = std::max(merged.back().second, span.second);
        } else {
            merged.push_back(span);
        }
    }
    return merged;
}

}  // namespace morvex
