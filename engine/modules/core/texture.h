// Textures as bytes, so that no writer has to open a file that an input named.
#pragma once

#include <Image_Texture.hxx>
#include <string>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

// An encoded image (PNG, JPEG, BMP, GIF, TIFF, WebP, DDS, KTX2); null when the bytes are nothing of the kind.
Handle(Image_Texture) TextureOf(std::string_view bytes, const std::string& id);

// The image file that the input calls `reference`. Null, with a warning, when it is missing, no image, too
// large, or outside the input's folder.
Handle(Image_Texture) TextureBeside(JobContext& context, const std::string& reference);

}  // namespace morvex
