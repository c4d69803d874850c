#include "engine/modules/step/step_colours.h"

#include <algorithm>
#include <array>
#include <utility>

namespace morvex {
namespace {

std::optional<Quantity_Color> ColourIn(const StepInstance& instance) {
    const auto values = StepValues(instance.values);
    if (instance.Is("COLOUR_RGB") && values.size() == 4) {
        std::array<double, 3> channels{};
        for (std::size_t at = 0; at < channels.size(); ++at) {
            const auto numbers = StepNumbers(values[at + 1]);
            channels[at] = numbers.empty() ? 0 : std::clamp(numbers.front(), 0., 1.);
        }
        return Quantity_Color(channels[0], channels[1], channels[2], Quantity_TOC_sRGB);
    }
    if (!instance.Is("DRAUGHTING_PRE_DEFINED_COLOUR") || values.empty()) return std::nullopt;
    static constexpr std::pair<std::string_view, Quantity_NameOfColor> kNamed[] = {
        {"red", Quantity_NOC_RED},         {"green", Quantity_NOC_GREEN}, {"blue", Quantity_NOC_BLUE1},
        {"yellow", Quantity_NOC_YELLOW},   {"cyan", Quantity_NOC_CYAN1},  {"white", Quantity_NOC_WHITE},
        {"magenta", Quantity_NOC_MAGENTA1}};
    const std::string name = StepString(values[0]);
    const auto found =
        std::ranges::find(kNamed, name, &std::pair<std::string_view, Quantity_NameOfColor>::first);
    return Quantity_Color(found == std::end(kNamed) ? Quantity_NOC_BLACK : found->second);
}

// The first colour of a surface that hangs on the instance.
std::optional<Quantity_Color> ColourBelow(const StepScan& file, StepId id, int depth) {
    constexpr int kDeepest = 8;  // from the item's style down to the colour there are five
    const StepInstance* const instance = file.Find(id);
    if (instance == nullptr || depth > kDeepest || instance->Is("CURVE_STYLE")) return std::nullopt;
    if (const auto colour = ColourIn(*instance)) return colour;
    for (const StepId below : StepReferences(instance->values)) {
        if (const auto colour = ColourBelow(file, below, depth + 1)) return colour;
    }
    return std::nullopt;
}

}  // namespace

StepColours::StepColours(const StepScan& file) {
    for (const StepInstance& instance : file.Instances()) {
        if (!instance.Is("STYLED_ITEM") && !instance.Is("OVER_RIDING_STYLED_ITEM")) continue;
        const auto values = StepValues(instance.values);
        if (values.size() < 3) continue;
        for (const StepId style : StepReferences(values[1])) {
            if (const auto colour = ColourBelow(file, style, 0))
                colours_.try_emplace(StepReference(values[2]), *colour);
        }
    }
}

std::optional<Quantity_Color> StepColours::Of(StepId item) const {
    const auto colour = colours_.find(item);
    return colour == colours_.end() ? std::nullopt : std::optional(colour->second);
}

}  // namespace morvex
