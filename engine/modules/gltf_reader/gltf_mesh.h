// The meshes of a glTF file as triangles.
#pragma once

#include <Poly_Triangulation.hxx>
#include <map>
#include <optional>

#include "engine/modules/core/scene.h"
#include "engine/modules/gltf_reader/gltf_file.h"

namespace morvex {

// The arrays of a primitive, wherever they came from. Colours are linear, with alpha.
struct GltfVertices {
    std::vector<float> points, normals, texture, colours;
    unsigned colourComponents = 4;
    std::vector<std::uint32_t> corners;  // of the triangles, strip or fan; three each once it is unrolled
};

// The mesh of KHR_draco_mesh_compression; its corners are whole triangles. Throws ReadError.
GltfVertices ReadDraco(GltfFile& file, const Json& extension);

class GltfMeshes {
  public:
    explicit GltfMeshes(GltfFile& file) : file_(file) {}

    // The faces of a primitive, which share its material; none for points and lines. A primitive that names
    // the same arrays as one before shares its triangles. More than one face where the vertices have colours.
    std::vector<SceneFace> Faces(const Json& primitive);

    std::size_t LinesAndPoints() const { return flat_; }

  private:
    GltfVertices ReadVertices(const Json& primitive);

    GltfFile& file_;
    std::map<std::string, std::vector<SceneFace>> known_;
    std::size_t flat_ = 0;
};

}  // namespace morvex
