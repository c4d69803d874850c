// FBX, binary.
#include <cmath>
#include <functional>
#include <gp_Quaternion.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/scene/fbx_file.h"
#include "engine/modules/scene/mesh_scene.h"

namespace morvex {
namespace {

constexpr std::string_view kFileId("\x28\xb3\x2a\xeb\xb6\x24\xcc\xc2\xbf\xc8\xb0\x2a\xa9\x2b\xfc\xf1", 16);
constexpr char kCreationTime[] = "1970-01-01 10:00:00:000";
constexpr double kCentimetresPerMillimetre = 0.1;
constexpr std::int64_t kRootId = 0, kFirstMeshId = 1'000'000'000, kFirstMaterialId = 2'000'000'000,
                       kFirstNodeId = 3'000'000'000;

class FbxWriter {
  public:
    explicit FbxWriter(const MeshScene& scene) : scene_(scene) {}

    FbxFile& Build() {
        WriteHead();
        WriteDefinitions();
        file_.Open("Objects");
        for (std::size_t at = 0; at < scene_.meshes.size(); ++at) WriteGeometry(at);
        for (int at = 0; at < scene_.MaterialCount(); ++at) WriteMaterial(at);
        for (const auto& node : scene_.roots) WriteNode(node, kRootId);
        file_.Close().Open("Connections");
        for (const auto& [child, parent] : connections_)
            file_.Open("C").Add("OO").Add(child).Add(parent).Close();
        return file_.Close();
    }

  private:
    void Property(const char* name, const char* type, const char* label, const char* flags) {
        file_.Open("P").Add(name).Add(type).Add(label).Add(flags);
    }
    void Integer(const char* name, std::int32_t value) {
        Property(name, "int", "Integer", "");
        file_.Add(value).Close();
    }
    void Double(const char* name, double value) {
        Property(name, "double", "Number", "");
        file_.Add(value).Close();
    }
    void Triple(const char* name, const char* type, double x, double y, double z) {
        Property(name, type, "", "A");
        file_.Add(x).Add(y).Add(z).Close();
    }

    void WriteHead() {
        file_.Open("FBXHeaderExtension").Leaf("FBXHeaderVersion", 1003).Leaf("FBXVersion", 7400);
        file_.Leaf("Creator", "Morvex").Close();
        file_.Open("FileId").AddRaw(kFileId).Close();
        file_.Leaf("CreationTime", kCreationTime).Leaf("Creator", "Morvex");
        file_.Open("GlobalSettings").Leaf("Version", 1000).Open("Properties70");
        Integer("UpAxis", 2), Integer("UpAxisSign", 1);
        Integer("FrontAxis", 1), Integer("FrontAxisSign", -1);
        Integer("CoordAxis", 0), Integer("CoordAxisSign", 1);
        Integer("OriginalUpAxis", 2), Integer("OriginalUpAxisSign", 1);
        Double("UnitScaleFactor", kCentimetresPerMillimetre);
        Double("OriginalUnitScaleFactor", kCentimetresPerMillimetre);
        file_.Close().Close();
        file_.Open("Documents").Leaf("Count", 1).Open("Document").Add(std::int64_t{1}).Add("").Add("Scene");
        file_.Leaf("RootNode", kRootId).Close().Close();
        file_.Open("References").Close();
    }

    void WriteDefinitions() {
        const auto count = [](std::size_t number) { return static_cast<std::int32_t>(number); };
        std::size_t nodes = 0;
        const std::function<void(const MeshScene::Node&)> tally = [&](const MeshScene::Node& node) {
            ++nodes;
            for (const auto& child : node.children) tally(child);
        };
        for (const auto& node : scene_.roots) tally(node);
        const std::pair<const char*, std::size_t> kinds[] = {{"GlobalSettings", 1},
                                                             {"Model", nodes},
                                                             {"Geometry", scene_.meshes.size()},
                                                             {"Material", scene_.materials.size()}};
        std::size_t all = 0;
        for (const auto& kind : kinds) all += kind.second;
        file_.Open("Definitions").Leaf("Version", 100).Leaf("Count", count(all));
        for (const auto& [name, number] : kinds) {
            file_.Open("ObjectType").Add(name).Leaf("Count", count(number)).Close();
        }
        file_.Close();
    }

    void WriteGeometry(std::size_t number) {
        const MeshScene::Mesh& mesh = scene_.meshes[number];
        std::vector<double> points, normals;
        std::vector<std::int32_t> corners, materials;
        bool hasNormals = true;
        for (std::size_t at = 0; at < mesh.patches.size(); ++at) {
            const auto& patch = mesh.patches[at];
            const auto first = static_cast<std::int32_t>(points.size() / 3);
            for (const auto& point : patch.points) points.insert(points.end(), point.begin(), point.end());
            for (const auto& normal : patch.normals)
                normals.insert(normals.end(), normal.begin(), normal.end());
            hasNormals = hasNormals && !patch.normals.empty();
            for (std::size_t corner = 0; corner < patch.corners.size(); ++corner) {
                const std::int32_t index = first + static_cast<std::int32_t>(patch.corners[corner]);
                corners.push_back(corner % 3 == 2 ? ~index : index);  // the last of a polygon is marked
            }
            materials.insert(materials.end(), patch.corners.size() / 3, static_cast<std::int32_t>(at));
        }
        file_.Open("Geometry")
            .Add(kFirstMeshId + static_cast<std::int64_t>(number))
            .AddName(mesh.name, "Geometry");
        file_.Add("Mesh")
            .Leaf("GeometryVersion", 124)
            .Leaf("Vertices", points)
            .Leaf("PolygonVertexIndex", corners);
        const bool coloured = mesh.patches.front().material >= 0;
        if (hasNormals) {
            std::vector<std::int32_t> indices(corners);
            for (std::size_t at = 2; at < indices.size(); at += 3) indices[at] = ~indices[at];
            WriteLayer("LayerElementNormal", "ByPolygonVertex", "IndexToDirect");
            file_.Leaf("Normals", normals).Leaf("NormalsIndex", indices).Close();
        }
        if (coloured) {
            WriteLayer("LayerElementMaterial", "ByPolygon", "IndexToDirect");
            file_.Leaf("Materials", materials).Close();
        }
        file_.Open("Layer").Add(0).Leaf("Version", 100);
        if (hasNormals) WriteLayerUse("LayerElementNormal");
        if (coloured) WriteLayerUse("LayerElementMaterial");
        file_.Close().Close();
    }

    void WriteLayer(const char* name, const char* mapping, const char* reference) {
        file_.Open(name).Add(0).Leaf("Version", 101).Leaf("Name", "");
        file_.Leaf("MappingInformationType", mapping).Leaf("ReferenceInformationType", reference);
    }
    void WriteLayerUse(const char* name) {
        file_.Open("LayerElement").Leaf("Type", name).Leaf("TypedIndex", 0).Close();
    }

    void WriteMaterial(int number) {
        const auto colour = SrgbOf(scene_, number);
        file_.Open("Material").Add(kFirstMaterialId + number);
        file_.AddName(scene_.materials[static_cast<std::size_t>(number)].name, "Material").Add("");
        file_.Leaf("Version", 102).Leaf("ShadingModel", "lambert").Leaf("MultiLayer", 0).Open("Properties70");
        Triple("DiffuseColor", "Color", colour[0], colour[1], colour[2]);
        Triple("TransparentColor", "Color", 1 - colour[3], 1 - colour[3], 1 - colour[3]);
        Double("TransparencyFactor", 1 - colour[3]);
        Double("Opacity", colour[3]);
        file_.Close().Close();
    }

    void WriteNode(const MeshScene::Node& node, std::int64_t parent) {
        const std::int64_t id = kFirstNodeId + nodes_++;
        const gp_XYZ& shift = node.transform.TranslationPart();
        double x = 0, y = 0, z = 0;
        node.transform.GetRotation().GetEulerAngles(gp_Extrinsic_XYZ, x, y, z);
        constexpr double kDegrees = 57.29577951308232;

        file_.Open("Model").Add(id).AddName(node.name, "Model").Add(node.mesh < 0 ? "Null" : "Mesh");
        file_.Leaf("Version", 232).Open("Properties70");
        Triple("Lcl Translation", "Lcl Translation", shift.X(), shift.Y(), shift.Z());
        Triple("Lcl Rotation", "Lcl Rotation", x * kDegrees, y * kDegrees, z * kDegrees);
        file_.Close().Leaf("Culling", "CullingOff").Close();

        connections_.emplace_back(id, parent);
        if (node.mesh >= 0) {
            const MeshScene::Mesh& mesh = scene_.meshes[static_cast<std::size_t>(node.mesh)];
            connections_.emplace_back(kFirstMeshId + node.mesh, id);
            const bool coloured = mesh.patches.front().material >= 0;
            for (const auto& patch : mesh.patches) {
                if (coloured) connections_.emplace_back(kFirstMaterialId + patch.material, id);
            }
        }
        for (const auto& child : node.children) WriteNode(child, id);
    }

    const MeshScene& scene_;
    FbxFile file_;
    std::int64_t nodes_ = 0;
    std::vector<std::pair<std::int64_t, std::int64_t>> connections_;
};

}  // namespace

extern "C" Outcome WriteFbx(JobContext& context) {
    MeshScene scene = MakeMeshScene(context.document, context.settings.normalsFromSurface);
    FillMaterials(scene, false);
    FbxWriter writer(scene);
    return writer.Build().Write(context.file);
}

}  // namespace morvex
