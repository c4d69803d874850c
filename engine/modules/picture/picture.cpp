#include "engine/modules/picture/picture.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "engine/modules/picture/rasteriser.h"

namespace morvex {
namespace {

using Rows = std::array<std::array<double, 4>, 3>;

// What the viewer sees as right, down and near, as rows; along the diagonals of a box in front.
gp_Trsf View() {
    const double across = std::sqrt(0.5), above = std::sqrt(1.0 / 3), flat = std::sqrt(1.0 / 6);
    gp_Trsf view;
    view.SetValues(across, across, 0, 0, flat, -flat, -2 * flat, 0, above, -above, above, 0);
    return view;
}

Vector3 Times(const Rows& m, const MeshScene::Vector& p) {
    const auto row = [&](std::size_t at) {
        return static_cast<float>(m[at][0] * p[0] + m[at][1] * p[1] + m[at][2] * p[2] + m[at][3]);
    };
    return {row(0), row(1), row(2)};
}

Vector3 Minus(const Vector3& a, const Vector3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vector3 Cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
float Dot(const Vector3& a, const Vector3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3 Unit(const Vector3& a) {
    const float factor = 1 / std::sqrt(std::max(Dot(a, a), 1e-30f));
    return {a.x * factor, a.y * factor, a.z * factor};
}

class Painter {
  public:
    explicit Painter(const MeshScene& scene) : scene_(scene), picture_(kPictureWidth, kPictureHeight) {
        for (int at = 0; at < scene.MaterialCount(); ++at) {
            const auto colour = SrgbOf(scene, at);
            colours_.push_back({static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                                static_cast<float>(colour[2]), static_cast<float>(colour[3])});
        }
    }

    std::vector<std::uint8_t> Paint() {
        ForEachPlace(View(),
                     [this](const MeshScene::Mesh& mesh, const Rows& place) { Measure(mesh, place); });
        if (low_.x > high_.x) return picture_.Pixels();
        ForEachPlace(Fitted(), [this](const MeshScene::Mesh& mesh, const Rows& place) { Draw(mesh, place); });
        picture_.FinishLayer();
        std::vector<std::pair<float, std::size_t>> order;
        for (const Clear& clear : clear_) {
            const auto& [a, b, c] = clear.corners;
            order.emplace_back(a.point.z + b.point.z + c.point.z, order.size());
        }
        std::ranges::sort(order);
        for (const auto& [depth, number] : order)
            picture_.Draw(clear_[number].corners, clear_[number].colour);
        picture_.FinishLayer();
        return picture_.Pixels();
    }

  private:
    using Visit = std::function<void(const MeshScene::Mesh&, const Rows&)>;
    struct Clear {  // a transparent triangle
        CornerTriple corners;
        Colour4 colour;
    };

    void ForEachPlace(const gp_Trsf& view, const Visit& visit) const {
        const std::function<void(const MeshScene::Node&, const gp_Trsf&)> walk =
            [&](const MeshScene::Node& node, const gp_Trsf& above) {
                const gp_Trsf place = above * node.transform;
                if (node.mesh >= 0) {
                    Rows rows{};
                    for (int row = 0; row < 3; ++row) {
                        for (int column = 0; column < 4; ++column) {
                            rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                                place.Value(row + 1, column + 1);
                        }
                    }
                    visit(scene_.meshes[static_cast<std::size_t>(node.mesh)], rows);
                }
                for (const MeshScene::Node& child : node.children) walk(child, place);
            };
        for (const MeshScene::Node& root : scene_.roots) walk(root, view);
    }

    void Measure(const MeshScene::Mesh& mesh, const Rows& place) {
        for (const MeshScene::Patch& patch : mesh.patches) {
            for (const MeshScene::Vector& point : patch.points) {
                const Vector3 seen = Times(place, point);
                low_ = {std::min(low_.x, seen.x), std::min(low_.y, seen.y), std::min(low_.z, seen.z)};
                high_ = {std::max(high_.x, seen.x), std::max(high_.y, seen.y), std::max(high_.z, seen.z)};
            }
        }
    }

    // The view, moved and scaled so that what was measured fills the picture but for a margin.
    gp_Trsf Fitted() const {
        constexpr double kFilled = 0.92;
        const double width = static_cast<double>(high_.x - low_.x),
                     height = static_cast<double>(high_.y - low_.y);
        const double scale = kFilled / std::max({width / kPictureWidth, height / kPictureHeight, 1e-9});
        const auto middle = [](float a, float b) {
            return (static_cast<double>(a) + static_cast<double>(b)) / 2;
        };
        gp_Trsf size, shift;
        size.SetScale(gp::Origin(), scale);
        shift.SetTranslation(gp_Vec(kPictureWidth / 2.0 - middle(low_.x, high_.x) * scale,
                                    kPictureHeight / 2.0 - middle(low_.y, high_.y) * scale,
                                    -middle(low_.z, high_.z) * scale));
        return shift * size * View();
    }

    void Draw(const MeshScene::Mesh& mesh, const Rows& place) {
        for (const MeshScene::Patch& patch : mesh.patches) {
            points_.clear();
            for (const MeshScene::Vector& point : patch.points) points_.push_back(Times(place, point));
            normals_.assign(points_.size(), {});
            for (std::size_t at = 0; at < patch.corners.size(); at += 3) AddNormal(&patch.corners[at]);
            for (Vector3& normal : normals_) normal = Unit(normal);
            constexpr Colour4 kPlain{0.75f, 0.78f, 0.82f, 1};
            const Colour4 colour =
                patch.material < 0 ? kPlain : colours_[static_cast<std::size_t>(patch.material)];
            for (std::size_t at = 0; at < patch.corners.size(); at += 3)
                DrawTriangle(&patch.corners[at], colour);
        }
    }

    Vector3 Normal(const std::uint32_t* corners) const {
        const Vector3& first = points_[corners[0]];
        return Cross(Minus(points_[corners[1]], first), Minus(points_[corners[2]], first));
    }

    void AddNormal(const std::uint32_t* corners) {
        const Vector3 own = Normal(corners);
        for (std::size_t at = 0; at < 3; ++at) {
            Vector3& sum = normals_[corners[at]];
            sum = {sum.x + own.x, sum.y + own.y, sum.z + own.z};
        }
    }

    // Points are shared within a smooth face, so the sum of what meets in one is its normal there; meshes
    // share them across sharp bends too, where the triangle has its own.
    void DrawTriangle(const std::uint32_t* corners, const Colour4& colour) {
        const Vector3 own = Unit(Normal(corners));
        CornerTriple triple;
        for (std::size_t at = 0; at < 3; ++at) {
            constexpr float kBend = 0.8f;  // the cosine of 37 degrees
            const Vector3& shared = normals_[corners[at]];
            triple[at] = {points_[corners[at]], Dot(shared, own) > kBend ? shared : own};
        }
        if (colour.alpha >= 1) {
            picture_.Draw(triple, colour);
        } else {
            clear_.push_back({triple, colour});
        }
    }

    static constexpr float kNone = 3e38f;
    const MeshScene& scene_;
    Rasteriser picture_;
    std::vector<Colour4> colours_;
    Vector3 low_{kNone, kNone, kNone}, high_{-kNone, -kNone, -kNone};
    std::vector<Vector3> points_, normals_;  // of the patch that is being drawn
    std::vector<Clear> clear_;
};

}  // namespace

std::vector<std::uint8_t> DrawScene(const MeshScene& scene) {
    return Painter(scene).Paint();
}

}  // namespace morvex
