// Collada, 3MF, AMF, X3D and 3DS, by way of assimp.
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "engine/common/text.h"
#include "engine/modules/assimp_reader/assimp_scene.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/core/zip_access.h"

namespace morvex {
namespace {

using std::string_view;

constexpr double kMillimetresPerMetre = 1000;

gp_GTrsf Scaled(double factor) {
    return {gp_Mat(factor, 0, 0, 0, factor, 0, 0, 0, factor), gp_XYZ()};
}
gp_GTrsf FromYUp(double factor) {
    return {gp_Mat(factor, 0, 0, 0, 0, -factor, 0, factor, 0), gp_XYZ()};
}

// The value of an attribute of the first element of that name, which begins with "<"; empty without one.
string_view AttributeOf(string_view xml, string_view element, string_view attribute) {
    const std::size_t start = xml.find(element);
    if (start == string_view::npos) return {};
    const string_view tag = xml.substr(start, xml.find('>', start) - start);
    for (std::size_t at = tag.find(attribute); at != string_view::npos; at = tag.find(attribute, at + 1)) {
        string_view rest = tag.substr(at + attribute.size());
        const auto skipBlanks = [&] {
            rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
        };
        skipBlanks();
        if (tag[at - 1] > ' ' || !rest.starts_with('=')) continue;
        rest.remove_prefix(1);
        skipBlanks();
        if (!rest.starts_with('"') && !rest.starts_with('\'')) continue;
        const char quote = rest[0];
        rest.remove_prefix(1);
        return rest.substr(0, rest.find(quote));
    }
    return {};
}

std::int64_t CountOf(string_view text, string_view what) {
    std::int64_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != string_view::npos; at += what.size()) ++count;
    return count;
}

// 3MF and AMF name their unit by a word.
double MillimetresOf(string_view unit) {
    constexpr std::pair<string_view, double> kUnits[] = {{"micron", 0.001}, {"centimeter", 10},
                                                         {"inch", 25.4},    {"foot", 304.8},
                                                         {"feet", 304.8},   {"meter", 1000}};
    for (const auto& [name, millimetres] : kUnits)
        if (unit == name) return millimetres;
    return 1;
}

// The unit of an X3D file, in metres.
double MetresOf(string_view xml) {
    for (std::size_t at = 0; (at = xml.find("<unit", at)) != string_view::npos; ++at) {
        const string_view rest = xml.substr(at);
        const auto factor = NumberIn(AttributeOf(rest, "<unit", "conversionFactor"));
        if (AttributeOf(rest, "<unit", "category") == "length" && factor && *factor > 0) return *factor;
    }
    return 1;
}

// Assimp passes over these nodes, and over the shapes in them, without a word.
void LoseWhatIsPassedOver(JobContext& context, string_view x3d) {
    for (const string_view node : {"<CAD", "<QuadSet", "<IndexedQuadSet", "<Nurbs", "<LOD", "<Collision",
                                   "<Billboard", "<Anchor", "<ProtoInstance", "<Geo", "<HAnim", "<Layer",
                                   "<ScreenGroup", "<PickableGroup", "<CollidableShape"}) {
        if (x3d.find(node) != string_view::npos)
            context.journal.Lose("what is in " + std::string(node.substr(1)) + " nodes");
    }
}

// Each triangle of the file must have become one of the scene.
void Account(const JobContext& context, const aiScene& scene, std::int64_t announced) {
    std::int64_t found = 0;
    for (unsigned at = 0; at < scene.mNumMeshes; ++at) found += scene.mMeshes[at]->mNumFaces;
    context.journal.Account("triangles", announced, std::max<std::int64_t>(announced - found, 0));
}

}  // namespace

// Assimp makes metres and Y up of it, whatever the file says.
extern "C" Outcome ReadCollada(JobContext& context) {
    const InputBytes bytes(context.file);
    const DecodedText text(bytes.View());
    const auto metres = NumberIn(AttributeOf(text.View(), "<unit", "meter"));
    context.TellUnit(metres && *metres > 0 ? *metres * kMillimetresPerMetre : kMillimetresPerMetre);
    return ReadByAssimp(context, {text.View(), "dae"},
                        [](const aiScene&) { return FromYUp(kMillimetresPerMetre); });
}

extern "C" Outcome Read3mf(JobContext& context) {
    const InputBytes bytes(context.file);
    const std::string packed = ZipMember(context.file, k3mfModel);
    if (packed.empty()) return Damaged(std::string("The package has no ") + k3mfModel);
    const DecodedText text(packed);
    const string_view model = text.View();
    if (model.find(":path=\"") != string_view::npos) {
        return Outcome::Fail(ZEL_VERSION, "3MF with parts in other files of the package is not supported");
    }
    const double unit = MillimetresOf(AttributeOf(model, "<model", "unit"));
    context.TellUnit(unit);
    return ReadByAssimp(context, {bytes.View(), "3mf"}, [&](const aiScene& scene) {
        Account(context, scene, CountOf(model, "<triangle "));
        if (model.find("\" p1=\"") != string_view::npos)
            context.journal.Warn("Triangles with colours of their own have that of their object");
        return Scaled(unit);
    });
}

extern "C" Outcome ReadAmf(JobContext& context) {
    const InputBytes bytes(context.file);
    const DecodedText text(bytes.View());
    const double unit = MillimetresOf(AttributeOf(text.View(), "<amf", "unit"));
    context.TellUnit(unit);
    return ReadByAssimp(context, {bytes.View(), "amf"}, [&](const aiScene& scene) {
        Account(context, scene, CountOf(text.View(), "<triangle>"));
        return Scaled(unit);
    });
}

extern "C" Outcome ReadX3d(JobContext& context) {
    const InputBytes bytes(context.file);
    const DecodedText text(bytes.View());
    const double unit = MetresOf(text.View()) * kMillimetresPerMetre;
    context.TellUnit(unit);
    LoseWhatIsPassedOver(context, text.View());
    return ReadByAssimp(context, {bytes.View(), "x3d"}, [&](const aiScene&) { return FromYUp(unit); });
}

// Files have no unit and Z up; assimp turns them so that Y is.
extern "C" Outcome Read3ds(JobContext& context) {
    const InputBytes bytes(context.file);
    return ReadByAssimp(context, {bytes.View(), "3ds"}, [](const aiScene&) { return FromYUp(1); });
}

}  // namespace morvex
