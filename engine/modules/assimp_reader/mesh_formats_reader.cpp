// Collada, AMF and 3DS, by way of assimp.
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "engine/common/text.h"
#include "engine/modules/assimp_reader/assimp_scene.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/text_lines.h"

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

// AMF names its unit by a word.
double MillimetresOf(string_view unit) {
    constexpr std::pair<string_view, double> kUnits[] = {{"micron", 0.001}, {"centimeter", 10},
                                                         {"inch", 25.4},    {"foot", 304.8},
                                                         {"feet", 304.8},   {"meter", 1000}};
    for (const auto& [name, millimetres] : kUnits)
        if (unit == name) return millimetres;
    return 1;
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

// Files have no unit and Z up; assimp turns them so that Y is.
extern "C" Outcome Read3ds(JobContext& context) {
    const InputBytes bytes(context.file);
    return ReadByAssimp(context, {bytes.View(), "3ds"}, [](const aiScene&) { return FromYUp(1); });
}

}  // namespace morvex
