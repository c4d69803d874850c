// 3MF: a package with one model, the assembly tree as component objects.
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/point_numbers.h"
#include "engine/modules/scene/mesh_scene.h"
#include "engine/modules/scene/text_file.h"
#include "engine/modules/scene/zip_file.h"

namespace morvex {
namespace {

constexpr int kMaterialsId = 1, kFirstObjectId = 2;

constexpr char kContentTypes[] =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>
)";
constexpr char kRelations[] =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>
)";

std::string HexColour(const std::array<double, 4>& colour) {
    std::string text = "#";
    for (const double value : colour) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(std::lround(value * 255)));
        text += digits;
    }
    return text;
}

std::size_t CountPoints(const MeshScene::Mesh& mesh) {
    std::size_t count = 0;
    for (const auto& patch : mesh.patches) count += patch.points.size();
    return count;
}

// Of the model's text, in bytes.
std::uint64_t LargestSize(const MeshScene& scene) {
    constexpr std::uint64_t kVertex = 150, kTriangle = 100;
    std::uint64_t size = 0;
    for (const auto& mesh : scene.meshes) {
        size += CountPoints(mesh) * kVertex;
        for (const auto& patch : mesh.patches) size += patch.corners.size() / 3 * kTriangle;
    }
    return size;
}

class ModelWriter {
  public:
    ModelWriter(const MeshScene& scene, TextFile& file) : scene_(scene), file_(file), next_(kFirstObjectId) {}

    void Write() {
        file_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model unit=\"millimeter\" xml:lang=\"en-US\" "
                 "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\">\n"
                 "<metadata name=\"Application\">Morvex</metadata>\n<resources>\n";
        if (!scene_.materials.empty()) {
            file_ << "<basematerials id=\"" << kMaterialsId << "\">";
            for (int at = 0; at < scene_.MaterialCount(); ++at) {
                file_ << "<base name=\"" << XmlText(scene_.materials[static_cast<std::size_t>(at)].name)
                      << "\" displaycolor=\"" << HexColour(SrgbOf(scene_, at)) << "\"/>";
            }
            file_ << "</basematerials>\n";
        }
        for (const MeshScene::Mesh& mesh : scene_.meshes) WriteMesh(mesh);
        std::string items;
        for (const MeshScene::Node& root : scene_.roots) items += Reference("item", root);
        file_ << "</resources>\n<build>\n" << items << "</build>\n</model>\n";
    }

  private:
    // Points at one place are one vertex, since the triangles of a mesh must share theirs. Sides of no length
    // go.
    void WriteMesh(const MeshScene::Mesh& mesh) {
        file_ << "<object id=\"" << next_++ << "\" type=\"model\" name=\"" << XmlText(mesh.name) << "\"";
        // Triangles may only name a material in an object that has one itself.
        if (const int first = mesh.patches.front().material; first >= 0)
            file_ << " pid=\"" << kMaterialsId << "\" pindex=\"" << first << "\"";
        file_ << "><mesh><vertices>\n";
        PointNumbers vertices;
        std::vector<const MeshScene::Vector*> first;
        first.reserve(CountPoints(mesh));
        std::vector<std::vector<std::uint32_t>> numbers;
        for (const auto& patch : mesh.patches) {
            auto& own = numbers.emplace_back();
            own.reserve(patch.points.size());
            for (const auto& point : patch.points) {
                const auto [number, isNew] = vertices.Take(
                    point, [&](std::uint32_t at) -> const auto& { return *first[at]; });
                own.push_back(number);
                if (!isNew) continue;
                first.push_back(&point);
                file_ << "<vertex x=\"";
                file_.Coordinate(point[0]) << "\" y=\"";
                file_.Coordinate(point[1]) << "\" z=\"";
                file_.Coordinate(point[2]) << "\"/>\n";
            }
        }
        file_ << "</vertices><triangles>\n";
        for (std::size_t at = 0; at < mesh.patches.size(); ++at)
            WriteTriangles(mesh.patches[at], numbers[at]);
        file_ << "</triangles></mesh></object>\n";
    }

    void WriteTriangles(const MeshScene::Patch& patch, const std::vector<std::uint32_t>& numbers) {
        const std::string material = patch.material < 0
                                         ? ""
                                         : " pid=\"" + std::to_string(kMaterialsId) + "\" p1=\"" +
                                               std::to_string(patch.material) + "\"";
        for (std::size_t at = 0; at < patch.corners.size(); at += 3) {
            const auto a = numbers[patch.corners[at]], b = numbers[patch.corners[at + 1]],
                       c = numbers[patch.corners[at + 2]];
            if (a == b || b == c || c == a) continue;
            file_ << "<triangle v1=\"" << a << "\" v2=\"" << b << "\" v3=\"" << c << "\"" << material
                  << "/>\n";
        }
    }

    // The element that places a node.
    std::string Reference(const char* element, const MeshScene::Node& node) {
        const int object = ObjectOf(node);
        TextFile text(0);
        text << "<" << element << " objectid=\"" << object << "\" transform=\"";
        for (int column = 1; column <= 4; ++column) {
            for (int row = 1; row <= 3; ++row) {
                text << (column + row == 2 ? "" : " ") << node.transform.Value(row, column);
            }
        }
        text << "\"/>\n";
        return text.Text();
    }

    // A mesh is one already. A node with children becomes one, and so does the name of an instance, for
    // which a reference has no room; instances of one name share it.
    int ObjectOf(const MeshScene::Node& node) {
        std::string components;
        if (node.mesh >= 0) {
            const int mesh = kFirstObjectId + node.mesh;
            if (node.name == scene_.meshes[static_cast<std::size_t>(node.mesh)].name) return mesh;
            const auto [place, isNew] = named_.try_emplace({node.mesh, node.name}, next_);
            if (!isNew) return place->second;
            components = "<component objectid=\"" + std::to_string(mesh) + "\"/>";
        }
        for (const MeshScene::Node& child : node.children) components += Reference("component", child);
        file_ << "<object id=\"" << next_ << "\" type=\"model\" name=\"" << XmlText(node.name)
              << "\"><components>" << components << "</components></object>\n";
        return next_++;
    }

    const MeshScene& scene_;
    TextFile& file_;
    int next_;
    std::map<std::pair<int, std::string>, int> named_;
};

}  // namespace

extern "C" Outcome Write3mf(JobContext& context) {
    MeshScene scene = MakeMeshScene(context.document, false);
    FillMaterials(scene, false);
    ZipFile package(context.file, context.Processors());
    package.Add("[Content_Types].xml", kContentTypes);
    package.Add("_rels/.rels", kRelations);
    package.Begin("3D/3dmodel.model", LargestSize(scene));
    TextFile model([&package](std::string_view piece) { package.Write(piece); }, context.settings.decimals);
    ModelWriter(scene, model).Write();
    model.Close();
    package.End();
    return Written(package.Close());
}

}  // namespace morvex
