// Faces, triangles and quads of points that the node lists.
#include <map>
#include <tuple>

#include "engine/modules/core/read_error.h"
#include "engine/modules/x3d_reader/x3d_geometry.h"

namespace morvex {
namespace {

using Index = std::int64_t;
constexpr Index kNone = -1;  // also ends a polygon in a list

std::vector<Index> IndicesIn(const X3dNode& node, std::string_view field) {
    std::vector<Index> indices;
    for (const double value : node.Numbers(field)) {
        if (!(value >= -1 && value < UINT32_MAX)) throw ReadError("A polygon has a corner that is not there");
        indices.push_back(static_cast<Index>(value));
    }
    return indices;
}

std::vector<double> NumbersBelow(const X3dNode& node, std::initializer_list<std::string_view> types,
                                 std::string_view field, std::size_t group) {
    const X3dNode* const below = node.Find(types);
    return below == nullptr ? std::vector<double>() : below->Numbers(field, group);
}

// What the points of a set have besides their place: a normal or a colour. Each corner of the set, and each
// of its faces, has a number.
struct Attribute {
    std::vector<double> values;
    std::size_t group = 3;
    bool perVertex = true;
    std::vector<Index> indices;  // of corners or faces; empty: those of the points, or the faces in order

    std::size_t Count() const { return values.size() / group; }
    Index At(Index point, std::size_t corner, std::size_t face) const {
        if (values.empty()) return kNone;
        if (indices.empty()) return perVertex ? point : static_cast<Index>(face);
        const std::size_t at = perVertex ? corner : face;
        return at < indices.size() ? indices[at] : static_cast<Index>(Count());
    }
};

class SetMesh {
  public:
    SetMesh(const X3dNode& node, const std::vector<Index>& list, bool indexed)
        : points_(NumbersBelow(node, {"Coordinate", "CoordinateDouble"}, "point", 3)) {
        normals_.values = NumbersBelow(node, {"Normal"}, "vector", 3);
        const X3dNode* const rgba = node.Find({"ColorRGBA"});
        colours_.group = rgba != nullptr ? 4 : 3;
        colours_.values =
            rgba != nullptr ? rgba->Numbers("color", 4) : NumbersBelow(node, {"Color"}, "color", 3);
        normals_.perVertex = node.Flag("normalPerVertex", true);
        colours_.perVertex = node.Flag("colorPerVertex", true);
        if (indexed) {
            normals_.indices = IndicesIn(node, "normalIndex");
            colours_.indices = IndicesIn(node, "colorIndex");
        }
        Drop(normals_, list);
        Drop(colours_, list);
        const bool turned = !node.Flag("ccw", true);
        Each(list, [&](const std::vector<std::uint32_t>& polygon) {
            mesh.AddPolygon(turned ? std::vector(polygon.rbegin(), polygon.rend()) : polygon);
        });
    }

    PolygonMesh mesh;

  private:
    // Without a value for each corner there are none: they are no geometry.
    static void Drop(Attribute& attribute, const std::vector<Index>& list) {
        std::size_t face = 0;
        for (std::size_t at = 0; at < list.size() && !attribute.values.empty(); ++at) {
            const Index value = list[at] == kNone ? 0 : attribute.At(list[at], at, face);
            if (value < 0 || static_cast<std::size_t>(value) >= attribute.Count()) attribute.values.clear();
            face += list[at] == kNone;
        }
    }

    template <class Take>
    void Each(const std::vector<Index>& list, Take take) {
        std::vector<std::uint32_t> polygon;
        std::size_t face = 0;
        for (std::size_t at = 0; at <= list.size(); ++at) {
            if (at < list.size() && list[at] != kNone) {
                polygon.push_back(
                    Vertex(list[at], normals_.At(list[at], at, face), colours_.At(list[at], at, face)));
                continue;
            }
            if (!polygon.empty()) take(polygon);
            polygon.clear();
            ++face;
        }
    }

    std::uint32_t Vertex(Index point, Index normal, Index colour) {
        const auto at = [](const std::vector<double>& values, Index number, std::size_t group,
                           std::size_t channel) {
            return values[static_cast<std::size_t>(number) * group + channel];
        };
        if (static_cast<std::size_t>(point) >= points_.size() / 3)
            throw ReadError("A polygon has a corner that is not there");
        const auto [place, isNew] =
            known_.try_emplace({point, normal, colour}, static_cast<std::uint32_t>(mesh.points.size()));
        if (!isNew) return place->second;
        mesh.points.emplace_back(at(points_, point, 3, 0), at(points_, point, 3, 1),
                                 at(points_, point, 3, 2));
        const auto single = [&](const Attribute& of, Index number, std::size_t channel) {
            return static_cast<float>(at(of.values, number, of.group, channel));
        };
        if (normal != kNone) {
            const auto value = [&](std::size_t channel) { return single(normals_, normal, channel); };
            mesh.normals.push_back({value(0), value(1), value(2)});
        }
        if (colour != kNone) {
            const auto value = [&](std::size_t channel) { return single(colours_, colour, channel); };
            mesh.colours.push_back({value(0), value(1), value(2), colours_.group == 4 ? value(3) : 1});
        }
        return place->second;
    }

    std::vector<double> points_;
    Attribute normals_, colours_;
    std::map<std::tuple<Index, Index, Index>, std::uint32_t> known_;
};

// So many points in a row, each a polygon.
std::vector<Index> Grouped(const std::vector<Index>& points, std::size_t group) {
    std::vector<Index> list;
    for (std::size_t at = 0; at + group <= points.size(); at += group) {
        list.insert(list.end(), points.begin() + static_cast<std::ptrdiff_t>(at),
                    points.begin() + static_cast<std::ptrdiff_t>(at + group));
        list.push_back(kNone);
    }
    return list;
}

// The triangles of a strip or a fan that ends at each -1.
std::vector<Index> Unrolled(const std::vector<Index>& points, bool strip) {
    std::vector<Index> list;
    std::size_t start = 0;
    for (std::size_t at = 0; at < points.size(); ++at) {
        if (points[at] == kNone) {
            start = at + 1;
        } else if (at >= start + 2) {
            const Index last = points[at - 1], first = strip ? points[at - 2] : points[start];
            const bool turned = strip && (at - start) % 2 != 0;
            list.insert(list.end(), {turned ? last : first, turned ? first : last, points[at], kNone});
        }
    }
    return list;
}

// The numbers of all points one after the other, as the lengths in that field divide them.
std::vector<Index> Counted(const X3dNode& node, std::string_view field) {
    std::vector<Index> list;
    const auto count =
        static_cast<Index>(NumbersBelow(node, {"Coordinate", "CoordinateDouble"}, "point", 3).size() / 3);
    Index next = 0;
    if (field.empty())
        while (next < count) list.push_back(next++);
    for (const double length : field.empty() ? std::vector<double>() : node.Numbers(field)) {
        if (!(length >= 0 && length <= static_cast<double>(count - next)))
            throw ReadError("A polygon has a corner that is not there");
        for (auto left = static_cast<Index>(length); left > 0; --left) list.push_back(next++);
        list.push_back(kNone);
    }
    return list;
}

}  // namespace

std::optional<PolygonMesh> MeshOfSet(const X3dNode& node) {
    if (node.Is({"IndexedFaceSet"})) return SetMesh(node, IndicesIn(node, "coordIndex"), true).mesh;
    const auto made = [&](const std::vector<Index>& list) { return SetMesh(node, list, false).mesh; };
    if (node.Is({"IndexedTriangleSet"})) return made(Grouped(IndicesIn(node, "index"), 3));
    if (node.Is({"IndexedTriangleStripSet"})) return made(Unrolled(IndicesIn(node, "index"), true));
    if (node.Is({"IndexedTriangleFanSet"})) return made(Unrolled(IndicesIn(node, "index"), false));
    if (node.Is({"IndexedQuadSet"})) return made(Grouped(IndicesIn(node, "index"), 4));
    if (node.Is({"TriangleSet"})) return made(Grouped(Counted(node, {}), 3));
    if (node.Is({"QuadSet"})) return made(Grouped(Counted(node, {}), 4));
    if (node.Is({"TriangleStripSet"})) return made(Unrolled(Counted(node, "stripCount"), true));
    if (node.Is({"TriangleFanSet"})) return made(Unrolled(Counted(node, "fanCount"), false));
    return std::nullopt;
}

}  // namespace morvex
