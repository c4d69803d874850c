// The materials of a glTF file, with their textures.
#pragma once

#include <XCAFDoc_VisMaterial.hxx>
#include <map>

#include "engine/modules/core/context.h"
#include "engine/modules/core/texture.h"
#include "engine/modules/gltf_reader/gltf_file.h"

namespace morvex {

class GltfMaterials {
  public:
    GltfMaterials(JobContext& context, GltfFile& file)
        : context_(context), file_(file), sideTextures_(context) {}

    // Null when the primitive has none. Textures that cannot be had are left out with a warning.
    Handle(XCAFDoc_VisMaterial) Of(const Json& primitive);

  private:
    Handle(XCAFDoc_VisMaterial) Make(const Json& material);
    Handle(Image_Texture) Texture(const Json* owner, const char* key);
    Handle(Image_Texture) Image(std::uint64_t number);

    JobContext& context_;
    GltfFile& file_;
    std::map<std::uint64_t, Handle(XCAFDoc_VisMaterial)> materials_;
    std::map<std::uint64_t, Handle(Image_Texture)> images_;
    SideTextures sideTextures_;
};

}  // namespace morvex
