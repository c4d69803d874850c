// FBX, by way of assimp.
#include <cmath>

#include "engine/modules/assimp_reader/assimp_scene.h"
#include "engine/modules/core/input_bytes.h"

namespace morvex {
namespace {

double Number(const aiMetadata& data, const char* key, double otherwise) {
    double asDouble = 0;
    float asFloat = 0;
    int32_t asInteger = 0;
    if (data.Get(key, asDouble)) return asDouble;
    if (data.Get(key, asFloat)) return static_cast<double>(asFloat);
    if (data.Get(key, asInteger)) return asInteger;
    return otherwise;
}

gp_Mat YUpToZUp() {
    return {1, 0, 0, 0, 0, -1, 0, 1, 0};
}

// The axes that the file names as rows; Y up where it names them badly.
gp_Mat AxesOf(const aiMetadata& data) {
    const struct {
        const char *axis, *sign;
        int usual;
        double direction;
    } rows[] = {{"CoordAxis", "CoordAxisSign", 0, 1},
                {"FrontAxis", "FrontAxisSign", 2, -1},
                {"UpAxis", "UpAxisSign", 1, 1}};
    gp_Mat axes(0, 0, 0, 0, 0, 0, 0, 0, 0);
    for (int row = 1; row <= 3; ++row) {
        const auto& [axis, sign, usual, direction] = rows[row - 1];
        const double column = Number(data, axis, usual);
        if (!(column >= 0 && column <= 2)) return YUpToZUp();
        axes.SetValue(row, static_cast<int>(column) + 1, direction * Number(data, sign, 1));
    }
    return std::abs(axes.Determinant()) < 0.5 ? YUpToZUp() : axes;
}

// An FBX file says which axes are which, and how many centimetres its unit is; assimp only passes that on.
gp_GTrsf ToOurs(const JobContext& context, const aiScene& scene) {
    constexpr double kMillimetresPerCentimetre = 10;
    gp_Mat axes = YUpToZUp();
    double unit = 1;
    if (scene.mMetaData != nullptr) {
        axes = AxesOf(*scene.mMetaData);
        unit = Number(*scene.mMetaData, "UnitScaleFactor", 1);
    }
    if (!(unit > 0 && std::isfinite(unit))) unit = 1;
    context.TellUnit(unit * kMillimetresPerCentimetre);
    axes.Multiply(unit * kMillimetresPerCentimetre);
    return {axes, gp_XYZ()};
}

// How many meshes the file has, each an object "Geometry" of the kind "Mesh", as text or in the binary form.
// Files from before version 7 keep them elsewhere and have none.
std::size_t AnnouncedMeshes(std::string_view file) {
    using namespace std::string_view_literals;
    const bool binary = file.starts_with("Kaydara FBX Binary");
    const std::string_view object = binary ? "\x08Geometry"sv : "Geometry: "sv,
                           kind = binary ? "\x04\0\0\0Mesh"sv : "\"Mesh\""sv;
    constexpr std::size_t kHead = 300;  // in which the kind comes after the name
    std::size_t count = 0;
    for (auto at = file.find(object); at != file.npos; at = file.find(object, at + object.size())) {
        const std::string_view rest = file.substr(at + object.size(), kHead);
        count += (binary ? rest : rest.substr(0, rest.find('\n'))).find(kind) != rest.npos;
    }
    return count;
}

}  // namespace

extern "C" Outcome ReadFbx(JobContext& context) {
    const InputBytes bytes(context.file);
    const std::size_t announced = AnnouncedMeshes(bytes.View());
    return ReadByAssimp(context, {bytes.View(), "fbx"}, [&](const aiScene& scene) {
        context.journal.Account("meshes", static_cast<std::int64_t>(announced),
                                static_cast<std::int64_t>(announced) - scene.mNumMeshes);
        return ToOurs(context, scene);
    });
}

}  // namespace morvex
