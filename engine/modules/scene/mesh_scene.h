// The model as the writers of mesh formats want it: materials, meshes, and a tree of nodes.
#pragma once

#include <Quantity_ColorRGBA.hxx>
#include <array>
#include <cstdint>
#include <gp_Trsf.hxx>
#include <string>
#include <vector>

#include "engine/modules/core/document.h"

namespace morvex {

struct MeshScene {
    using Vector = std::array<double, 3>;

    // Triangles of one material. Corners are indices into the points, three a triangle, counter-clockwise
    // from outside. Normals are as many as points, or none.
    struct Patch {
        int material = -1;  // -1: no colour of its own
        std::vector<Vector> points, normals;
        std::vector<std::uint32_t> corners;
    };
    struct Mesh {
        std::string name;
        std::vector<Patch> patches;  // never empty ones
    };
    struct Node {
        std::string name;
        gp_Trsf transform;  // relative to the parent, in millimetres
        int mesh = -1;      // -1: a node of the tree only
        std::vector<Node> children;
    };

    std::vector<Quantity_ColorRGBA> materials;  // linear values, as the document has them
    int MaterialCount() const { return static_cast<int>(materials.size()); }
    std::vector<Mesh> meshes;
    std::vector<Node> roots;
};

// A part is one mesh for all its instances of one colour. Normals come from the surfaces (or from the input's
// mesh) when `normals` is set. Names are valid UTF-8 and never empty.
MeshScene MakeMeshScene(const Document& document, bool normals);

// The transform as three rows of four.
std::array<double, 12> RowsOf(const gp_Trsf& transform);

// Red, green, blue and opacity of a material as formats without colour management store them, 0 to 1. -1, no
// colour of its own, is an opaque grey.
std::array<double, 4> SrgbOf(const MeshScene& scene, int material);

}  // namespace morvex
