// DXF with the triangles as faces in space.
#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/scene/dxf_file.h"
#include "engine/modules/scene/mesh_scene.h"

namespace morvex {
namespace {

// The first axis of the frame that DXF takes for a direction that is up.
gp_Vec FirstAxis(const gp_Vec& up) {
    constexpr double kNear = 1.0 / 64;
    const bool upright = std::abs(up.X()) < kNear && std::abs(up.Y()) < kNear;
    return (upright ? gp_Vec(0, 1, 0) : gp_Vec(0, 0, 1)).Crossed(up).Normalized();
}

std::string LayerName(int material) {
    return material < 0 ? "0" : "colour " + std::to_string(material + 1);
}

// Each mesh is a block, and so is each node that has others below it.
class DxfWriter {
  public:
    DxfWriter(const MeshScene& scene, DxfFile& file) : scene_(scene), file_(file) {}

    void Write() {
        for (const MeshScene::Mesh& mesh : scene_.meshes) blocks_.push_back(NewName(mesh.name));
        for (const MeshScene::Node& root : scene_.roots) NameBlocks(root);
        file_.Begin(Layers(), blocks_);
        for (const MeshScene::Mesh& mesh : scene_.meshes) file_.Block([&] { WriteMesh(mesh); });
        for (const MeshScene::Node& root : scene_.roots) WriteBlocks(root);
        file_.BeginEntities();
        for (const MeshScene::Node& root : scene_.roots) Insert(root);
    }

  private:
    std::string NewName(const std::string& wanted) {
        const std::string base = DxfFile::NameOf(wanted);
        std::string name = base;
        int& number = numbers_[base];
        while (!used_.insert(Folded(name)).second) name = base + "_" + std::to_string(++number + 1);
        return name;
    }

    // DXF does not tell capitals from small letters, in no alphabet: letters beyond ASCII all count as one.
    static std::string Folded(const std::string& name) {
        std::string folded = LowerAscii(name);
        for (char& unit : folded)
            if (static_cast<unsigned char>(unit) >= 0x80) unit = '?';
        return folded;
    }

    // Those below a node first: a block stands before its inserts.
    void NameBlocks(const MeshScene::Node& node) {
        if (node.children.empty()) return;
        for (const MeshScene::Node& child : node.children) NameBlocks(child);
        nodeBlocks_[&node] = blocks_.emplace_back(NewName(node.name));
    }

    void WriteBlocks(const MeshScene::Node& node) {
        if (node.children.empty()) return;
        for (const MeshScene::Node& child : node.children) WriteBlocks(child);
        file_.Block([&] {
            for (const MeshScene::Node& child : node.children) Insert(child);
        });
    }

    std::vector<DxfLayer> Layers() const {
        std::vector<DxfLayer> layers;
        for (int at = 0; at < scene_.MaterialCount(); ++at) {
            const auto colour = SrgbOf(scene_, at);
            int rgb = 0;
            for (std::size_t channel = 0; channel < 3; ++channel)
                rgb = rgb << 8 | static_cast<int>(std::lround(colour[channel] * 255));
            layers.push_back({LayerName(at), rgb, false});
        }
        return layers;
    }

    // A face has four corners, of which the last two are the same in a triangle.
    void WriteMesh(const MeshScene::Mesh& mesh) {
        for (const MeshScene::Patch& patch : mesh.patches) {
            const std::string layer = LayerName(patch.material);
            const double opacity = SrgbOf(scene_, patch.material)[3];
            for (std::size_t at = 0; at < patch.corners.size(); at += 3) {
                file_.Entity("3DFACE", layer, "AcDbFace", opacity);
                for (std::size_t corner = 0; corner < 4; ++corner) {
                    const auto& [x, y, z] =
                        patch.points[patch.corners[at + std::min<std::size_t>(corner, 2)]];
                    file_.Point(10 + static_cast<int>(corner), x, y, z);
                }
            }
        }
    }

    void Insert(const MeshScene::Node& node) {
        const gp_Vec up = gp_Vec(0, 0, 1).Transformed(node.transform),
                     right = gp_Vec(1, 0, 0).Transformed(node.transform), first = FirstAxis(up),
                     shift(node.transform.TranslationPart());
        const double angle = first.AngleWithRef(right, up) * 180 / std::numbers::pi;
        const std::string& block =
            node.mesh >= 0 ? blocks_[static_cast<std::size_t>(node.mesh)] : nodeBlocks_.at(&node);
        file_.Entity("INSERT", "0", "AcDbBlockReference").Group(2, block);
        file_.Point(10, shift.Dot(first), shift.Dot(up.Crossed(first)), shift.Dot(up));
        file_.Group(50, angle).Point(210, up.X(), up.Y(), up.Z());
    }

    const MeshScene& scene_;
    DxfFile& file_;
    std::vector<std::string> blocks_;
    std::map<const MeshScene::Node*, std::string> nodeBlocks_;
    std::set<std::string> used_;          // folded
    std::map<std::string, int> numbers_;  // that the names in use already bear
};

}  // namespace

extern "C" Outcome WriteDxf(JobContext& context) {
    const MeshScene scene = MakeMeshScene(context.document, false);
    DxfFile file(context.file, context.settings.decimals);
    DxfWriter(scene, file).Write();
    return Written(file.End());
}

}  // namespace morvex
