// OBJ with its materials.
#include <map>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/scene/mesh_scene.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

// Blanks and line ends separate names, and a slash separates those of the tree.
std::string Word(std::string name) {
    for (char& c : name) {
        if ((c >= 0 && c <= ' ') || c == '/') c = '_';
    }
    return name;
}

class ObjWriter {
  public:
    ObjWriter(const MeshScene& scene, TextFile& file) : scene_(scene), file_(file) {}

    void Write(const std::string& materialFile) {
        file_ << "# Morvex\n";
        if (!scene_.materials.empty()) file_ << "mtllib " << materialFile << "\n";
        for (const MeshScene::Node& root : scene_.roots) WriteNode(root, gp_Trsf(), "");
    }

    static std::string MaterialName(const MeshScene& scene, std::size_t number) {
        return std::to_string(number + 1) + "_" + Word(scene.materials[number].name);
    }

  private:
    // The format knows neither places nor instances. A group has the names from the root down as its name.
    void WriteNode(const MeshScene::Node& node, const gp_Trsf& above, const std::string& path) {
        const gp_Trsf place = above * node.transform;
        const std::string group = path + (path.empty() ? "" : "/") + Word(node.name);
        if (node.mesh >= 0) {
            file_ << "g " << group << "\n";
            for (const auto& patch : scene_.meshes[static_cast<std::size_t>(node.mesh)].patches)
                WritePatch(patch, place);
        }
        for (const MeshScene::Node& child : node.children) WriteNode(child, place, group);
    }

    void WritePatch(const MeshScene::Patch& patch, const gp_Trsf& place) {
        for (const auto& [x, y, z] : patch.points) {
            const gp_XYZ point = gp_Pnt(x, y, z).Transformed(place).XYZ();
            WriteVector("v ", point);
        }
        for (const auto& [x, y, z] : patch.normals) {
            const gp_XYZ normal = gp_Vec(x, y, z).Transformed(place).XYZ();
            WriteVector("vn ", normal);
        }
        for (const auto& [u, v] : patch.textureCoordinates) {
            file_ << "vt " << static_cast<double>(u) << " " << static_cast<double>(v) << "\n";
        }
        if (patch.material >= 0) {
            file_ << "usemtl " << MaterialName(scene_, static_cast<std::size_t>(patch.material)) << "\n";
        }
        for (std::size_t at = 0; at < patch.corners.size(); at += 3) {
            file_ << "f";
            for (std::size_t corner = at; corner < at + 3; ++corner)
                WriteCorner(patch, patch.corners[corner]);
            file_ << "\n";
        }
        points_ += patch.points.size();
        normals_ += patch.normals.size();
        textures_ += patch.textureCoordinates.size();
    }

    void WriteVector(const char* kind, const gp_XYZ& vector) {
        file_ << kind;
        file_.Coordinate(vector.X()) << " ";
        file_.Coordinate(vector.Y()) << " ";
        file_.Coordinate(vector.Z()) << "\n";
    }

    // Numbers count from 1 over the whole file.
    void WriteCorner(const MeshScene::Patch& patch, std::uint32_t corner) {
        file_ << " " << points_ + corner + 1;
        const bool textured = !patch.textureCoordinates.empty(), normals = !patch.normals.empty();
        if (textured || normals) file_ << "/";
        if (textured) file_ << textures_ + corner + 1;
        if (normals) file_ << "/" << normals_ + corner + 1;
    }

    const MeshScene& scene_;
    TextFile& file_;
    std::size_t points_ = 0, normals_ = 0, textures_ = 0;
};

// Images lie beside the file, under its name and a number; nobody calls images of their own like that.
class MaterialWriter {
  public:
    MaterialWriter(const MeshScene& scene, const std::filesystem::path& path, Journal& journal)
        : scene_(scene), path_(path), journal_(journal), file_(path, kDecimals) {}

    bool Write() {
        for (std::size_t at = 0; at < scene_.materials.size(); ++at) {
            const auto& material = scene_.materials[at];
            const auto colour = SrgbOf(scene_, static_cast<int>(at));
            file_ << "newmtl " << ObjWriter::MaterialName(scene_, at) << "\nKd " << colour[0] << " "
                  << colour[1] << " " << colour[2] << "\nd " << colour[3] << "\n";
            if (!material.look.IsNull()) WriteTexture(ImageOf(*material.look));
        }
        return file_.Close();
    }

  private:
    void WriteTexture(const Handle(Image_Texture) & image) {
        if (image.IsNull()) return;
        std::string& name = images_[image->TextureId().ToCString()];
        if (name.empty()) {
            name = Utf8(path_.stem()) + ".texture" + std::to_string(images_.size()) + "." +
                   image->ProbeImageFileFormat().ToCString();
            if (!image->WriteImage(Utf8(path_.parent_path() / PathFromUtf8(name)).c_str())) {
                journal_.Warn("An image could not be written");
                return;
            }
        }
        file_ << "map_Kd " << name << "\n";
    }

    static constexpr int kDecimals = 6;
    const MeshScene& scene_;
    const std::filesystem::path path_;
    Journal& journal_;
    TextFile file_;
    std::map<std::string, std::string> images_;
};

}  // namespace

// The numbers are millimetres, Z up, as usual in OBJ from CAD.
extern "C" Outcome WriteObj(JobContext& context) {
    MeshScene scene = MakeMeshScene(context.document, true);
    FillMaterials(scene, true);
    std::filesystem::path materials = context.file;
    materials.replace_extension(".mtl");
    TextFile file(context.file, context.settings.decimals);
    ObjWriter(scene, file).Write(Utf8(materials.filename()));
    const bool written = file.Close() && (scene.materials.empty() ||
                                          MaterialWriter(scene, materials, context.journal).Write());
    return Written(written);
}

}  // namespace morvex
