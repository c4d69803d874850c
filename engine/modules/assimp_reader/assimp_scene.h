// What assimp reads, as a scene of ours.
#pragma once

#include <assimp/scene.h>
#include <functional>
#include <gp_GTrsf.hxx>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

struct AssimpSource {
    std::string_view bytes;
    const char* suffix;  // "fbx"
};

// Reads the bytes by assimp and adds them to the document; `toOurs` answers how the coordinates of the
// scene become millimetres, Z up, and throws ReadError when the scene is not all of the file. What assimp
// calls an error is damage, as it goes on without what it could not read; its warnings become ours.
Outcome ReadByAssimp(JobContext& context, const AssimpSource& source,
                     const std::function<gp_GTrsf(const aiScene& scene)>& toOurs);

}  // namespace morvex
