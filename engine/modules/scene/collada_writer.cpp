// Collada.
#include <functional>

#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/scene/mesh_scene.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

using Vectors = std::vector<MeshScene::Vector>;

class ColladaWriter {
  public:
    ColladaWriter(const MeshScene& scene, const Settings& settings, TextFile& file)
        : scene_(scene), settings_(settings), file_(file) {}

    void Write() {
        const bool newer = settings_.colladaVersion == 150;
        file_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<COLLADA xmlns=\"http://www.collada.org/"
              << (newer ? "2008/03" : "2005/11") << "/COLLADASchema\" version=\""
              << (newer                             ? "1.5.0"
                  : settings_.colladaVersion == 140 ? "1.4.0"
                                                    : "1.4.1")
              << "\">\n<asset>\n <contributor><authoring_tool>Morvex</authoring_tool></contributor>\n"
                 " <created>1970-01-01T00:00:00Z</created>\n <modified>1970-01-01T00:00:00Z</modified>\n"
                 " <unit name=\"millimeter\" meter=\"0.001\"/>\n <up_axis>Z_UP</up_axis>\n</asset>\n";
        WriteMaterials();
        file_ << "<library_geometries>\n";
        for (std::size_t mesh = 0; mesh < scene_.meshes.size(); ++mesh) WriteMesh(mesh);
        file_ << "</library_geometries>\n";
        if (!settings_.colladaCopies) WriteNodeLibrary();
        file_ << "<library_visual_scenes>\n<visual_scene id=\"scene\">\n";
        for (const MeshScene::Node& node : scene_.roots) {
            if (settings_.colladaTree) {
                WriteNode(node);
            } else {
                WriteLeaves(node, gp_Trsf());
            }
        }
        file_ << "</visual_scene>\n</library_visual_scenes>\n"
                 "<scene><instance_visual_scene url=\"#scene\"/></scene>\n</COLLADA>\n";
    }

  private:
    void WriteMaterials() {
        if (scene_.materials.empty()) return;
        file_ << "<library_effects>\n";
        for (int at = 0; at < scene_.MaterialCount(); ++at) {
            const auto colour = SrgbOf(scene_, at);
            // The opaque mode A_ONE: 1 is opaque. Some readers take it the other way round.
            const double opacity = settings_.reverseTransparency ? 1 - colour[3] : colour[3];
            file_ << "<effect id=\"effect" << at
                  << "\"><profile_COMMON><technique sid=\"common\"><lambert><diffuse><color>" << colour[0]
                  << " " << colour[1] << " " << colour[2] << " " << colour[3]
                  << "</color></diffuse><transparent opaque=\"A_ONE\"><color>1 1 1 1</color></transparent>"
                     "<transparency><float>"
                  << opacity << "</float></transparency></lambert></technique></profile_COMMON></effect>\n";
        }
        file_ << "</library_effects>\n<library_materials>\n";
        for (int at = 0; at < scene_.MaterialCount(); ++at) {
            file_ << "<material id=\"material" << at << "\"><instance_effect url=\"#effect" << at
                  << "\"/></material>\n";
        }
        file_ << "</library_materials>\n";
    }

    void WriteSource(const std::string& id, const char* const* parameters, std::size_t width,
                     std::size_t count, const std::function<void()>& numbers) {
        file_ << "<source id=\"" << id << "\"><float_array id=\"" << id << "-array\" count=\""
              << count * width << "\">";
        numbers();
        file_ << "</float_array><technique_common><accessor source=\"#" << id << "-array\" count=\"" << count
              << "\" stride=\"" << width << "\">";
        for (std::size_t at = 0; at < width; ++at) {
            file_ << "<param name=\"" << parameters[at] << "\" type=\"float\"/>";
        }
        file_ << "</accessor></technique_common></source>\n";
    }

    void WriteVectors(const std::string& id, const MeshScene::Mesh& mesh, Vectors MeshScene::Patch::*part) {
        static constexpr const char* kAxes[] = {"X", "Y", "Z"};
        std::size_t count = 0;
        for (const auto& patch : mesh.patches) count += (patch.*part).size();
        WriteSource(id, kAxes, 3, count, [&] {
            for (const auto& patch : mesh.patches) {
                for (const auto& vector : patch.*part) {
                    for (const double value : vector) file_.Coordinate(value) << " ";
                }
            }
        });
    }

    void WriteColours(const std::string& id, const MeshScene::Mesh& mesh) {
        static constexpr const char* kChannels[] = {"R", "G", "B", "A"};
        WriteSource(id, kChannels, 4, mesh.patches.size(), [&] {
            for (const auto& patch : mesh.patches) {
                for (const double value : SrgbOf(scene_, patch.material)) file_ << value << " ";
            }
        });
    }

    void WriteMesh(std::size_t number) {
        const MeshScene::Mesh& mesh = scene_.meshes[number];
        const std::string id = "mesh" + std::to_string(number);
        bool normals = true;
        for (const auto& patch : mesh.patches) normals = normals && !patch.normals.empty();
        file_ << "<geometry id=\"" << id << "\" name=\"" << XmlText(mesh.name) << "\"><mesh>\n";
        WriteVectors(id + "-points", mesh, &MeshScene::Patch::points);
        if (normals) WriteVectors(id + "-normals", mesh, &MeshScene::Patch::normals);
        if (settings_.vertexColours) WriteColours(id + "-colours", mesh);
        file_ << "<vertices id=\"" << id << "-vertices\"><input semantic=\"POSITION\" source=\"#" << id
              << "-points\"/></vertices>\n";
        std::uint32_t first = 0;
        for (std::size_t at = 0; at < mesh.patches.size(); ++at) {
            const auto& patch = mesh.patches[at];
            file_ << "<triangles count=\"" << patch.corners.size() / 3 << "\"";
            if (patch.material >= 0) file_ << " material=\"m" << patch.material << "\"";
            file_ << "><input semantic=\"VERTEX\" source=\"#" << id << "-vertices\" offset=\"0\"/>";
            if (normals)
                file_ << "<input semantic=\"NORMAL\" source=\"#" << id << "-normals\" offset=\"0\"/>";
            if (settings_.vertexColours) {
                file_ << "<input semantic=\"COLOR\" source=\"#" << id
                      << "-colours\" offset=\"1\" set=\"0\"/>";
            }
            file_ << "<p>";
            for (const std::uint32_t corner : patch.corners) {
                file_ << first + corner << " ";
                if (settings_.vertexColours) file_ << at << " ";
            }
            file_ << "</p></triangles>\n";
            first += static_cast<std::uint32_t>(patch.points.size());
        }
        file_ << "</mesh></geometry>\n";
    }

    void WriteGeometryInstance(int number) {
        file_ << "<instance_geometry url=\"#mesh" << number << "\">";
        std::string bindings;
        for (const auto& patch : scene_.meshes[static_cast<std::size_t>(number)].patches) {
            if (patch.material < 0) continue;
            const std::string material = std::to_string(patch.material);
            bindings.append("<instance_material symbol=\"m").append(material);
            bindings.append("\" target=\"#material").append(material).append("\"/>");
        }
        if (!bindings.empty()) {
            file_ << "<bind_material><technique_common>" << bindings << "</technique_common></bind_material>";
        }
        file_ << "</instance_geometry>";
    }

    // Each mesh as a node that the tree's nodes refer to.
    void WriteNodeLibrary() {
        file_ << "<library_nodes>\n";
        for (std::size_t at = 0; at < scene_.meshes.size(); ++at) {
            file_ << "<node id=\"part" << at << "\" name=\"" << XmlText(scene_.meshes[at].name) << "\">";
            WriteGeometryInstance(static_cast<int>(at));
            file_ << "</node>\n";
        }
        file_ << "</library_nodes>\n";
    }

    void WriteNode(const MeshScene::Node& node) {
        OpenNode(node.name, node.transform);
        WriteContents(node);
        for (const MeshScene::Node& child : node.children) WriteNode(child);
        file_ << "</node>\n";
    }

    void WriteContents(const MeshScene::Node& node) {
        if (node.mesh < 0) return;
        if (settings_.colladaCopies) {
            WriteGeometryInstance(node.mesh);
        } else {
            file_ << "<instance_node url=\"#part" << node.mesh << "\"/>";
        }
    }

    // The parts without the tree above them.
    void WriteLeaves(const MeshScene::Node& node, const gp_Trsf& above) {
        const gp_Trsf here = above * node.transform;
        if (node.mesh >= 0) {
            OpenNode(node.name, here);
            WriteContents(node);
            file_ << "</node>\n";
        }
        for (const MeshScene::Node& child : node.children) WriteLeaves(child, here);
    }

    void OpenNode(const std::string& name, const gp_Trsf& transform) {
        file_ << "<node id=\"node" << nodes_++ << "\" name=\"" << XmlText(name) << "\"><matrix>";
        for (const double value : RowsOf(transform)) file_ << value << " ";
        file_ << "0 0 0 1</matrix>";
    }

    const MeshScene& scene_;
    const Settings& settings_;
    TextFile& file_;
    int nodes_ = 0;
};

}  // namespace

extern "C" Outcome WriteCollada(JobContext& context) {
    const MeshScene scene = MakeMeshScene(context.document, context.settings.normalsFromSurface);
    TextFile file(context.file, context.settings.decimals);
    ColladaWriter(scene, context.settings, file).Write();
    return Written(file.Close());
}

}  // namespace morvex
