#include "engine/modules/gltf_reader/gltf_materials.h"

#include <algorithm>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

double Unit(double value) {
    return std::clamp(value, 0.0, 1.0);
}

// Linear red, green, blue and alpha.
Quantity_ColorRGBA Colour(const std::vector<double>& factor) {
    return {Quantity_Color(Unit(factor[0]), Unit(factor[1]), Unit(factor[2]), Quantity_TOC_RGB),
            static_cast<float>(Unit(factor[3]))};
}

std::optional<std::uint64_t> SourceOf(const Json& texture) {
    auto image = Whole(texture, "source");
    const Json* const extensions = Member(texture, "extensions");
    for (const char* kind : {"EXT_texture_webp", "KHR_texture_basisu", "MSFT_texture_dds"}) {
        const Json* const other = extensions == nullptr ? nullptr : Member(*extensions, kind);
        if (!image && other != nullptr) image = Whole(*other, "source");
    }
    return image;
}

}  // namespace

Handle(XCAFDoc_VisMaterial) GltfMaterials::Of(const Json& primitive) {
    const auto number = Whole(primitive, "material");
    if (!number) return {};
    const auto [place, isNew] = materials_.try_emplace(*number);
    return isNew ? place->second = Make(file_.Element("materials", *number)) : place->second;
}

Handle(XCAFDoc_VisMaterial) GltfMaterials::Make(const Json& material) {
    XCAFDoc_VisMaterialPBR surface;
    std::vector<double> colour{1, 1, 1, 1}, glow{0, 0, 0};
    if (const Json* const metal = Member(material, "pbrMetallicRoughness")) {
        Numbers(*metal, "baseColorFactor", colour);
        surface.Metallic = static_cast<float>(Unit(Number(*metal, "metallicFactor", 1)));
        surface.Roughness = static_cast<float>(Unit(Number(*metal, "roughnessFactor", 1)));
        surface.BaseColorTexture = Texture(metal, "baseColorTexture");
        surface.MetallicRoughnessTexture = Texture(metal, "metallicRoughnessTexture");
    }
    const Json* const extensions = Member(material, "extensions");
    const Json* const glossy =
        extensions == nullptr ? nullptr : Member(*extensions, "KHR_materials_pbrSpecularGlossiness");
    if (glossy != nullptr) {
        Numbers(*glossy, "diffuseFactor", colour);
        surface.Metallic = 0;
        surface.Roughness = static_cast<float>(1 - Unit(Number(*glossy, "glossinessFactor", 1)));
        surface.BaseColorTexture = Texture(glossy, "diffuseTexture");
    }
    surface.NormalTexture = Texture(&material, "normalTexture");
    surface.OcclusionTexture = Texture(&material, "occlusionTexture");
    surface.EmissiveTexture = Texture(&material, "emissiveTexture");
    Numbers(material, "emissiveFactor", glow);
    surface.EmissiveFactor.SetValues(static_cast<float>(Unit(glow[0])), static_cast<float>(Unit(glow[1])),
                                     static_cast<float>(Unit(glow[2])));

    const std::string mode = Text(material, "alphaMode");
    const bool blended = mode == "BLEND", masked = mode == "MASK";
    if (!blended) colour[3] = 1;
    surface.BaseColor = Colour(colour);
    Handle(XCAFDoc_VisMaterial) made = new XCAFDoc_VisMaterial();
    made->SetPbrMaterial(surface);
    made->SetAlphaMode(blended  ? Graphic3d_AlphaMode_Blend
                       : masked ? Graphic3d_AlphaMode_Mask
                                : Graphic3d_AlphaMode_Opaque,
                       static_cast<float>(Unit(Number(material, "alphaCutoff", 0.5))));
    if (Flag(material, "doubleSided")) made->SetFaceCulling(Graphic3d_TypeOfBackfacingModel_DoubleSided);
    const std::string name = CleanUtf8(Text(material, "name"));
    if (!name.empty()) made->SetRawName(new TCollection_HAsciiString(name.c_str()));
    return made;
}

// What is wrong with a texture costs the texture only.
Handle(Image_Texture) GltfMaterials::Texture(const Json* owner, const char* key) {
    const Json* const use = Member(*owner, key);
    if (use == nullptr) return {};
    try {
        const Json& texture = file_.Element("textures", Whole(*use, "index").value_or(UINT64_MAX));
        const auto image = SourceOf(texture);
        if (!image) return {};
        const auto [place, isNew] = images_.try_emplace(*image);
        return isNew ? place->second = Image(*image) : place->second;
    } catch (const ReadError& error) {
        context_.journal.Warn(std::string("A texture was left out: ") + error.what());
        return {};
    }
}

Handle(Image_Texture) GltfMaterials::Image(std::uint64_t number) {
    const Json& image = file_.Element("images", number);
    const std::string uri = Text(image, "uri"), id = Utf8(context_.file) + "#image" + std::to_string(number);
    const std::optional<std::string> data = GltfFile::DataUri(uri);
    if (!uri.empty() && !data) return sideTextures_.Of(GltfFile::FileName(uri));
    Handle(Image_Texture) texture =
        TextureOf(data ? *data : file_.View(Whole(image, "bufferView").value_or(UINT64_MAX)), id);
    if (texture.IsNull()) context_.journal.Warn("A texture was left out: it is no image of a known kind");
    return texture;
}

}  // namespace morvex
