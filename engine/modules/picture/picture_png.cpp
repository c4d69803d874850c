// The picture as a PNG, sent to the report.
#include <png.h>

#include "engine/common/base64.h"
#include "engine/modules/core/context.h"
#include "engine/modules/picture/picture.h"

namespace morvex {
namespace {

// Empty when it fails.
std::string Png(const std::vector<std::uint8_t>& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kPictureWidth;
    image.height = kPictureHeight;
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(size, '\0');
    const bool done =
        png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr) != 0;
    bytes.resize(done ? size : 0);
    return bytes;
}

}  // namespace

// Every face that is to be seen has triangles.
extern "C" Outcome DrawPicture(JobContext& context) {
    constexpr std::int64_t kMostTriangles = 20'000'000;
    if (context.document.Count().triangles > kMostTriangles)
        return Outcome::Fail(ZEL_FAILED, "There are too many triangles for a picture");
    const std::string png = Png(DrawScene(MakeMeshScene(context.document, false)));
    if (png.empty()) return Outcome::Fail(ZEL_FAILED, "The picture could not be made");
    context.journal.Picture(Base64(png));
    return Outcome::Ok();
}

}  // namespace morvex
