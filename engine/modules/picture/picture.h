// A picture of the model, seen from the front, the right and above.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/modules/scene/mesh_scene.h"

namespace morvex {

constexpr int kPictureWidth = 320, kPictureHeight = 240;

// The whole model in the middle of the picture: rows from the top, three bytes a pixel. All white when the
// scene has no triangles.
std::vector<std::uint8_t> DrawScene(const MeshScene& scene);

}  // namespace morvex
