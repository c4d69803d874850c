// Triangles that hide what lies behind them.
#pragma once

#include <utility>

#include "engine/modules/drawing/feature_edges.h"

namespace morvex {

// From the viewer: right, up, near.
using SeenPoint = Vector3d;
using SeenSegment = std::array<SeenPoint, 2>;
// A piece of a segment between two shares of its length.
using Span = std::pair<double, double>;

class Occluders {
  public:
    // `points` are those of the surface as seen. Both must outlive the object.
    Occluders(const EdgedSurface& surface, const std::vector<SeenPoint>& points);

    // The hidden pieces of a segment in order, none touching the next.
    std::vector<Span> HiddenPieces(const SeenSegment& segment) const;

  private:
    // Of a range of triangles in `order_`: the rectangle they lie in and the nearest of their points. Behind
    // a node that is no leaf comes its first child.
    struct Node {
        std::array<double, 2> low, high;
        double nearest;
        std::uint32_t begin, end;
        std::uint32_t second;  // child; 0: a leaf
    };

    void Build(std::uint32_t begin, std::uint32_t end);
    Node Survey(std::uint32_t begin, std::uint32_t end) const;
    bool MayHide(const Node& node, const SeenSegment& segment) const;
    void AddHidden(std::uint32_t triangle, const SeenSegment& segment, std::vector<Span>& spans) const;

    const EdgedSurface& surface_;
    const std::vector<SeenPoint>& points_;
    double aside_, behind_;  // tolerances: beside a triangle, and behind it
    std::vector<std::uint32_t> order_;
    std::vector<Node> nodes_;
};

}  // namespace morvex
