#include "engine/modules/step/step_products.h"

#include <algorithm>
#include <gp_Ax3.hxx>
#include <utility>

#include "engine/modules/step/step_units.h"

namespace morvex {
namespace {

constexpr int kDeepest = 100;
constexpr std::size_t kMostPlaces = 100'000;

}  // namespace

StepProducts::StepProducts(const StepScan& file) : file_(file) {
    for (const StepInstance& instance : file.Instances()) {
        if (instance.Is("SHAPE_DEFINITION_REPRESENTATION")) TakeOwner(instance);
    }
    // Two representations that are related, but not by a place, show the same.
    for (const StepInstance& instance : file.Instances()) {
        const bool related = instance.type == "SHAPE_REPRESENTATION_RELATIONSHIP" ||
                             instance.type == "REPRESENTATION_RELATIONSHIP";
        const auto values = related ? StepValues(instance.values) : std::vector<std::string_view>();
        if (values.size() < 4) continue;
        const StepId one = StepReference(values[2]), other = StepReference(values[3]);
        if (const StepId owner = OwnerOf(one)) owners_.try_emplace(other, owner);
        if (const StepId owner = OwnerOf(other)) owners_.try_emplace(one, owner);
    }
    for (const StepInstance& instance : file.Instances()) {
        if (instance.Is("CONTEXT_DEPENDENT_SHAPE_REPRESENTATION")) TakePlacement(instance);
    }
}

void StepProducts::TakeOwner(const StepInstance& definitionRepresentation) {
    const auto values = StepValues(definitionRepresentation.values);
    const StepInstance* const shape = values.size() == 2 ? Referred(values[0]) : nullptr;
    if (shape == nullptr) return;
    const auto references = StepReferences(shape->values);
    if (!references.empty()) owners_.try_emplace(StepReference(values[1]), references.back());
}

void StepProducts::TakePlacement(const StepInstance& placement) {
    const auto values = StepValues(placement.values);
    const StepInstance* const relation = values.size() == 2 ? Referred(values[0]) : nullptr;
    const StepInstance* const shape = values.size() == 2 ? Referred(values[1]) : nullptr;
    if (relation == nullptr || shape == nullptr) return;
    const auto uses = StepReferences(shape->values);
    const StepInstance* const use = uses.empty() ? nullptr : file_.Find(uses.back());
    const auto parts = StepReferences(use == nullptr ? std::string_view() : use->values);
    const auto ends = StepReferences(relation->ValuesOf("REPRESENTATION_RELATIONSHIP"));
    const auto maps = StepReferences(relation->ValuesOf("REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION"));
    const StepInstance* const map = maps.empty() ? nullptr : file_.Find(maps.front());
    const auto axes = StepReferences(map == nullptr ? std::string_view() : map->values);
    if (parts.size() < 2 || ends.size() < 2 || axes.size() < 2) return;
    const bool reversed = OwnerOf(ends[0]) == parts[0];
    const auto unit = [this](StepId representation) {
        const StepInstance* const found = file_.Find(representation);
        return found == nullptr ? 1.0 : StepUnitOf(file_, *found);
    };
    gp_Trsf place = Frame(axes[1], unit(ends[1])) * Frame(axes[0], unit(ends[0])).Inverted();
    if (reversed) place.Invert();
    uses_.emplace(parts[1], Use{parts[0], place});
}

StepId StepProducts::OwnerOf(StepId representation) const {
    const auto owner = owners_.find(representation);
    return owner == owners_.end() ? 0 : owner->second;
}

std::string StepProducts::NameOf(StepId definition) const {
    for (int step = 0; step < 3; ++step) {
        const StepInstance* const instance = file_.Find(definition);
        if (instance == nullptr) break;
        const auto values = StepValues(instance->values);
        if (instance->Is("PRODUCT") && values.size() > 1)
            return StepString(values[values[1].size() > 2 ? 1 : 0]);
        if (values.size() < 3) break;
        definition = StepReference(values[2]);
    }
    return {};
}

StepProducts::PlaceList StepProducts::PlacesOf(StepId definition) const {
    PlaceList list;
    AddPlaces(definition, gp_Trsf(), list, 0);
    return list;
}

void StepProducts::AddPlaces(StepId definition, const gp_Trsf& below, PlaceList& list, int depth) const {
    if (depth > kDeepest || list.places.size() >= kMostPlaces) {
        list.whole = false;
        return;
    }
    const auto [first, last] = uses_.equal_range(definition);
    if (first == last) list.places.push_back(below);
    for (auto use = first; use != last && list.whole; ++use)
        AddPlaces(use->second.whole, use->second.place * below, list, depth + 1);
}

gp_Trsf StepProducts::Frame(StepId axes, double unit) const {
    const StepInstance* const placement = file_.Find(axes);
    const auto values = StepValues(placement == nullptr ? std::string_view() : placement->values);
    const auto vector = [&](std::size_t at, const gp_XYZ& usual) {
        const StepInstance* const found = at < values.size() ? Referred(values[at]) : nullptr;
        const auto parts = StepValues(found == nullptr ? std::string_view() : found->values);
        const auto numbers = parts.size() < 2 ? std::vector<double>() : StepNumbers(parts[1]);
        return numbers.size() < 3 ? usual : gp_XYZ(numbers[0], numbers[1], numbers[2]);
    };
    const gp_XYZ origin = vector(1, {0, 0, 0}) * unit, z = vector(2, {0, 0, 1}), x = vector(3, {1, 0, 0});
    gp_Trsf frame;
    if (z.Crossed(x).Modulus() > gp::Resolution())
        frame.SetTransformation(gp_Ax3(origin, z, x), gp_Ax3());
    else
        frame.SetTranslation(origin);
    return frame;
}

}  // namespace morvex
