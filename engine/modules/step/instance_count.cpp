#include "engine/modules/step/instance_count.h"

#include <StepBasic_ProductDefinition.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_MappedItem.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <StepRepr_Representation.hxx>
#include <StepRepr_RepresentationMap.hxx>
#include <algorithm>
#include <unordered_map>
#include <vector>

namespace morvex {
namespace {

using Entity = const Standard_Transient*;

class InstanceGraph {
  public:
    void Add(Entity whole, Entity part) { parts_[whole].push_back(part); }

    std::int64_t Largest() {
        std::int64_t largest = 0;
        for (const auto& [whole, parts] : parts_) {
            const std::int64_t count = Count(whole);
            if (count < 0) return -1;
            largest = std::max(largest, count);
        }
        return largest;
    }

  private:
    static constexpr std::int64_t kBeingCounted = -2;

    std::int64_t Count(Entity whole) {
        const auto [place, isNew] = known_.try_emplace(whole, kBeingCounted);
        if (!isNew) return place->second == kBeingCounted ? -1 : place->second;
        std::int64_t number = 1;
        const auto parts = parts_.find(whole);
        for (std::size_t at = 0; parts != parts_.end() && at < parts->second.size(); ++at) {
            const std::int64_t below = Count(parts->second[at]);
            if (below < 0) return -1;
            number = std::min(number + below, kMostInstances + 1);
        }
        return known_[whole] = number;
    }

    std::unordered_map<Entity, std::vector<Entity>> parts_;
    std::unordered_map<Entity, std::int64_t> known_;
};

}  // namespace

std::int64_t CountInstances(const Interface_InterfaceModel& model) {
    InstanceGraph graph;
    for (int number = 1; number <= model.NbEntities(); ++number) {
        const Handle(Standard_Transient)& entity = model.Value(number);
        if (const auto use = Handle(StepRepr_NextAssemblyUsageOccurrence)::DownCast(entity); !use.IsNull()) {
            const auto whole = use->RelatingProductDefinition(), part = use->RelatedProductDefinition();
            if (!whole.IsNull() && !part.IsNull()) graph.Add(whole.get(), part.get());
        } else if (const auto shown = Handle(StepRepr_Representation)::DownCast(entity); !shown.IsNull()) {
            const Handle(StepRepr_HArray1OfRepresentationItem) items = shown->Items();
            for (int at = items.IsNull() ? 1 : items->Lower(); !items.IsNull() && at <= items->Upper();
                 ++at) {
                const auto mapped = Handle(StepRepr_MappedItem)::DownCast(items->Value(at));
                if (mapped.IsNull() || mapped->MappingSource().IsNull()) continue;
                const auto part = mapped->MappingSource()->MappedRepresentation();
                if (!part.IsNull()) graph.Add(shown.get(), part.get());
            }
        }
    }
    return graph.Largest();
}

}  // namespace morvex
