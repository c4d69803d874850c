// The model as the writers of mesh formats want it: materials, meshes, and a tree of nodes.
#pragma once

#include <Quantity_ColorRGBA.hxx>
#include <array>
#include <cstdint>
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
        std::array<double, 12> matrix;  // three rows of four; millimetres, relative to the parent
        int mesh = -1;                  // -1: a node of the tree only
        std::vector<Node> children;
    };

    std::vector<Quantity_ColorRGBA> materials;  // linear values, as the document has them
    std::vector<Mesh> meshes;
    std::vector<Node> roots;
};

// A part is one mesh for all its instances of one colour. Normals come from the surfaces (or from the input's
// mesh) when `normals` is set. Names are valid UTF-8 and never empty.
MeshScene MakeMeshScene(const Document& document, bool normals);

// Colour values as formats without colour management store them, 0 to 1.
std::array<double, 4> SrgbOf(const Quantity_ColorRGBA& colour);

}  // namespace morvex
