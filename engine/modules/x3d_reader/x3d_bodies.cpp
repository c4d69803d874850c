// Bodies that a node describes by their measures.
#include <algorithm>
#include <cmath>
#include <gp_Mat.hxx>
#include <gp_Quaternion.hxx>
#include <gp_Vec.hxx>
#include <numbers>

#include "engine/modules/core/read_error.h"
#include "engine/modules/x3d_reader/x3d_geometry.h"

namespace morvex {
namespace {

constexpr std::uint32_t kSegments = 48;  // of a circle

// Leaves out corners that are the same as the one before.
void AddPolygon(PolygonMesh& mesh, std::vector<std::uint32_t> corners, bool turned = false) {
    corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
    while (corners.size() > 1 && corners.front() == corners.back()) corners.pop_back();
    if (turned) std::ranges::reverse(corners);
    mesh.AddPolygon(corners);
}

// A profile of distances from the axis Y and heights, from below to above, turned about the axis.
PolygonMesh Turned(const std::vector<std::pair<double, double>>& profile) {
    PolygonMesh mesh;
    std::vector<std::uint32_t> starts;
    for (const auto& [radius, height] : profile) {
        starts.push_back(static_cast<std::uint32_t>(mesh.points.size()));
        for (std::uint32_t at = 0; at < (radius > 0 ? kSegments : 1); ++at) {
            const double angle = 2 * std::numbers::pi * at / kSegments;
            mesh.points.emplace_back(radius * std::cos(angle), height, -radius * std::sin(angle));
        }
    }
    for (std::size_t ring = 0; ring + 1 < profile.size(); ++ring) {
        const auto at = [&](std::size_t of, std::uint32_t segment) {
            return profile[of].first > 0 ? starts[of] + segment % kSegments : starts[of];
        };
        if (profile[ring] == profile[ring + 1]) continue;
        for (std::uint32_t one = 0; one < kSegments; ++one)
            AddPolygon(mesh, {at(ring, one), at(ring, one + 1), at(ring + 1, one + 1), at(ring + 1, one)});
    }
    return mesh;
}

PolygonMesh Sphere(const X3dNode& node) {
    const double radius = node.Number("radius", 1);
    std::vector<std::pair<double, double>> profile;
    constexpr std::uint32_t kHalf = kSegments / 2;
    for (std::uint32_t at = 0; at <= kHalf; ++at) {
        const double angle = std::numbers::pi * at / kHalf;
        profile.emplace_back(at == 0 || at == kHalf ? 0 : radius * std::sin(angle),
                             -radius * std::cos(angle));
    }
    return Turned(profile);
}

// Ends and side may be left out; what is not to be drawn becomes a step without a length.
PolygonMesh Round(const X3dNode& node, double below, double above) {
    const double half = node.Number("height", 2) / 2;
    std::vector<std::pair<double, double>> profile;
    if (node.Flag("bottom", true)) profile.insert(profile.end(), {{0, -half}, {below, -half}});
    PolygonMesh mesh = Turned(profile);
    const auto add = [&](const std::vector<std::pair<double, double>>& more) {
        const PolygonMesh part = Turned(more);
        const auto first = static_cast<std::uint32_t>(mesh.points.size());
        mesh.points.insert(mesh.points.end(), part.points.begin(), part.points.end());
        for (const std::uint32_t corner : part.corners) mesh.corners.push_back(first + corner);
    };
    if (node.Flag("side", true)) add({{below, -half}, {above, half}});
    if (above > 0 && node.Flag("top", true)) add({{above, half}, {0, half}});
    return mesh;
}

PolygonMesh Box(const X3dNode& node) {
    const std::vector<double> size = node.Numbers("size", 3, {2, 2, 2});
    PolygonMesh mesh;
    for (unsigned at = 0; at < 8; ++at) {
        const auto side = [&](unsigned axis) { return ((at >> axis & 1) != 0 ? 0.5 : -0.5) * size[axis]; };
        mesh.points.emplace_back(side(0), side(1), side(2));
    }
    for (const auto& [a, b, c, d] :
         {std::array{0u, 2u, 3u, 1u}, std::array{4u, 5u, 7u, 6u}, std::array{0u, 1u, 5u, 4u},
          std::array{2u, 6u, 7u, 3u}, std::array{0u, 4u, 6u, 2u}, std::array{1u, 3u, 7u, 5u}})
        mesh.AddPolygon({a, b, c, d});
    return mesh;
}

PolygonMesh ElevationGrid(const X3dNode& node) {
    const std::vector<double> heights = node.Numbers("height");
    const double across = node.Number("xDimension", 0), deep = node.Number("zDimension", 0);
    if (!(across >= 0 && deep >= 0 && across * deep <= static_cast<double>(heights.size())))
        throw ReadError("A grid has fewer heights than it says");
    const auto columns = static_cast<std::uint32_t>(across), rows = static_cast<std::uint32_t>(deep);
    const X3dNode* const colour = node.Find({"Color", "ColorRGBA"});
    const std::size_t group = colour != nullptr && colour->Is({"ColorRGBA"}) ? 4 : 3;
    const std::vector<double> colours =
        colour == nullptr ? std::vector<double>() : colour->Numbers("color", group);
    const bool perVertex = node.Flag("colorPerVertex", true);
    const auto colourAt = [&](std::size_t number) -> std::optional<VertexColour> {
        if ((number + 1) * group > colours.size()) return std::nullopt;
        VertexColour made{0, 0, 0, 1};
        for (std::size_t at = 0; at < group; ++at)
            made[at] = static_cast<float>(colours[number * group + at]);
        return made;
    };
    PolygonMesh mesh;
    for (std::uint32_t at = 0; columns > 0 && at < columns * rows; ++at) {
        const std::uint32_t column = at % columns, row = at / columns;
        mesh.points.emplace_back(node.Number("xSpacing", 1) * column, heights[at],
                                 node.Number("zSpacing", 1) * row);
        if (perVertex && colours.size() >= group * columns * rows) mesh.colours.push_back(*colourAt(at));
    }
    const bool turned = !node.Flag("ccw", true);
    std::size_t quad = 0;
    for (std::uint32_t row = 0; row + 1 < rows; ++row) {
        for (std::uint32_t column = 0; column + 1 < columns; ++column) {
            const std::uint32_t first = row * columns + column;
            std::vector<std::uint32_t> corners{first, first + columns, first + columns + 1, first + 1};
            if (turned) std::ranges::reverse(corners);
            mesh.AddPolygon(corners, perVertex ? std::nullopt : colourAt(quad));
            ++quad;
        }
    }
    return mesh;
}

// A section in the plane of X and Z, swept along a spine.
class Extrusion {
  public:
    explicit Extrusion(const X3dNode& node)
        : section_(node.Numbers("crossSection", 2, {1, 1, 1, -1, -1, -1, -1, 1, 1, 1})),
          scale_(node.Numbers("scale", 2, {1, 1})),
          orientation_(node.Numbers("orientation", 4, {0, 0, 1, 0})) {
        const std::vector<double> numbers = node.Numbers("spine", 3, {0, 0, 0, 0, 1, 0});
        for (std::size_t at = 0; at < numbers.size(); at += 3)
            spine_.emplace_back(numbers[at], numbers[at + 1], numbers[at + 2]);
        if (spine_.size() < 2 || section_.size() < 4) return;
        closedSection_ = section_[0] == section_[section_.size() - 2] && section_[1] == section_.back();
        closedSpine_ = spine_.front().IsEqual(spine_.back(), 0);
        across_ = static_cast<std::uint32_t>(section_.size() / 2 - (closedSection_ ? 1 : 0));
        AddPoints();
        AddSides(!node.Flag("ccw", true));
        if (closedSpine_) return;
        AddCap(node.Flag("beginCap", true), 0, node.Flag("ccw", true));
        AddCap(node.Flag("endCap", true), static_cast<std::uint32_t>(spine_.size() - 1),
               !node.Flag("ccw", true));
    }

    PolygonMesh mesh;

  private:
    gp_XYZ Tangent(std::size_t at) const {
        const std::size_t last = spine_.size() - 1;
        if (closedSpine_ && (at == 0 || at == last)) return spine_[1] - spine_[last - 1];
        return spine_[std::min(at + 1, last)] - spine_[at == 0 ? 0 : at - 1];
    }
    // Square to the plane in which the spine bends; zero where it does not.
    gp_XYZ Bend(std::size_t at) const {
        const std::size_t last = spine_.size() - 1;
        const bool end = at == 0 || at == last;
        if (end && !closedSpine_) return {};
        const gp_XYZ &before = end ? spine_[last - 1] : spine_[at - 1],
                     &after = end ? spine_[1] : spine_[at + 1];
        const gp_XYZ bend = (after - spine_[at]).Crossed(before - spine_[at]);
        const double least = 1e-9 * (after - spine_[at]).Modulus() * (before - spine_[at]).Modulus();
        return bend.Modulus() > least ? bend.Normalized() : gp_XYZ();
    }

    // The axes of the section at each point of the spine.
    std::vector<gp_Mat> Frames() const {
        std::vector<gp_XYZ> bends;
        gp_XYZ known;
        for (std::size_t at = 0; at < spine_.size(); ++at) bends.push_back(Bend(at));
        for (const gp_XYZ& bend : bends)
            if (known.SquareModulus() == 0) known = bend;
        const bool straight = known.SquareModulus() == 0;
        std::vector<gp_Mat> frames;
        for (std::size_t at = 0; at < spine_.size(); ++at) {
            gp_XYZ along = Tangent(at);
            if (!(along.Modulus() > 0)) along = gp_XYZ(0, 1, 0);
            along.Normalize();
            if (straight) {
                frames.push_back(gp_Quaternion(gp_Vec(0, 1, 0), gp_Vec(along)).GetMatrix());
                continue;
            }
            if (bends[at].SquareModulus() > 0) known = bends[at] * (bends[at].Dot(known) < 0 ? -1 : 1);
            gp_XYZ x = along.Crossed(known);
            if (x.Modulus() > 0) x.Normalize();
            frames.emplace_back(x, along, x.Crossed(along));
        }
        return frames;
    }

    void AddPoints() {
        const std::vector<gp_Mat> frames = Frames();
        const auto clamped = [](const std::vector<double>& values, std::size_t group, std::size_t at) {
            return values.data() + std::min(at, values.size() / group - 1) * group;
        };
        for (std::size_t at = 0; at < spine_.size(); ++at) {
            const double *scale = clamped(scale_, 2, at), *turn = clamped(orientation_, 4, at);
            const gp_Vec axis(turn[0], turn[1], turn[2]);
            const gp_Mat turned =
                axis.Magnitude() > 0 ? gp_Quaternion(axis, turn[3]).GetMatrix() : gp_Quaternion().GetMatrix();
            for (std::size_t one = 0; one < across_; ++one) {
                gp_XYZ point(section_[2 * one] * scale[0], 0, section_[2 * one + 1] * scale[1]);
                point = frames[at] * (turned * point);
                mesh.points.push_back(spine_[at] + point);
            }
        }
    }

    void AddSides(bool turned) {
        const auto rings = static_cast<std::uint32_t>(spine_.size() - 1);
        const std::uint32_t sides = closedSection_ ? across_ : across_ - 1;
        for (std::uint32_t ring = 0; ring < rings; ++ring) {
            const std::uint32_t below = ring * across_;
            const std::uint32_t above = closedSpine_ && ring + 1 == rings ? 0 : below + across_;
            for (std::uint32_t one = 0; one < sides; ++one) {
                const std::uint32_t next = (one + 1) % across_;
                AddPolygon(mesh, {below + one, below + next, above + next, above + one}, turned);
            }
        }
    }

    void AddCap(bool wanted, std::uint32_t ring, bool turned) {
        std::vector<std::uint32_t> corners;
        for (std::uint32_t one = 0; one < across_; ++one) corners.push_back(ring * across_ + one);
        if (wanted) AddPolygon(mesh, corners, turned);
    }

    std::vector<double> section_, scale_, orientation_;
    std::vector<gp_XYZ> spine_;
    std::uint32_t across_ = 0;  // points of a section
    bool closedSection_ = false, closedSpine_ = false;
};

}  // namespace

std::optional<PolygonMesh> MeshOfBody(const X3dNode& node) {
    if (node.Is({"Box"})) return Box(node);
    if (node.Is({"Sphere"})) return Sphere(node);
    if (node.Is({"Cylinder"})) {
        const double radius = node.Number("radius", 1);
        return Round(node, radius, radius);
    }
    if (node.Is({"Cone"})) return Round(node, node.Number("bottomRadius", 1), 0);
    if (node.Is({"ElevationGrid"})) return ElevationGrid(node);
    if (node.Is({"Extrusion"})) return Extrusion(node).mesh;
    return std::nullopt;
}

}  // namespace morvex
