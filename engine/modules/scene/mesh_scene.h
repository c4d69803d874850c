// The model as the writers of mesh formats want it: materials, meshes, and a tree of nodes.
#pragma once

#include <Quantity_ColorRGBA.hxx>
#include <XCAFDoc_VisMaterial.hxx>
#include <array>
#include <cstdint>
#include <gp_Trsf.hxx>
#include <string>
#include <vector>

#include "engine/modules/core/document.h"

namespace morvex {

struct MeshScene {
    using Vector = std::array<double, 3>;

    struct Material {
        std::string name;
        Quantity_ColorRGBA colour;         // linear values, as the document has them
        Handle(XCAFDoc_VisMaterial) look;  // null: nothing more than the colour
    };
    // Triangles of one material. Corners are indices into the points, three a triangle, counter-clockwise
    // from outside. Normals and texture coordinates are as many as points, or none.
    struct Patch {
        int material = -1;  // -1: no colour of its own
        std::vector<Vector> points, normals;
        std::vector<std::array<float, 2>> textureCoordinates;  // only with a material that has an image
        std::vector<std::uint32_t> corners;
    };
    struct Mesh {
        std::string name;
        std::vector<Patch> patches;  // never empty ones
    };
    struct Node {
        std::string name;
        gp_Trsf transform;  // a rigid motion relative to the parent, in millimetres
        int mesh = -1;      // -1: a node of the tree only
        std::vector<Node> children;
    };

    std::vector<Material> materials;
    int MaterialCount() const { return static_cast<int>(materials.size()); }
    std::vector<Mesh> meshes;
    std::vector<Node> roots;
};

// A part is one mesh for all its instances of one colour. Normals come from the surfaces (or from the input's
// mesh) when `normals` is set. Names are valid UTF-8 and never empty.
MeshScene MakeMeshScene(const Document& document, bool normals);

// For formats in which a triangle without a material takes that of its neighbours: gives patches that have
// none a plain grey one, in meshes where others have one (or, with `everywhere`, if any patch has one).
void FillMaterials(MeshScene& scene, bool everywhere);

// The image that a material lays over its surface; null when it has none.
Handle(Image_Texture) ImageOf(const XCAFDoc_VisMaterial& look);

// The transform as three rows of four.
std::array<double, 12> RowsOf(const gp_Trsf& transform);

// Red, green, blue and opacity of a material as formats without colour management store them, 0 to 1. -1, no
// colour of its own, is an opaque grey.
std::array<double, 4> SrgbOf(const MeshScene& scene, int material);

}  // namespace morvex
