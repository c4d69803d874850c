// IFC, by way of assimp.
#include "engine/modules/assimp_reader/assimp_scene.h"
#include "engine/modules/assimp_reader/ifc_text.h"
#include "engine/modules/core/input_bytes.h"

namespace morvex {

extern "C" Outcome ReadIfc(JobContext& context) {
    const InputBytes bytes(context.file);
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
