// VRML 2.0.
#include <gp_Quaternion.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/scene/mesh_scene.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

class VrmlWriter {
  public:
    VrmlWriter(const MeshScene& scene, TextFile& file)
        : scene_(scene), file_(file), written_(scene.meshes.size()), defined_(scene.materials.size()) {}

    void Write() {
        file_ << "#VRML V2.0 utf8\n";
        for (const MeshScene::Node& node : scene_.roots) WriteNode(node);
    }

  private:
    void WriteNode(const MeshScene::Node& node) {
        const gp_XYZ& shift = node.transform.TranslationPart();
        gp_Vec axis;
        double angle = 0;
        node.transform.GetRotation().GetVectorAndAngle(axis, angle);
        file_ << "DEF " << Identifier(node.name) << " Transform {\n translation " << shift.X() << " "
              << shift.Y() << " " << shift.Z() << "\n";
        if (angle != 0) {
            file_ << " rotation " << axis.X() << " " << axis.Y() << " " << axis.Z() << " " << angle << "\n";
        }
        file_ << " children [\n";
        if (node.mesh >= 0) WriteMesh(static_cast<std::size_t>(node.mesh));
        for (const MeshScene::Node& child : node.children) WriteNode(child);
        file_ << "]}\n";
    }

    // Written once; further instances refer to it.
    void WriteMesh(std::size_t number) {
        if (written_[number]) {
            file_ << "USE mesh" << number << "\n";
            return;
        }
        written_[number] = true;
        file_ << "DEF mesh" << number << " Group { children [\n";
        for (const MeshScene::Patch& patch : scene_.meshes[number].patches) WritePatch(patch);
        file_ << "]}\n";
    }

    void WritePatch(const MeshScene::Patch& patch) {
        file_ << "Shape {\n appearance ";
        WriteAppearance(patch.material);
        file_ << " geometry IndexedFaceSet {\n  solid FALSE\n  coord Coordinate { point [\n";
        WriteVectors(patch.points);
        file_ << "  ]}\n  coordIndex [\n";
        for (std::size_t at = 0; at < patch.corners.size(); at += 3) {
            file_ << patch.corners[at] << " " << patch.corners[at + 1] << " " << patch.corners[at + 2]
                  << " -1\n";
        }
        file_ << "  ]\n";
        if (!patch.normals.empty()) {
            file_ << "  normal Normal { vector [\n";
            WriteVectors(patch.normals);
            file_ << "  ]}\n";
        }
        file_ << " }\n}\n";
    }

    void WriteVectors(const std::vector<MeshScene::Vector>& vectors) {
        for (const auto& [x, y, z] : vectors) {
            file_.Coordinate(x) << " ";
            file_.Coordinate(y) << " ";
            file_.Coordinate(z) << ",\n";
        }
    }

    void WriteAppearance(int material) {
        if (material >= 0) {
            const auto number = static_cast<std::size_t>(material);
            if (defined_[number]) {
                file_ << "USE material" << number << "\n";
                return;
            }
            defined_[number] = true;
            file_ << "DEF material" << number << " ";
        }
        const auto colour = SrgbOf(scene_, material);
        file_ << "Appearance { material Material { diffuseColor " << colour[0] << " " << colour[1] << " "
              << colour[2] << " transparency " << 1 - colour[3] << " } }\n";
    }

    // Names may be used again, the last one counts; letters beyond ASCII are allowed, blanks and marks are
    // not.
    static std::string Identifier(const std::string& name) {
        std::string identifier = "N_";
        for (const char c : name) {
            const bool plain =
                (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c < 0;
            identifier += plain ? c : '_';
        }
        return identifier;
    }

    const MeshScene& scene_;
    TextFile& file_;
    std::vector<bool> written_, defined_;
};

}  // namespace

// The numbers stay millimetres, as usual in VRML from CAD.
extern "C" Outcome WriteVrml(JobContext& context) {
    const MeshScene scene = MakeMeshScene(context.document, context.settings.normalsFromSurface);
    TextFile file(context.file, context.settings.decimals);
    VrmlWriter(scene, file).Write();
    return Written(file.Close());
}

}  // namespace morvex
