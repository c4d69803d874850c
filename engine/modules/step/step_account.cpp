#include "engine/modules/step/step_account.h"

#include <Interface_Check.hxx>
#include <Interface_ReportEntity.hxx>
#include <StepData_StepModel.hxx>
#include <TransferBRep.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <algorithm>
#include <cstring>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "engine/modules/core/exchange_file.h"

namespace morvex {
namespace {

using Id = StepId;
using Ids = std::set<Id>;

bool IsOneOf(const StepInstance& instance, std::initializer_list<std::string_view> names) {
    return std::ranges::any_of(names, [&](std::string_view name) { return instance.Is(name); });
}

// The things that the file says are there, by their numbers. A number that stands in a list where such a
// thing must be is announced even when nothing has that number.
struct Announced {
    Ids faces, solids, uses, placements, mapped, items;
};

class Announcer {
  public:
    Announcer(const StepScan& file, const Ids& readElsewhere) : file_(file), readElsewhere_(readElsewhere) {}

    Announced Collect() {
        for (const StepInstance& instance : file_.Instances()) Take(instance);
        return std::move(announced_);
    }

  private:
    void Take(const StepInstance& instance) {
        if (IsOneOf(instance, {"ADVANCED_FACE", "FACE_SURFACE"})) {
            announced_.faces.insert(instance.id);
        } else if (IsOneOf(instance, {"CLOSED_SHELL", "OPEN_SHELL", "CONNECTED_FACE_SET"})) {
            for (const Id face : StepReferences(instance.values)) announced_.faces.insert(face);
        } else if (IsSolid(instance)) {
            announced_.solids.insert(instance.id);
        } else if (instance.Is("NEXT_ASSEMBLY_USAGE_OCCURRENCE")) {
            if (!IsReadElsewhere(instance)) announced_.uses.insert(instance.id);
        } else if (instance.Is("CONTEXT_DEPENDENT_SHAPE_REPRESENTATION")) {
            TakePlacement(instance);
        } else if (instance.type.ends_with("SHAPE_REPRESENTATION")) {
            TakeRepresentation(instance);
        }
    }

    // What is placed is a use of a part, whatever has become of the entity that says so.
    void TakePlacement(const StepInstance& placement) {
        const auto values = StepValues(placement.values);
        const StepInstance* const shape = values.size() == 2 ? file_.Find(StepReference(values[1])) : nullptr;
        const auto references =
            StepReferences(shape != nullptr && shape->Is("PRODUCT_DEFINITION_SHAPE") ? shape->values : "");
        const StepInstance* const use = references.empty() ? nullptr : file_.Find(references.back());
        if (use == nullptr) announced_.uses.insert(placement.id);
        if (use == nullptr || !IsReadElsewhere(*use)) announced_.placements.insert(placement.id);
    }

    bool IsReadElsewhere(const StepInstance& use) const {
        const auto ends = StepReferences(use.values);
        return ends.size() > 1 && readElsewhere_.contains(ends[1]);
    }

    void TakeRepresentation(const StepInstance& representation) {
        const auto values = StepValues(representation.values);
        if (values.size() < 2) return;
        for (const Id id : StepReferences(values[1])) {
            const StepInstance* const item = file_.Find(id);
            if (item != nullptr && item->Is("MAPPED_ITEM")) {
                announced_.mapped.insert(id);
            } else if (item == nullptr || (IsBody(*item) && !IsSolid(*item))) {
                announced_.items.insert(id);
            }
        }
    }

    static bool IsSolid(const StepInstance& instance) {
        return IsOneOf(instance, {"MANIFOLD_SOLID_BREP", "BREP_WITH_VOIDS", "FACETED_BREP"});
    }
    // Surface models, and kinds of solids that no reader here knows.
    static bool IsBody(const StepInstance& item) {
        if (item.type.starts_with("TESSELLATED")) return false;  // counted where it is read
        return item.type.ends_with("_SOLID") || item.type.ends_with("_BREP") ||
               item.type.ends_with("_MODEL") ||
               IsOneOf(item, {"BLOCK", "SPHERE", "TORUS", "RIGHT_CIRCULAR_CYLINDER", "RIGHT_CIRCULAR_CONE",
                              "RIGHT_ANGULAR_WEDGE", "BOOLEAN_RESULT", "SOLID_REPLICA"});
    }

    const StepScan& file_;
    const Ids& readElsewhere_;
    Announced announced_;
};

// All numbers that hang on those given, themselves included.
std::unordered_set<Id> Below(const StepScan& file, std::vector<Id> open) {
    std::unordered_set<Id> reached(open.begin(), open.end());
    while (!open.empty()) {
        const StepInstance* const instance = file.Find(open.back());
        open.pop_back();
        if (instance == nullptr) continue;
        for (const Id id : StepReferences(instance->values)) {
            if (reached.insert(id).second) open.push_back(id);
        }
    }
    return reached;
}

std::unordered_set<Id> ConstructionIn(const StepScan& file) {
    std::vector<Id> tops;
    for (const StepInstance& instance : file.Instances()) {
        if (instance.Is("CONSTRUCTIVE_GEOMETRY_REPRESENTATION")) tops.push_back(instance.id);
    }
    return Below(file, std::move(tops));
}

// Writers of files that refer to each other leave bodies of the other files in them, for colours and layers;
// no representation holds those.
std::unordered_set<Id> StraysIn(const StepScan& file, const Ids& solids) {
    Ids strays = solids;
    for (const StepInstance& instance : file.Instances()) {
        if (!instance.type.ends_with("SHAPE_REPRESENTATION")) continue;
        for (const Id id : StepReferences(instance.values)) strays.erase(id);
    }
    return Below(file, {strays.begin(), strays.end()});
}

// What the reader has made of the entities.
class Transferred {
  public:
    Transferred(const Document& document, const Handle(XSControl_WorkSession) & session,
                const StepShapes& madeElsewhere)
        : model_(Handle(StepData_StepModel)::DownCast(session->Model())),
          process_(session->TransferReader()->TransientProcess()),
          shapes_(ShapesOf(document)),
          madeElsewhere_(madeElsewhere) {
        for (int number = 1; number <= model_->NbEntities(); ++number) {
            const Handle(Standard_Transient)& entity = model_->Value(number);
            const Id id = static_cast<Id>(model_->IdentLabel(entity));
            entities_.emplace(id, entity);
            if (!model_->IsErrorEntity(number)) continue;
            ++broken_;
            if (HasLoss(*model_->ReportEntity(number)->Check())) damaged_.insert(id);
        }
    }

    bool HasResult(Id id) const { return !Result(id).IsNull(); }
    // Numbers of entities that miss something besides a name.
    const Ids& Damaged() const { return damaged_; }
    bool IsInDocument(Id id, TopAbs_ShapeEnum type) const { return IsWithin(shapes_, Result(id), type); }
    std::int64_t Broken() const { return broken_; }

  private:
    // Some systems write no names, which all entities ought to have.
    static bool HasLoss(const Interface_Check& check) {
        for (int at = 1; at <= check.NbFails(); ++at) {
            if (std::strstr(check.CFail(at), "not a quoted String") == nullptr) return true;
        }
        return false;
    }
    TopoDS_Shape Result(Id id) const {
        if (const auto made = madeElsewhere_.find(id); made != madeElsewhere_.end()) return made->second;
        const auto entity = entities_.find(id);
        if (entity == entities_.end() || process_.IsNull()) return {};
        return TransferBRep::ShapeResult(process_, entity->second);
    }

    Handle(StepData_StepModel) model_;
    Handle(Transfer_TransientProcess) process_;
    ShapeSet shapes_;
    const StepShapes& madeElsewhere_;
    std::unordered_map<Id, Handle(Standard_Transient)> entities_;
    Ids damaged_;
    std::int64_t broken_ = 0;
};

// Counts how often the faces below an instance use each edge.
void CountUses(const StepScan& file, Id id, std::unordered_map<Id, int>& uses, int depth = 0) {
    constexpr int kDeepest = 8;  // a sound file needs fewer; others may go round in circles
    const StepInstance* const instance = file.Find(id);
    if (instance == nullptr || depth > kDeepest) return;
    const std::vector<Id> references = StepReferences(instance->values);
    if (instance->Is("ORIENTED_EDGE")) {
        if (!references.empty()) ++uses[references.back()];
    } else if (instance->type.ends_with("_SHELL") || instance->type.ends_with("_FACE") ||
               IsOneOf(*instance, {"FACE_SURFACE", "FACE_BOUND", "FACE_OUTER_BOUND", "EDGE_LOOP"})) {
        for (const Id below : references) CountUses(file, below, uses, depth + 1);
    }
}

// Whether the faces of a solid leave a gap in the file itself: edges bound one face only, and none bounds
// more than two, as it would when a reference were damaged.
bool HasGap(const StepScan& file, Id solid) {
    std::unordered_map<Id, int> uses;
    const StepInstance* const instance = file.Find(solid);
    for (const Id shell : StepReferences(instance == nullptr ? "" : instance->values))
        CountUses(file, shell, uses);
    const auto used = [&](int times) {
        return std::ranges::count(uses, times, &std::pair<const Id, int>::second);
    };
    return used(1) > 0 && used(1) + used(2) == std::ssize(uses);
}

// Finds what hangs on damaged entities, or on ones that are not there at all.
class DamageSearch {
  public:
    DamageSearch(const StepScan& file, const Ids& damaged) : file_(file) {
        for (const Id id : damaged) known_[id] = true;
        any_ = !damaged.empty() || std::ranges::any_of(file.Instances(), [&](const StepInstance& instance) {
            return std::ranges::any_of(StepReferences(instance.values),
                                       [&](Id id) { return file.Find(id) == nullptr; });
        });
    }

    std::int64_t Count(const Ids& ids) {
        return any_ ? std::ranges::count_if(ids, [this](Id id) { return Reaches(id); }) : 0;
    }

  private:
    // Other representations are none of the matter: a place is sound even if the part that stands there is
    // not.
    bool Reaches(Id id) {
        const auto [place, isNew] = known_.try_emplace(id, false);
        if (!isNew) return place->second;
        const StepInstance* const instance = file_.Find(id);
        if (instance == nullptr) return known_[id] = true;
        if (instance->type.ends_with("REPRESENTATION") && depth_ > 0) return false;
        ++depth_;
        const bool reaches = std::ranges::any_of(StepReferences(instance->values),
                                                 [this](Id below) { return Reaches(below); });
        --depth_;
        return known_[id] = reaches;
    }

    const StepScan& file_;
    std::unordered_map<Id, bool> known_;
    bool any_ = false;
    int depth_ = 0;
};

}  // namespace

void StepAccount::Add(const Document& document, const StepScan& file,
                      const Handle(XSControl_WorkSession) & session, const std::set<StepId>& readElsewhere,
                      const std::set<StepId>& misplaced, bool external, const StepShapes& shapes) {
    const Announced announced = Announcer(file, readElsewhere).Collect();
    const Transferred transferred(document, session, shapes);
    // Neither is a part of the model: what serves construction only, which readers pass over, and strays.
    const std::unordered_set<Id> construction = ConstructionIn(file);
    const std::unordered_set<Id> strays =
        external ? StraysIn(file, announced.solids) : std::unordered_set<Id>();
    const auto count = [&](const char* what, const Ids& ids, auto isThere) {
        Sum& sum = sums_[what];
        for (const Id id : ids) {
            const bool there = isThere(id);
            if (!there && (construction.contains(id) || strays.contains(id))) continue;
            ++sum.announced;
            sum.missing += !there;
        }
    };
    const auto inDocument = [&](TopAbs_ShapeEnum type) {
        return [&transferred, type](Id id) { return transferred.IsInDocument(id, type); };
    };
    const auto hasResult = [&](Id id) { return transferred.HasResult(id); };
    count("solids", announced.solids, [&](Id id) {
        if (transferred.IsInDocument(id, TopAbs_SOLID)) return true;
        const bool open = transferred.IsInDocument(id, TopAbs_FACE) && HasGap(file, id);
        open_ += open;
        return open;
    });
    count("faces", announced.faces, inDocument(TopAbs_FACE));
    count("placed parts", announced.uses, hasResult);
    count("mapped items", announced.mapped,
          [&](Id id) { return transferred.HasResult(id) && !misplaced.contains(id); });
    count("bodies", announced.items, hasResult);
    DamageSearch damage(file, transferred.Damaged());
    damagedFaces_ += damage.Count(announced.faces);
    damagedPlaces_ += damage.Count(announced.placements) + damage.Count(announced.mapped);
    broken_ += file.Broken() + transferred.Broken();
}

void StepAccount::Send(Journal& journal) const {
    for (const auto& [what, sum] : sums_) journal.Account(what, sum.announced, sum.missing);
    if (damagedFaces_ > 0) journal.Lose("parts of " + std::to_string(damagedFaces_) + " faces");
    if (damagedPlaces_ > 0) journal.Lose("the places of " + std::to_string(damagedPlaces_) + " parts");
    if (open_ > 0)
        journal.Warn(std::to_string(open_) + " solids of the file have gaps and were taken over as shells");
    if (broken_ > 0) journal.Warn(std::to_string(broken_) + " entities of the file are malformed");
}

}  // namespace morvex
