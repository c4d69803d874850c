#include "engine/modules/obj_reader/obj_materials.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "engine/common/text.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/core/texture.h"

namespace morvex {
namespace {

constexpr std::uint64_t kLargestFile = 64u << 20;

double Unit(double value) {
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0;
}

Quantity_Color ColourIn(std::string_view line, const Quantity_Color& otherwise) {
    std::array<double, 3> values;
    for (double& value : values) {
        const auto number = NumberIn(TakeWord(line));
        if (!number) return otherwise;
        value = Unit(*number);
    }
    return {values[0], values[1], values[2], Quantity_TOC_sRGB};
}

// A texture statement has options before the name: "-s 1 1 1 -clamp on name with blanks.png".
std::string FileIn(std::string_view line) {
    line = Trimmed(line);
    while (line.starts_with('-')) {
        std::string_view rest = line;
        const std::string_view option = TakeWord(rest);
        const bool numbers = option == "-o" || option == "-s" || option == "-t" || option == "-mm";
        if (!numbers) TakeWord(rest);
        for (std::string_view after = rest; numbers && NumberIn(TakeWord(after)); rest = after) {
        }
        line = Trimmed(rest);
    }
    std::string name(line);
    std::ranges::replace(name, '\\', '/');
    return name;
}

class MaterialFile {
  public:
    MaterialFile(JobContext& context, ObjMaterials& materials) : textures_(context), materials_(materials) {}

    void Read(std::string_view text) {
        while (const auto line = TakeLine(text)) {
            std::string_view rest = *line;
            const std::string keyword = LowerAscii(TakeWord(rest));
            if (keyword == "newmtl") {
                Finish();
                name_ = Trimmed(rest);
                open_ = true;
            } else if (open_) {
                Take(keyword, rest);
            }
        }
        Finish();
    }

  private:
    void Take(std::string_view keyword, std::string_view rest) {
        std::string_view words = rest;
        const double number = Unit(NumberIn(TakeWord(words)).value_or(0));
        if (keyword == "kd")
            surface_.DiffuseColor = ColourIn(rest, surface_.DiffuseColor);
        else if (keyword == "ka")
            surface_.AmbientColor = ColourIn(rest, surface_.AmbientColor);
        else if (keyword == "ks")
            surface_.SpecularColor = ColourIn(rest, surface_.SpecularColor);
        else if (keyword == "ke")
            surface_.EmissiveColor = ColourIn(rest, surface_.EmissiveColor);
        else if (keyword == "d")
            surface_.Transparency = static_cast<float>(1 - number);
        else if (keyword == "tr")
            surface_.Transparency = static_cast<float>(number);
        else if (keyword == "ns")
            surface_.Shininess = Shininess(rest);
        else if (keyword == "map_kd")
            surface_.DiffuseTexture = textures_.Of(FileIn(rest));
    }

    // From the exponent of the highlight, 0 to 1000.
    static float Shininess(std::string_view rest) {
        return static_cast<float>(Unit(NumberIn(TakeWord(rest)).value_or(0) / 1000));
    }

    void Finish() {
        if (!open_) return;
        const Handle(XCAFDoc_VisMaterial) material = new XCAFDoc_VisMaterial();
        material->SetCommonMaterial(surface_);
        material->SetRawName(new TCollection_HAsciiString(CleanUtf8(name_).c_str()));
        materials_[name_] = material;
        surface_ = {};
        open_ = false;
    }

    SideTextures textures_;
    ObjMaterials& materials_;
    XCAFDoc_VisMaterialCommon surface_;
    std::string name_;
    bool open_ = false;
};

}  // namespace

void ReadObjMaterials(JobContext& context, const std::string& reference, ObjMaterials& materials) {
    std::string name = reference;
    std::ranges::replace(name, '\\', '/');
    try {
        const InputBytes bytes(FindSideFile(context, name, kLargestFile));
        MaterialFile(context, materials).Read(DecodedText(bytes.View()).View());
    } catch (const ReadError& error) {
        context.journal.Warn(std::string("Materials were left out: ") + error.what());
    }
}

}  // namespace morvex
