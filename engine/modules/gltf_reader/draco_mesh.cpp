// KHR_draco_mesh_compression, by Google's library.
#include <draco/compression/decode.h>

#include "engine/modules/core/read_error.h"
#include "engine/modules/gltf_reader/gltf_mesh.h"

namespace morvex {
namespace {

// One value for each point of the mesh.
std::vector<float> Values(const draco::Mesh& mesh, const Json& attributes, const char* name,
                          unsigned components) {
    const auto id = Whole(attributes, name);
    if (!id) return {};
    const draco::PointAttribute* const attribute =
        mesh.GetAttributeByUniqueId(static_cast<std::uint32_t>(*id));
    if (attribute == nullptr || attribute->num_components() != static_cast<int>(components))
        throw ReadError("The compressed mesh lacks an attribute");
    std::vector<float> values(std::size_t{mesh.num_points()} * components);
    for (std::uint32_t point = 0; point < mesh.num_points(); ++point) {
        const auto index = attribute->mapped_index(draco::PointIndex(point));
        if (!attribute->ConvertValue<float>(index, static_cast<int8_t>(components),
                                            &values[std::size_t{point} * components]))
            throw ReadError("The compressed mesh is damaged");
    }
    return values;
}

}  // namespace

GltfVertices ReadDraco(GltfFile& file, const Json& extension) {
    const std::string_view bytes = file.View(Whole(extension, "bufferView").value_or(UINT64_MAX));
    draco::DecoderBuffer buffer;
    buffer.Init(bytes.data(), bytes.size());
    draco::Decoder decoder;
    auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
    const Json* const attributes = Member(extension, "attributes");
    if (!decoded.ok() || attributes == nullptr) throw ReadError("The compressed mesh is damaged");
    const std::unique_ptr<draco::Mesh> mesh = std::move(decoded).value();
    GltfVertices vertices;
    vertices.points = Values(*mesh, *attributes, "POSITION", 3);
    vertices.normals = Values(*mesh, *attributes, "NORMAL", 3);
    vertices.texture = Values(*mesh, *attributes, "TEXCOORD_0", 2);
    if (const auto id = Whole(*attributes, "COLOR_0")) {
        const auto* const colours = mesh->GetAttributeByUniqueId(static_cast<std::uint32_t>(*id));
        vertices.colourComponents = colours != nullptr && colours->num_components() == 3 ? 3 : 4;
        vertices.colours = Values(*mesh, *attributes, "COLOR_0", vertices.colourComponents);
    }
    for (std::uint32_t face = 0; face < mesh->num_faces(); ++face) {
        for (const draco::PointIndex& corner : mesh->face(draco::FaceIndex(face)))
            vertices.corners.push_back(corner.value());
    }
    return vertices;
}

}  // namespace morvex
