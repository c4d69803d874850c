// glTF 2.0, as text with a binary file beside it, or all in one file.
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <gp_Quaternion.hxx>
#include <map>
#include <sstream>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/scene/mesh_scene.h"
#include "engine/modules/scene/output_file.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

static_assert(std::endian::native == std::endian::little,
              "the format's numbers are written as they lie in memory");

constexpr double kMetresPerMillimetre = 0.001;
constexpr int kFloat = 5126, kShort = 5123, kInteger = 5125;    // types of components
constexpr int kVertices = 34962, kIndices = 34963, kImage = 0;  // what a view of the buffer is for

std::string JsonText(const std::string& text) {
    std::string json = "\"";
    for (const char c : CleanUtf8(text)) {
        if (c == '"' || c == '\\') json += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            json += code;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::string UriText(const std::string& text) {
    std::string uri;
    for (const char c : text) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                           std::strchr("-._~", c) != nullptr;
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        uri += plain ? std::string(1, c) : code;
    }
    return uri;
}

// The shortest text that reads back as the same number.
std::string Exact(float number) {
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

// Ours is Z up, the format's Y up.
std::array<double, 3> YUp(double x, double y, double z) {
    return {x, z, -y};
}

// A list of JSON values, counted.
class JsonList {
  public:
    int Add(const std::string& value) {
        text_ += (count_ == 0 ? "\n" : ",\n") + value;
        return count_++;
    }
    // As a member of the top object; nothing when it is empty, which the format forbids.
    std::string Member(const char* name) const {
        return count_ == 0 ? "" : std::string(",\n\"") + name + "\":[" + text_ + "]";
    }

  private:
    std::string text_;
    int count_ = 0;
};

class GltfWriter {
  public:
    GltfWriter(const MeshScene& scene, Journal& journal) : scene_(scene), journal_(journal) {}

    // The text part; `bufferUri` is empty when the buffer comes with it in one file.
    std::string Build(const std::string& bufferUri) {
        for (const MeshScene::Material& material : scene_.materials) AddMaterial(material);
        for (const MeshScene::Mesh& mesh : scene_.meshes) AddMesh(mesh);
        std::string roots;
        for (const MeshScene::Node& root : scene_.roots) {
            roots += (roots.empty() ? "" : ",") + std::to_string(AddNode(root));
        }
        std::string text =
            R"({"asset":{"version":"2.0","generator":"Morvex"},"scene":0,"scenes":[{"nodes":[)" + roots +
            "]}]";
        text += nodes_.Member("nodes") + meshes_.Member("meshes") + materials_.Member("materials");
        text += textures_.Member("textures") + images_.Member("images");
        text += accessors_.Member("accessors") + views_.Member("bufferViews");
        text += ",\n\"buffers\":[{\"byteLength\":" + std::to_string(bytes_.size());
        if (!bufferUri.empty()) text += ",\"uri\":\"" + bufferUri + "\"";
        return text + "}]}";
    }
    std::string& Bytes() { return bytes_; }

  private:
    int AddNode(const MeshScene::Node& node) {
        std::string children;
        for (const MeshScene::Node& child : node.children) {
            children += (children.empty() ? "" : ",") + std::to_string(AddNode(child));
        }
        TextFile text(kDecimals);
        text << "{\"name\":" << JsonText(node.name);
        const gp_XYZ shift = node.transform.TranslationPart() * kMetresPerMillimetre;
        if (const auto at = YUp(shift.X(), shift.Y(), shift.Z()); shift.Modulus() > 0) {
            text << ",\"translation\":[" << at[0] << "," << at[1] << "," << at[2] << "]";
        }
        const gp_Quaternion turn = node.transform.GetRotation();
        if (!turn.IsEqual(gp_Quaternion())) {
            const auto axis = YUp(turn.X(), turn.Y(), turn.Z());
            text << ",\"rotation\":[" << axis[0] << "," << axis[1] << "," << axis[2] << "," << turn.W()
                 << "]";
        }
        if (node.mesh >= 0) text << ",\"mesh\":" << node.mesh;
        if (!children.empty()) text << ",\"children\":[" << children << "]";
        text << "}";
        return nodes_.Add(text.Text());
    }

    void AddMesh(const MeshScene::Mesh& mesh) {
        std::string primitives;
        for (const MeshScene::Patch& patch : mesh.patches) {
            primitives += std::string(primitives.empty() ? "" : ",") + "{\"attributes\":{\"POSITION\":" +
                          std::to_string(AddVectors(patch.points, kMetresPerMillimetre, true));
            if (!patch.normals.empty())
                primitives += ",\"NORMAL\":" + std::to_string(AddVectors(patch.normals, 1, false));
            if (!patch.textureCoordinates.empty())
                primitives += ",\"TEXCOORD_0\":" + std::to_string(AddTextureCoordinates(patch));
            primitives += "},\"indices\":" + std::to_string(AddCorners(patch));
            if (patch.material >= 0) primitives += ",\"material\":" + std::to_string(patch.material);
            primitives += "}";
        }
        meshes_.Add("{\"name\":" + JsonText(mesh.name) + ",\"primitives\":[" + primitives + "]}");
    }

    int AddVectors(const std::vector<MeshScene::Vector>& vectors, double factor, bool withBounds) {
        std::vector<std::array<float, 3>> values;
        values.reserve(vectors.size());
        std::array<float, 3> low{}, high{};
        for (const auto& [x, y, z] : vectors) {
            const auto turned = YUp(x * factor, y * factor, z * factor);
            auto& value = values.emplace_back();
            for (std::size_t axis = 0; axis < 3; ++axis) {
                value[axis] = static_cast<float>(turned[axis]);
                const bool first = values.size() == 1;
                low[axis] = first ? value[axis] : std::min(low[axis], value[axis]);
                high[axis] = first ? value[axis] : std::max(high[axis], value[axis]);
            }
        }
        std::string bounds;
        if (withBounds) {
            bounds = ",\"min\":[" + Exact(low[0]) + "," + Exact(low[1]) + "," + Exact(low[2]) +
                     "],\"max\":[" + Exact(high[0]) + "," + Exact(high[1]) + "," + Exact(high[2]) + "]";
        }
        return AddAccessor(values, kVertices, kFloat, "VEC3", bounds);
    }

    int AddTextureCoordinates(const MeshScene::Patch& patch) {
        auto values = patch.textureCoordinates;
        for (auto& value : values) value[1] = 1 - value[1];  // the format counts from the image's upper edge
        return AddAccessor(values, kVertices, kFloat, "VEC2", "");
    }

    int AddCorners(const MeshScene::Patch& patch) {
        if (patch.points.size() > 0xffff) return AddAccessor(patch.corners, kIndices, kInteger, "SCALAR", "");
        return AddAccessor(std::vector<std::uint16_t>(patch.corners.begin(), patch.corners.end()), kIndices,
                           kShort, "SCALAR", "");
    }

    template <class Value>
    int AddAccessor(const std::vector<Value>& values, int use, int component, const char* type,
                    const std::string& bounds) {
        const int view =
            AddView({reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value)}, use);
        return accessors_.Add(
            "{\"bufferView\":" + std::to_string(view) + ",\"componentType\":" + std::to_string(component) +
            ",\"count\":" + std::to_string(values.size()) + ",\"type\":\"" + type + "\"" + bounds + "}");
    }

    int AddView(std::string_view bytes, int use) {
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
        const std::size_t offset = bytes_.size();
        bytes_ += bytes;
        return views_.Add("{\"buffer\":0,\"byteOffset\":" + std::to_string(offset) +
                          ",\"byteLength\":" + std::to_string(bytes.size()) +
                          (use == kImage ? "" : ",\"target\":" + std::to_string(use)) + "}");
    }

    void AddMaterial(const MeshScene::Material& material) {
        const auto& rgb = material.colour.GetRGB();
        double metallic = 0, roughness = 0.6;
        Graphic3d_Vec3 glow(0, 0, 0);
        std::string textures, pbrTextures;
        if (!material.look.IsNull()) {
            const XCAFDoc_VisMaterialPBR pbr = material.look->ConvertToPbrMaterial();
            metallic = static_cast<double>(pbr.Metallic), roughness = static_cast<double>(pbr.Roughness);
            glow = pbr.EmissiveFactor;
            AddTexture("baseColorTexture", ImageOf(*material.look), pbrTextures);
            AddTexture("metallicRoughnessTexture", pbr.MetallicRoughnessTexture, pbrTextures);
            AddTexture("normalTexture", pbr.NormalTexture, textures);
            AddTexture("occlusionTexture", pbr.OcclusionTexture, textures);
            AddTexture("emissiveTexture", pbr.EmissiveTexture, textures);
        }
        TextFile text(kDecimals);
        text << "{\"name\":" << JsonText(material.name) << ",\"pbrMetallicRoughness\":{\"baseColorFactor\":["
             << rgb.Red() << "," << rgb.Green() << "," << rgb.Blue() << ","
             << static_cast<double>(material.colour.Alpha()) << "],\"metallicFactor\":" << metallic
             << ",\"roughnessFactor\":" << roughness << pbrTextures << "}" << textures;
        if (glow.Modulus() > 0) {
            text << ",\"emissiveFactor\":[" << static_cast<double>(glow.r()) << ","
                 << static_cast<double>(glow.g()) << "," << static_cast<double>(glow.b()) << "]";
        }
        if (material.colour.Alpha() < 1) text << ",\"alphaMode\":\"BLEND\"";
        text << ",\"doubleSided\":true}";
        materials_.Add(text.Text());
    }

    // Images lie in the buffer, so that no file is needed beside it.
    void AddTexture(const char* use, const Handle(Image_Texture) & image, std::string& members) {
        if (image.IsNull()) return;
        const auto [place, isNew] = imageNumbers_.try_emplace(image->TextureId().ToCString(), -1);
        if (isNew) place->second = AddImage(*image);
        if (place->second >= 0)
            members += std::string(",\"") + use + "\":{\"index\":" + std::to_string(place->second) + "}";
    }

    int AddImage(Image_Texture& image) {
        const std::string type = image.MimeType().ToCString();
        std::ostringstream bytes;
        if ((type != "image/png" && type != "image/jpeg") || !image.WriteImage(bytes, image.FilePath())) {
            journal_.Warn("An image that glTF cannot hold was left out");
            return -1;
        }
        const int view = AddView(bytes.str(), kImage);
        const int source =
            images_.Add("{\"bufferView\":" + std::to_string(view) + ",\"mimeType\":\"" + type + "\"}");
        return textures_.Add("{\"source\":" + std::to_string(source) + "}");
    }

    static constexpr int kDecimals = 10;
    const MeshScene& scene_;
    Journal& journal_;
    JsonList nodes_, meshes_, materials_, textures_, images_, accessors_, views_;
    std::map<std::string, int> imageNumbers_;  // -1: it cannot be written
    std::string bytes_;
};

bool WriteFile(const std::filesystem::path& path, std::initializer_list<std::string_view> pieces) {
    OutputFile file(path);
    for (const std::string_view piece : pieces) file.Write(piece);
    return file.Close();
}

// A head of three numbers, then two pieces, each after its length and kind.
Outcome WriteGlb(const std::filesystem::path& path, std::string text, std::string& bytes) {
    text.resize((text.size() + 3) / 4 * 4, ' ');
    bytes.resize((bytes.size() + 3) / 4 * 4);
    const std::size_t size = 12 + 8 + text.size() + 8 + bytes.size();
    if (size > 0xffffffffu) return Outcome::Fail(ZEL_FAILED, "The model is too large for one glTF file");
    const auto number = [](std::size_t value) {
        std::string word;
        AppendLittleEndian(word, value, 4);
        return word;
    };
    const std::string head = "glTF" + number(2) + number(size) + number(text.size()) + "JSON";
    const std::string middle = number(bytes.size()) + std::string("BIN\0", 4);
    return Written(WriteFile(path, {head, text, middle, bytes}));
}

}  // namespace

extern "C" Outcome WriteGltf(JobContext& context) {
    const MeshScene scene = MakeMeshScene(context.document, true);
    GltfWriter writer(scene, context.journal);
    if (context.request.to->id == FormatId::Glb)
        return WriteGlb(context.file, writer.Build(""), writer.Bytes());
    std::filesystem::path buffer = context.file;
    buffer.replace_extension(".bin");
    const std::string text = writer.Build(UriText(Utf8(buffer.filename())));
    return Written(WriteFile(buffer, {writer.Bytes()}) && WriteFile(context.file, {text}));
}

}  // namespace morvex
