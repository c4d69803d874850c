// IFC, by way of assimp.
#include <optional>
#include <utility>

#include "engine/modules/assimp_reader/assimp_scene.h"
#include "engine/modules/assimp_reader/ifc_text.h"
#include "engine/modules/core/input_bytes.h"

namespace morvex {

namespace {

// In millimetres, of "IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.)"; nothing when the file is in other units.
std::optional<double> UnitOf(std::string_view file) {
    constexpr std::string_view kLength = ".LENGTHUNIT.", kUnit = "IFCSIUNIT";
    constexpr std::pair<std::string_view, double> kPrefixes[] = {
        {".MILLI.", 1}, {".CENTI.", 10}, {".DECI.", 100}, {"$", 1000}};
    if (file.find("IFCCONVERSIONBASEDUNIT") != file.npos) return std::nullopt;
    for (auto at = file.find(kUnit); at != file.npos; at = file.find(kUnit, at + kUnit.size())) {
        const std::string_view statement = file.substr(at, file.find(';', at) - at);
        if (statement.find(kLength) == file.npos) continue;
        for (const auto& [prefix, millimetres] : kPrefixes)
            if (statement.find(prefix) != file.npos) return millimetres;
    }
    return std::nullopt;
}

}  // namespace

extern "C" Outcome ReadIfc(JobContext& context) {
    const InputBytes bytes(context.file);
    if (const auto unit = UnitOf(bytes.View())) context.TellUnit(*unit);
    const IfcText ifc = PrepareIfc(bytes.View());
    // Assimp makes metres and Y up of it.
    constexpr double kMillimetres = 1000;
    const gp_GTrsf toOurs(gp_Mat(kMillimetres, 0, 0, 0, 0, -kMillimetres, 0, kMillimetres, 0), gp_XYZ());
    Outcome outcome =
        ReadByAssimp(context, AssimpSource{ifc.text, "ifc"}, [&](const aiScene&) { return toOurs; });
    for (const auto& [type, count] : ifc.lost)
        context.journal.Lose(std::to_string(count) + " " + type + ", which cannot be read");
    return outcome;
}

}  // namespace morvex
