#include "engine/modules/drawing/projection.h"

#include <cmath>

#include "engine/modules/drawing/occluders.h"

namespace morvex {
namespace {

class Projector {
  public:
    Projector(const EdgedSurface& surface, const ViewAxes& axes)
        : surface_(surface), points_(Seen(surface, axes)), occluders_(surface, points_) {}

    Projection Run(const std::function<bool()>& goOn) const {
        constexpr std::size_t kOften = 256;
        LinePieces visible(surface_.size), hidden(surface_.size);
        for (std::size_t at = 0; at < surface_.edges.size(); ++at) {
            if (at % kOften == 0 && !goOn()) break;
            const EdgedSurface::Edge& edge = surface_.edges[at];
            if (!edge.sharp && !IsOutline(edge)) continue;
            const SeenSegment segment{points_[edge.from], points_[edge.to]};
            double done = 0;
            for (const auto& [from, to] : occluders_.HiddenPieces(segment)) {
                visible.Add(PieceOf(segment, done, from));
                hidden.Add(PieceOf(segment, from, to));
                done = to;
            }
            visible.Add(PieceOf(segment, done, 1));
        }
        visible.Join();
        hidden.Join();
        hidden.Remove(visible);
        return {visible.Lines(), hidden.Lines()};
    }

  private:
    static std::vector<SeenPoint> Seen(const EdgedSurface& surface, const ViewAxes& axes) {
        std::vector<SeenPoint> seen;
        seen.reserve(surface.points.size());
        const auto along = [](const Vector3d& axis, const Vector3d& point) {
            return axis[0] * point[0] + axis[1] * point[1] + axis[2] * point[2];
        };
        for (const Vector3d& point : surface.points)
            seen.push_back({along(axes.right, point), along(axes.up, point), along(axes.toViewer, point)});
        return seen;
    }

    // Both sides of the surface are then seen on one side of the edge, or one of them not at all. (Within a
    // wall that is seen from its edge there is no outline.)
    bool IsOutline(const EdgedSurface::Edge& edge) const {
        constexpr double kEdgeOn = 1e-7;  // of the size
        const SeenPoint &a = points_[edge.from], &b = points_[edge.to];
        const double length = std::hypot(b[0] - a[0], b[1] - a[1]);
        const auto side = [&](std::uint32_t corner) {
            const SeenPoint& c = points_[corner];
            const double cross = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
            return std::abs(cross) <= kEdgeOn * surface_.size * length ? 0 : cross > 0 ? 1 : -1;
        };
        const int one = side(edge.opposite[0]), other = side(edge.opposite[1]);
        return one == other ? one != 0 : one * other == 0;
    }

    static Piece PieceOf(const SeenSegment& segment, double from, double to) {
        const auto at = [&](double share) {
            const auto& [p, q] = segment;
            return Point2d{p[0] + (q[0] - p[0]) * share, p[1] + (q[1] - p[1]) * share};
        };
        return {at(from), at(to)};
    }

    const EdgedSurface& surface_;
    std::vector<SeenPoint> points_;
    Occluders occluders_;
};

}  // namespace

Projection Project(const EdgedSurface& surface, const ViewAxes& axes, const std::function<bool()>& goOn) {
    return Projector(surface, axes).Run(goOn);
}

}  // namespace morvex
