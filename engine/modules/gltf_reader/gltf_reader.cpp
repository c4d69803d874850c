// The nodes of a glTF file as a scene.
#include <Message_ProgressScope.hxx>
#include <algorithm>
#include <gp_Quaternion.hxx>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/keep_going.h"
#include "engine/modules/core/scene.h"
#include "engine/modules/gltf_reader/gltf_file.h"
#include "engine/modules/gltf_reader/gltf_materials.h"
#include "engine/modules/gltf_reader/gltf_mesh.h"

namespace morvex {
namespace {

// Extensions that a file may demand: read here, or of no matter to the geometry.
bool IsKnown(std::string_view extension) {
    constexpr std::string_view kKnown[] = {"KHR_mesh_quantization", "KHR_draco_mesh_compression",
                                           "KHR_texture_transform", "KHR_texture_basisu",
                                           "KHR_lights_punctual",   "EXT_texture_webp",
                                           "MSFT_texture_dds",      "EXT_mesh_gpu_instancing"};
    return extension.starts_with("KHR_materials_") || std::ranges::count(kKnown, extension) > 0;
}

gp_GTrsf Placement(const std::vector<double>& shift, const std::vector<double>& turn,
                   const std::vector<double>& scale) {
    gp_Quaternion rotation(turn[0], turn[1], turn[2], turn[3]);
    if (rotation.SquareNorm() > 0) rotation.Normalize();
    gp_Mat linear = rotation.GetMatrix();
    for (int column = 1; column <= 3; ++column)
        linear.SetCol(column, linear.Column(column) * scale[static_cast<std::size_t>(column) - 1]);
    return gp_GTrsf(linear, gp_XYZ(shift[0], shift[1], shift[2]));
}

gp_GTrsf PlaceOf(const Json& node) {
    std::vector<double> m(16), shift{0, 0, 0}, turn{0, 0, 0, 1}, scale{1, 1, 1};
    if (Numbers(node, "matrix", m)) {
        return gp_GTrsf(gp_Mat(m[0], m[4], m[8], m[1], m[5], m[9], m[2], m[6], m[10]),
                        gp_XYZ(m[12], m[13], m[14]));
    }
    Numbers(node, "translation", shift);
    Numbers(node, "rotation", turn);
    Numbers(node, "scale", scale);
    return Placement(shift, turn, scale);
}

class GltfReader {
  public:
    explicit GltfReader(JobContext& context)
        : context_(context), file_(context), meshes_(file_), materials_(context, file_) {}

    Scene Read() {
        CheckVersion();
        scene_.meshes.resize(file_.Count("meshes"));
        read_.resize(scene_.meshes.size());
        ReadNodes();
        for (const std::uint64_t root : Roots()) scene_.roots.push_back(Child(root));
        if (file_.Count("nodes") == 0) ShowAllMeshes();
        // Metres, Y up.
        constexpr double kMillimetres = 1000;
        context_.TellUnit(kMillimetres);
        scene_.toOurs =
            gp_GTrsf(gp_Mat(kMillimetres, 0, 0, 0, 0, -kMillimetres, 0, kMillimetres, 0), gp_XYZ());
        if (meshes_.LinesAndPoints() > 0) {
            context_.journal.Warn(std::to_string(meshes_.LinesAndPoints()) +
                                  " sets of lines or points were left out");
        }
        return std::move(scene_);
    }

  private:
    void CheckVersion() const {
        const Json* const asset = Member(file_.Root(), "asset");
        if (asset == nullptr) throw ReadError("The JSON of the file is not that of glTF");
        if (!Text(*asset, "version").starts_with("2"))
            throw ReadError("This version of glTF is not supported", ZEL_VERSION);
        const Json* const needed = Member(file_.Root(), "extensionsRequired");
        if (needed == nullptr || !needed->IsArray()) return;
        for (const Json& name : needed->GetArray()) {
            const std::string text = name.IsString() ? name.GetString() : "";
            if (!IsKnown(text))
                throw ReadError("The glTF extension " + text + " is not supported", ZEL_VERSION);
        }
    }

    void ReadNodes() {
        const std::size_t count = file_.Count("nodes");
        Message_ProgressScope progress(context_.progress, nullptr, static_cast<double>(count));
        scene_.nodes.resize(count);
        std::size_t skins = 0;
        for (std::size_t number = 0; number < count; ++number, progress.Next()) {
            const Json& node = file_.Element("nodes", number);
            skins += Member(node, "skin") != nullptr;
            // By number: instances add nodes.
            scene_.nodes[number].name = Text(node, "name");
            KeepGoing(context_, [&] {
                if (const auto mesh = Whole(node, "mesh")) {
                    ReadMesh(*mesh);
                    if (!ReadInstances(node, number, *mesh)) scene_.nodes[number].meshes = {*mesh};
                }
            });
            KeepGoing(context_, [&] {
                for (const std::uint64_t child : Wholes(node, "children"))
                    scene_.nodes[number].children.push_back(Child(child));
            });
        }
        if (skins > 0)
            context_.journal.Warn(std::to_string(skins) +
                                  " meshes with bones were read in their resting pose");
    }

    ScenePlacement Child(std::uint64_t number) const {
        return {number, PlaceOf(file_.Element("nodes", number)), {}};
    }

    // EXT_mesh_gpu_instancing: one mesh in many places.
    bool ReadInstances(const Json& node, std::size_t number, std::uint64_t mesh) {
        const Json* const extensions = Member(node, "extensions");
        const Json* const instancing =
            extensions == nullptr ? nullptr : Member(*extensions, "EXT_mesh_gpu_instancing");
        const Json* const attributes = instancing == nullptr ? nullptr : Member(*instancing, "attributes");
        if (attributes == nullptr) return false;
        std::size_t count = 0;
        const auto values = [&](const char* key, unsigned components) {
            const auto accessor = Whole(*attributes, key);
            if (!accessor) return std::vector<float>();
            count = file_.ElementCount(*accessor);
            return file_.Floats(*accessor, components);
        };
        const auto shifts = values("TRANSLATION", 3), turns = values("ROTATION", 4),
                   scales = values("SCALE", 3);
        const std::size_t holder = scene_.nodes.size();
        scene_.nodes.push_back({scene_.nodes[number].name, {mesh}, {}});
        for (std::size_t at = 0; at < count; ++at) {
            const auto pick = [at](const std::vector<float>& from, std::vector<double> value) {
                for (std::size_t k = 0; k < value.size() && (at + 1) * value.size() <= from.size(); ++k)
                    value[k] = static_cast<double>(from[at * value.size() + k]);
                return value;
            };
            scene_.nodes[number].children.push_back(
                {holder,
                 Placement(pick(shifts, {0, 0, 0}), pick(turns, {0, 0, 0, 1}), pick(scales, {1, 1, 1})),
                 {}});
        }
        return true;
    }

    void ReadMesh(std::uint64_t number) {
        const Json& mesh = file_.Element("meshes", number);
        if (read_[number]) return;
        read_[number] = true;
        scene_.meshes[number].name = Text(mesh, "name");
        const Json* const primitives = Member(mesh, "primitives");
        if (primitives == nullptr || !primitives->IsArray()) throw ReadError("A mesh has no primitives");
        for (const Json& primitive : primitives->GetArray()) {
            KeepGoing(context_, [&] {
                const Handle(XCAFDoc_VisMaterial) material = materials_.Of(primitive);
                for (SceneFace& face : meshes_.Faces(primitive)) {
                    Style(face, material);
                    scene_.meshes[number].faces.push_back(face);
                }
            });
        }
    }

    // The colour of the vertices is a factor to that of the material, and gives way to a texture.
    static void Style(SceneFace& face, const Handle(XCAFDoc_VisMaterial) & material) {
        if (!face.colour || (!material.IsNull() && !material->PbrMaterial().BaseColorTexture.IsNull())) {
            face.colour.reset();
            face.material = material;
        } else if (!material.IsNull()) {
            const Quantity_ColorRGBA base = material->BaseColor();
            const Quantity_Color &own = face.colour->GetRGB(), &factor = base.GetRGB();
            face.colour = Quantity_ColorRGBA(
                Quantity_Color(own.Red() * factor.Red(), own.Green() * factor.Green(),
                               own.Blue() * factor.Blue(), Quantity_TOC_RGB),
                material->AlphaMode() == Graphic3d_AlphaMode_Blend ? face.colour->Alpha() * base.Alpha()
                                                                   : 1.f);
        } else {
            face.colour->SetAlpha(1);
        }
    }

    // Without a scene: the nodes that no other holds.
    std::vector<std::uint64_t> Roots() const {
        if (file_.Count("scenes") > 0) {
            return Wholes(file_.Element("scenes", Whole(file_.Root(), "scene").value_or(0)), "nodes");
        }
        std::vector<bool> held(scene_.nodes.size());
        for (const SceneNode& node : scene_.nodes)
            for (const ScenePlacement& child : node.children) held[child.node] = true;
        std::vector<std::uint64_t> roots;
        for (std::size_t number = 0; number < held.size(); ++number)
            if (!held[number]) roots.push_back(number);
        return roots;
    }

    void ShowAllMeshes() {
        for (std::size_t number = 0; number < scene_.meshes.size(); ++number) {
            ReadMesh(number);
            scene_.roots.push_back({scene_.nodes.size(), gp_GTrsf(), {}});
            scene_.nodes.push_back({scene_.meshes[number].name, {number}, {}});
        }
    }

    JobContext& context_;
    GltfFile file_;
    GltfMeshes meshes_;
    GltfMaterials materials_;
    Scene scene_;
    std::vector<bool> read_;
};

}  // namespace

extern "C" Outcome ReadGltf(JobContext& context) {
    AddScene(context.document, GltfReader(context).Read(), Utf8(context.file.stem()));
    return Outcome::Ok();
}

}  // namespace morvex
