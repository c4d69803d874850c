#include "engine/modules/step/step_units.h"

#include <optional>
#include <utility>

namespace morvex {
namespace {

double UnitLength(const StepScan& file, StepId unit, int depth) {
    constexpr double kMetre = 1000;
    const StepInstance* const instance = file.Find(unit);
    if (instance == nullptr || depth > 3) return 1;
    if (const auto si = StepValues(instance->ValuesOf("SI_UNIT")); si.size() >= 2) {
        static constexpr std::pair<std::string_view, double> kPrefixes[] = {
            {".KILO.", 1e3}, {".DECI.", 1e-1}, {".CENTI.", 1e-2}, {".MILLI.", 1e-3}, {".MICRO.", 1e-6}};
        for (const auto& [name, factor] : kPrefixes) {
            if (si[si.size() - 2] == name) return factor * kMetre;
        }
        return kMetre;
    }
    const auto based = StepReferences(instance->ValuesOf("CONVERSION_BASED_UNIT"));
    const StepInstance* const measure = based.empty() ? nullptr : file.Find(based.front());
    if (measure == nullptr) return 1;
    const auto values = StepValues(measure->values);
    const auto open = values.empty() ? std::string_view::npos : values[0].find('(');
    const auto numbers =
        open == std::string_view::npos ? std::vector<double>() : StepNumbers(values[0].substr(open));
    if (numbers.empty() || values.size() < 2) return 1;
    return numbers.front() * UnitLength(file, StepReference(values[1]), depth + 1);
}

std::optional<double> UnitOfContext(const StepScan& file, const StepInstance& context) {
    for (const StepId id : StepReferences(context.ValuesOf("GLOBAL_UNIT_ASSIGNED_CONTEXT"))) {
        const StepInstance* const unit = file.Find(id);
        if (unit != nullptr && unit->values.find("LENGTH_UNIT") != std::string_view::npos)
            return UnitLength(file, id, 0);
    }
    return std::nullopt;
}

}  // namespace

double StepUnitOf(const StepScan& file, const StepInstance& representation) {
    const auto values = StepValues(representation.values);
    const StepInstance* const context = values.size() < 3 ? nullptr : file.Find(StepReference(values[2]));
    return context == nullptr ? 1 : UnitOfContext(file, *context).value_or(1);
}

double StepUnitOf(const StepScan& file) {
    for (const StepInstance& instance : file.Instances()) {
        if (!instance.type.empty()) continue;  // it stands among several types
        if (const auto unit = UnitOfContext(file, instance)) return *unit;
    }
    return 1;
}

}  // namespace morvex
