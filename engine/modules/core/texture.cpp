#include "engine/modules/core/texture.h"

#include <NCollection_Buffer.hxx>
#include <algorithm>
#include <cstring>

#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

constexpr std::uint64_t kLargestImage = 64u << 20;

bool IsImage(std::string_view bytes) {
    using namespace std::string_view_literals;
    constexpr std::string_view kBeginnings[] = {
        "\x89PNG\r\n\x1a\n"sv, "\xff\xd8\xff"sv, "BM"sv, "GIF8"sv, "II*\0"sv, "MM\0*"sv, "DDS "sv,
        "\xabKTX 20\xbb"sv};
    constexpr std::size_t kLeast = 32;
    if (bytes.size() < kLeast) return false;
    const bool webp = bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP";
    return webp || std::ranges::any_of(kBeginnings, [&](auto text) { return bytes.starts_with(text); });
}

}  // namespace

Handle(Image_Texture) TextureOf(std::string_view bytes, const std::string& id) {
    if (!IsImage(bytes) || bytes.size() > kLargestImage) return {};
    const Handle(NCollection_Buffer) buffer =
        new NCollection_Buffer(NCollection_BaseAllocator::CommonBaseAllocator(), bytes.size());
    std::memcpy(buffer->ChangeData(), bytes.data(), bytes.size());
    return new Image_Texture(buffer, id.c_str());
}

Handle(Image_Texture) SideTextures::Of(const std::string& reference) {
    const auto [place, isNew] = known_.try_emplace(reference);
    if (!isNew) return place->second;
    try {
        const InputBytes bytes(FindSideFile(context_, reference, kLargestImage));
        place->second = TextureOf(bytes.View(), reference);
        if (place->second.IsNull())
            throw ReadError("\"" + reference + "\", which the file refers to, is no image");
    } catch (const ReadError& error) {
        context_.journal.Warn(std::string("A texture was left out: ") + error.what());
    }
    return place->second;
}

}  // namespace morvex
