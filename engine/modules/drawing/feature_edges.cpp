#include "engine/modules/drawing/feature_edges.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

constexpr std::uint32_t kNone = UINT32_MAX;

Vector3d Minus(const Vector3d& a, const Vector3d& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Vector3d Cross(const Vector3d& a, const Vector3d& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vector3d& a, const Vector3d& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Gives points that lie within the tolerance of each other one number.
class PointWelder {
  public:
    PointWelder(std::vector<Vector3d>& points, double tolerance) : points_(points), tolerance_(tolerance) {}

    std::uint32_t Add(const Vector3d& point) {
        // A point near the border of its cell may have its like in the next one.
        std::array<std::array<std::int64_t, 2>, 3> cells{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            cells[axis] = {CellOf(point[axis] - tolerance_), CellOf(point[axis] + tolerance_)};
        for (unsigned at = 0; at < 8; ++at) {
            const auto found = first_.find(KeyOf(cells[0][at & 1], cells[1][at >> 1 & 1], cells[2][at >> 2]));
            if (found == first_.end()) continue;
            for (std::uint32_t known = found->second; known != kNone; known = next_[known])
                if (IsNear(points_[known], point)) return known;
        }
        const auto number = static_cast<std::uint32_t>(points_.size());
        const auto [place, isNew] =
            first_.try_emplace(KeyOf(CellOf(point[0]), CellOf(point[1]), CellOf(point[2])), number);
        next_.push_back(isNew ? kNone : place->second);
        place->second = number;
        points_.push_back(point);
        return number;
    }

  private:
    std::int64_t CellOf(double coordinate) const { return std::llround(coordinate / (4 * tolerance_)); }
    // Cells that share a key by chance only make a list longer.
    static std::uint64_t KeyOf(std::int64_t x, std::int64_t y, std::int64_t z) {
        return static_cast<std::uint64_t>(x) * 73856093u ^ static_cast<std::uint64_t>(y) * 19349663u << 20 ^
               static_cast<std::uint64_t>(z) * 83492791u << 40;
    }
    bool IsNear(const Vector3d& a, const Vector3d& b) const {
        return std::abs(a[0] - b[0]) <= tolerance_ && std::abs(a[1] - b[1]) <= tolerance_ &&
               std::abs(a[2] - b[2]) <= tolerance_;
    }

    std::vector<Vector3d>& points_;
    double tolerance_;
    std::unordered_map<std::uint64_t, std::uint32_t> first_;
    std::vector<std::uint32_t> next_;
};

class EdgeFinder {
  public:
    explicit EdgeFinder(EdgedSurface& surface) : surface_(surface) {}

    void Find() {
        for (const EdgedSurface::Triangle& triangle : surface_.triangles)
            normals_.push_back(NormalOf(triangle));
        LendNormals();
        for (std::size_t at = 0; at < surface_.triangles.size(); ++at) {
            const auto& [corners, face] = surface_.triangles[at];
            for (std::size_t side = 0; side < 3; ++side)
                Take(corners[side], corners[(side + 1) % 3], corners[(side + 2) % 3], face, normals_[at]);
        }
    }

  private:
    Vector3d Along(std::uint32_t from, std::uint32_t to) const {
        return Minus(surface_.points[to], surface_.points[from]);
    }
    // Zero for a triangle that is no more than a line.
    Vector3d NormalOf(const EdgedSurface::Triangle& triangle) const {
        constexpr double kFlat = 1e-6;
        const auto& [a, b, c] = triangle.corners;
        const Vector3d ab = Along(a, b), ac = Along(a, c), bc = Along(b, c), normal = Cross(ab, ac);
        const double longest = std::max({Dot(ab, ab), Dot(ac, ac), Dot(bc, bc)});
        return Dot(normal, normal) > kFlat * kFlat * longest * longest ? normal : Vector3d{};
    }
    static bool IsZero(const Vector3d& v) { return v[0] == 0 && v[1] == 0 && v[2] == 0; }
    static std::uint64_t KeyOf(std::uint32_t from, std::uint32_t to) {
        return std::uint64_t{std::min(from, to)} << 32 | std::max(from, to);
    }

    // A triangle that is no more than a line lies in the plane of its neighbour at its longest side.
    void LendNormals() {
        std::unordered_map<std::uint64_t, std::size_t> wanted;  // by the longest sides
        const auto each = [&](std::size_t at, auto take) {
            const auto& corners = surface_.triangles[at].corners;
            for (std::size_t side = 0; side < 3; ++side) take(corners[side], corners[(side + 1) % 3]);
        };
        for (std::size_t at = 0; at < normals_.size(); ++at) {
            if (!IsZero(normals_[at])) continue;
            double longest = -1;
            std::uint64_t key = 0;
            each(at, [&](std::uint32_t from, std::uint32_t to) {
                const double length = Dot(Along(from, to), Along(from, to));
                if (length > longest) longest = length, key = KeyOf(from, to);
            });
            wanted[key] = at;
        }
        for (std::size_t at = 0; at < normals_.size() && !wanted.empty(); ++at) {
            if (IsZero(normals_[at])) continue;
            each(at, [&](std::uint32_t from, std::uint32_t to) {
                const auto found = wanted.find(KeyOf(from, to));
                if (found == wanted.end()) return;
                // Neighbours of one sense run along their side in opposite ones.
                bool same = false;
                each(found->second, [&](std::uint32_t a, std::uint32_t b) { same |= a == from && b == to; });
                const Vector3d& normal = normals_[at];
                normals_[found->second] = same ? Vector3d{-normal[0], -normal[1], -normal[2]} : normal;
                wanted.erase(found);
            });
        }
    }

    struct Side {  // of the first triangle that was met at an edge
        Vector3d normal;
        std::uint32_t from, face, triangles;
    };

    void Take(std::uint32_t from, std::uint32_t to, std::uint32_t opposite, std::uint32_t face,
              const Vector3d& normal) {
        const auto [place, isNew] = known_.try_emplace(KeyOf(from, to), surface_.edges.size());
        if (isNew) {
            surface_.edges.push_back({from, to, {opposite, opposite}, true});
            sides_.push_back({normal, from, face, 1});
            return;
        }
        EdgedSurface::Edge& edge = surface_.edges[place->second];
        Side& first = sides_[place->second];
        edge.opposite[1] = opposite;
        edge.sharp = ++first.triangles > 2 || IsBent(first, from, face, normal);
    }

    static bool IsBent(const Side& first, std::uint32_t from, std::uint32_t face, const Vector3d& normal) {
        constexpr double kWithinFace = 0.866, kBetweenFaces = 0.985;  // cosines of 30 and 10 degrees
        // Neighbours of one sense run along their edge in opposite ones.
        const double sense = first.from == from ? -1 : 1;
        const double lengths = std::sqrt(Dot(first.normal, first.normal) * Dot(normal, normal));
        if (!(lengths > 0)) return false;
        const double cosine = sense * Dot(first.normal, normal) / lengths;
        return cosine < (first.face == face ? kWithinFace : kBetweenFaces);
    }

    EdgedSurface& surface_;
    std::vector<Vector3d> normals_;                         // of the triangles
    std::unordered_map<std::uint64_t, std::size_t> known_;  // edges
    std::vector<Side> sides_;
};

double SizeOf(const std::vector<TopoDS_Face>& faces) {
    Vector3d low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};
    for (const TopoDS_Face& face : faces) {
        const FaceTriangles mesh(face);
        for (int node = 1; !mesh.IsNull() && node <= mesh.NodeCount(); ++node) {
            const gp_Pnt point = mesh.Node(node);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double value = point.Coord(static_cast<int>(axis) + 1);
                low[axis] = std::min(low[axis], value), high[axis] = std::max(high[axis], value);
            }
        }
    }
    const Vector3d extent = Minus(high, low);
    return std::sqrt(Dot(extent, extent));
}

}  // namespace

EdgedSurface FindEdges(const TopoDS_Shape& whole) {
    constexpr double kSame = 1e-7;  // of the size
    EdgedSurface surface;
    const std::vector<TopoDS_Face> faces = FacesOf(whole);
    surface.size = SizeOf(faces);
    PointWelder welder(surface.points, std::max(surface.size * kSame, 1e-300));
    std::uint32_t number = 0;
    for (const TopoDS_Face& face : faces) {
        const FaceTriangles mesh(face);
        ++number;
        if (mesh.IsNull()) continue;
        std::vector<std::uint32_t> nodes{0};
        for (int node = 1; node <= mesh.NodeCount(); ++node) {
            const gp_Pnt point = mesh.Node(node);
            nodes.push_back(welder.Add({point.X(), point.Y(), point.Z()}));
        }
        for (int at = 1; at <= mesh.Count(); ++at) {
            const auto corners = mesh.Corners(at);
            const std::uint32_t a = nodes[static_cast<std::size_t>(corners[0])],
                                b = nodes[static_cast<std::size_t>(corners[1])],
                                c = nodes[static_cast<std::size_t>(corners[2])];
            if (a != b && b != c && c != a) surface.triangles.push_back({{a, b, c}, number});
        }
    }
    EdgeFinder(surface).Find();
    return surface;
}

}  // namespace morvex
