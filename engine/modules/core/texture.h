// Textures as bytes, so that no writer has to open a file that an input named.
#pragma once

#include <Image_Texture.hxx>
#include <map>
#include <string>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

// An encoded image (PNG, JPEG, BMP, GIF, TIFF, WebP, DDS, KTX2); null when the bytes are nothing of the kind.
Handle(Image_Texture) TextureOf(std::string_view bytes, const std::string& id);

// The image files that an input refers to, each read once.
class SideTextures {
  public:
    explicit SideTextures(JobContext& context) : context_(context) {}

    // The file that the input calls `reference`. Null, with one warning, when it is missing, no image, too
    // large, or outside the input's folder.
    Handle(Image_Texture) Of(const std::string& reference);

  private:
    JobContext& context_;
    std::map<std::string, Handle(Image_Texture)> known_;
};

}  // namespace morvex
