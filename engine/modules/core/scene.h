// What the readers of mesh formats make of a file: meshes, and a tree of nodes that place them.
#pragma once

#include <Poly_Triangulation.hxx>
#include <Quantity_ColorRGBA.hxx>
#include <XCAFDoc_VisMaterial.hxx>
#include <gp_GTrsf.hxx>
#include <optional>
#include <string>
#include <vector>

#include "engine/modules/core/document.h"

namespace morvex {

struct SceneFace {
    Handle(Poly_Triangulation) triangles;  // in millimetres, Z up
    std::optional<Quantity_ColorRGBA> colour;
    Handle(XCAFDoc_VisMaterial) material;  // null, or what there is to the surface besides the colour
};

struct SceneMesh {
    std::string name;
    std::vector<SceneFace> faces;
};

struct ScenePlacement {
    std::size_t node = 0;
    gp_GTrsf place;    // any affine map
    std::string name;  // of the instance; that of the node when it is empty
};

struct SceneNode {
    std::string name;
    std::vector<std::size_t> meshes;
    std::vector<ScenePlacement> children;
};

// Nodes may be placed more than once. Numbers are indices into the vectors.
struct Scene {
    std::vector<SceneMesh> meshes;
    std::vector<SceneNode> nodes;
    std::vector<ScenePlacement> roots;
    gp_GTrsf toOurs;  // turns the coordinates of the places into millimetres, Z up
};

// Adds the scene to the document, under one root of that name where it has several. A scale, shear or
// mirroring, which no location may hold, goes into copies of the meshes. Throws ReadError when a node holds
// itself, when the tree is too deep, or when it multiplies beyond what can be handled.
void AddScene(Document& document, const Scene& scene, const std::string& name);

}  // namespace morvex
