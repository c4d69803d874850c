#include "engine/modules/step/step_shares.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <unordered_map>
#include <utility>

namespace morvex {
namespace {

constexpr std::size_t kWorthwhile = 256u << 10;  // bytes of text; less is read in no time
constexpr StepId kLargestId = std::numeric_limits<int>::max() - 100;

using Place = std::uint32_t;  // of an instance in the file
constexpr Place kNone = std::numeric_limits<Place>::max();

// Of faces, shells and bodies the inside can be left out; no body holds a body or what is foreign to it.
enum class Kind : unsigned char { Plain, Topology, Face, Shell, Body, Foreign };

enum class Taken : unsigned char { No, Whole, Partly };

constexpr char kData[] = "\nDATA;\n", kEnd[] = "ENDSEC;\nEND-ISO-10303-21;\n";

Kind KindOf(std::string_view type) {
    struct Named {
        std::string_view type;
        Kind kind;
    };
    static constexpr Named kNamed[] = {
        {"ADVANCED_FACE", Kind::Face},
        {"FACE_SURFACE", Kind::Face},
        {"CLOSED_SHELL", Kind::Shell},
        {"OPEN_SHELL", Kind::Shell},
        {"MANIFOLD_SOLID_BREP", Kind::Body},
        {"BREP_WITH_VOIDS", Kind::Body},
        {"FACETED_BREP", Kind::Body},
        {"SHELL_BASED_SURFACE_MODEL", Kind::Body},
        {"EDGE_CURVE", Kind::Topology},
        {"ORIENTED_EDGE", Kind::Topology},
        {"EDGE_LOOP", Kind::Topology},
        {"POLY_LOOP", Kind::Topology},
        {"VERTEX_LOOP", Kind::Topology},
        {"VERTEX_POINT", Kind::Topology},
        {"FACE_BOUND", Kind::Topology},
        {"FACE_OUTER_BOUND", Kind::Topology},
        {"ORIENTED_FACE", Kind::Topology},
        {"ORIENTED_CLOSED_SHELL", Kind::Topology},
        {"ORIENTED_OPEN_SHELL", Kind::Topology},
    };
    const auto named = std::ranges::find(kNamed, type, &Named::type);
    if (named != std::end(kNamed)) return named->kind;
    const bool foreign = type.ends_with("SHAPE_REPRESENTATION") || type.starts_with("PRODUCT") ||
                         type == "MAPPED_ITEM" || type == "STYLED_ITEM";
    return foreign ? Kind::Foreign : Kind::Plain;
}

class Sharer {
  public:
    explicit Sharer(const StepScan& file)
        : file_(file),
          count_(static_cast<Place>(file.Instances().size())),
          owners_(count_, kNone),
          seen_(count_, kNone) {}

    StepShares ShareOut(std::size_t processes) {
        TakeKinds();
        if (!TakeReferences() || lastId_ > kLargestId) return {};
        TakeBodies();
        for (Place number = 0; number < bodies_.size(); ++number) TakeInside(number);
        std::vector<Place> good;
        std::size_t size = 0;
        for (Place number = 0; number < bodies_.size(); ++number) {
            if (!bodies_[number].good) continue;
            good.push_back(number);
            size += bodies_[number].size;
        }
        StepShares result;
        if (good.size() < 2 || size < kWorthwhile) return result;
        for (const std::vector<Place>& group : Groups(std::move(good), processes))
            result.shares.push_back(ShareOf(group));
        WriteRest(result);
        return result;
    }

  private:
    struct Body {
        Place instance, representation;
        std::size_t size = 0;  // of the text of what it consists of
        bool good = true;
    };

    const StepInstance& At(Place at) const { return file_.Instances()[at]; }
    std::span<const Place> References(Place at) const {
        return std::span(references_).subspan(firsts_[at], firsts_[at + 1] - firsts_[at]);
    }

    void TakeKinds() {
        std::unordered_map<std::string_view, Kind> known;
        kinds_.reserve(count_);
        for (const StepInstance& instance : file_.Instances()) {
            const auto [place, isNew] = known.try_emplace(instance.type, Kind::Plain);
            if (isNew) place->second = KindOf(instance.type);
            kinds_.push_back(place->second);
            lastId_ = std::max(lastId_, instance.id);
        }
    }

    // False when there is one to nothing.
    bool TakeReferences() {
        firsts_.reserve(count_ + 1);
        for (const StepInstance& instance : file_.Instances()) {
            firsts_.push_back(references_.size());
            for (const StepId id : StepReferences(instance.values)) {
                const StepInstance* const found = file_.Find(id);
                if (found == nullptr) return false;
                references_.push_back(static_cast<Place>(found - file_.Instances().data()));
            }
        }
        firsts_.push_back(references_.size());
        return true;
    }

    // Bodies that one representation, and nothing unusual, has as its items.
    void TakeBodies() {
        std::vector<char> unusual(count_);  // representations of what is no product
        for (Place at = 0; at < count_; ++at) {
            if (At(at).type != "SHAPE_DEFINITION_REPRESENTATION") continue;
            const auto ends = References(at);
            const auto defined = ends.size() == 2 ? References(ends.front()) : ends;
            if (defined.empty() || !At(defined.back()).type.starts_with("PRODUCT_DEFINITION"))
                unusual[ends.empty() ? at : ends.back()] = 1;
        }
        std::unordered_map<Place, Place> known;
        for (Place at = 0; at < count_; ++at) {
            const std::string_view type = At(at).type;
            if (!type.ends_with("SHAPE_REPRESENTATION")) continue;
            if (type.starts_with("NON_MANIFOLD") || StepValues(At(at).values).size() != 3) unusual[at] = 1;
            for (const Place item : References(at)) {
                if (kinds_[item] != Kind::Body) continue;
                const auto [place, isNew] = known.try_emplace(item, static_cast<Place>(bodies_.size()));
                if (isNew) bodies_.push_back({item, at});
                if (!isNew || unusual[at] != 0) bodies_[place->second].good = false;
            }
        }
    }

    // Goes through all that hangs on an instance, once for each stamp. `enter` answers whether to go on
    // below.
    template <class Enter>
    void Walk(Place start, Place stamp, Enter enter) {
        std::vector<Place> open{start};
        while (!open.empty()) {
            const Place at = open.back();
            open.pop_back();
            for (const Place below : References(at)) {
                if (std::exchange(seen_[below], stamp) != stamp && enter(below)) open.push_back(below);
            }
        }
    }

    // Claims what a body consists of. Only geometry may belong to several of them.
    void TakeInside(Place number) {
        Body& body = bodies_[number];
        owners_[body.instance] = number;
        Walk(body.instance, nextStamp_++, [&](Place below) {
            const Kind kind = kinds_[below];
            if (kind >= Kind::Body) return body.good = false;
            Place& owner = owners_[below];
            if (owner != kNone && kind != Kind::Plain) body.good = bodies_[owner].good = false;
            if (owner == kNone) owner = number;
            body.size += At(below).values.size();
            return true;
        });
    }
    bool IsInside(Place at) const { return owners_[at] != kNone && bodies_[owners_[at]].good; }

    // The largest first, each to the group that has least so far.
    std::vector<std::vector<Place>> Groups(std::vector<Place> bodies, std::size_t processes) const {
        std::ranges::stable_sort(bodies, std::greater(), [this](Place body) { return bodies_[body].size; });
        std::vector<std::vector<Place>> groups(std::min(processes, bodies.size()));
        std::vector<std::size_t> sizes(groups.size());
        for (const Place body : bodies) {
            const auto least = static_cast<std::size_t>(std::ranges::min_element(sizes) - sizes.begin());
            sizes[least] += bodies_[body].size;
            groups[least].push_back(body);
        }
        return groups;
    }

    StepShares::Share ShareOf(const std::vector<Place>& group) {
        StepShares::Share share;
        std::vector<Taken> taken(count_);
        std::unordered_map<Place, std::string> lists;  // of the bodies, by their representation
        const Place stamp = nextStamp_++;
        const auto take = [&](Place below) { return taken[below] = Taken::Whole, true; };
        for (const Place number : group) {
            const Body& body = bodies_[number];
            take(body.instance);
            Walk(body.instance, stamp, take);
            std::string& list = lists[body.representation];
            if (std::exchange(taken[body.representation], Taken::Partly) == Taken::No) {
                for (const Place below : References(body.representation)) {
                    if (kinds_[below] != Kind::Plain) continue;  // the context is, and axes are
                    take(below);
                    Walk(below, stamp, take);
                }
            }
            share.bodies.push_back(At(body.instance).id);
            list += (list.empty() ? "#" : ",#") + std::to_string(share.bodies.back());
        }
        share.text = std::string(file_.Head()) + kData;
        for (Place at = 0; at < count_; ++at) {
            if (taken[at] == Taken::Whole) Write(at, At(at).values, share.text);
            if (taken[at] != Taken::Partly) continue;
            const auto values = StepValues(At(at).values);
            Write(at, std::string(values[0]) + ",(" + lists[at] + ")," + std::string(values[2]), share.text);
        }
        share.text += kEnd;
        return share;
    }

    void WriteRest(StepShares& result) {
        std::vector<Taken> taken(count_);
        const Place stamp = nextStamp_++;
        const auto take = [&](Place at) {
            const bool empty = IsInside(at) && kinds_[at] >= Kind::Face;
            if (IsInside(at)) result.wanted.insert(At(at).id);
            taken[at] = empty ? Taken::Partly : Taken::Whole;
            return !empty;
        };
        for (Place at = 0; at < count_; ++at) {
            if (IsInside(at) && kinds_[at] == Kind::Face) result.wanted.insert(At(at).id);
            if (IsInside(at) && kinds_[at] != Kind::Body) continue;
            if (std::exchange(seen_[at], stamp) != stamp && take(at)) Walk(at, stamp, take);
        }
        result.rest = std::string(file_.Head()) + kData;
        for (Place at = 0; at < count_; ++at) {
            if (taken[at] == Taken::Whole) Write(at, At(at).values, result.rest);
            if (taken[at] == Taken::Partly) WriteEmpty(at, result.rest);
        }
        WriteFillers(result.rest);
        result.rest += kEnd;
    }

    void Write(Place at, std::string_view values, std::string& text) const {
        const StepInstance& instance = At(at);
        text += '#' + std::to_string(instance.id) + '=';
        text.append(instance.type).append("(").append(values).append(");\n");
    }

    // What nothing looks into, since its shape is known. The numbers are those of WriteFillers.
    void WriteEmpty(Place at, std::string& text) const {
        const auto filler = [this](StepId number) { return '#' + std::to_string(lastId_ + number); };
        const auto values = StepValues(At(at).values);
        std::string rest;
        if (kinds_[at] == Kind::Face) {
            rest = '(' + filler(8) + ")," + filler(5) + ",.T.";
        } else if (kinds_[at] == Kind::Shell) {
            rest = '(' + filler(9) + ')';
        } else if (At(at).type == "SHELL_BASED_SURFACE_MODEL") {
            rest = '(' + filler(10) + ')';
        } else {
            rest = filler(10) + (At(at).type == "BREP_WITH_VOIDS" ? ",(" + filler(11) + ')' : "");
        }
        Write(at, (values.empty() ? "''" : std::string(values[0])) + ',' + rest, text);
    }
    void WriteFillers(std::string& text) const {
        const auto filler = [this](StepId number) { return '#' + std::to_string(lastId_ + number); };
        text += filler(1) + "=CARTESIAN_POINT('',(0.,0.,0.));\n" + filler(2) +
                "=DIRECTION('',(0.,0.,1.));\n" + filler(3) + "=DIRECTION('',(1.,0.,0.));\n" + filler(4) +
                "=AXIS2_PLACEMENT_3D(''," + filler(1) + ',' + filler(2) + ',' + filler(3) + ");\n" +
                filler(5) + "=PLANE(''," + filler(4) + ");\n" + filler(6) + "=VERTEX_POINT(''," + filler(1) +
                ");\n" + filler(7) + "=VERTEX_LOOP(''," + filler(6) + ");\n" + filler(8) +
                "=FACE_OUTER_BOUND(''," + filler(7) + ",.T.);\n" + filler(9) + "=ADVANCED_FACE('',(" +
                filler(8) + ")," + filler(5) + ",.T.);\n" + filler(10) + "=CLOSED_SHELL('',(" + filler(9) +
                "));\n" + filler(11) + "=ORIENTED_CLOSED_SHELL('',*," + filler(10) + ",.F.);\n";
    }

    const StepScan& file_;
    Place count_;
    StepId lastId_ = 0;
    std::vector<Kind> kinds_;
    std::vector<std::size_t> firsts_;  // of each instance among the references, and the end
    std::vector<Place> references_;
    std::vector<Body> bodies_;
    std::vector<Place> owners_;  // the first body that an instance belongs to
    std::vector<Place> seen_;    // the stamp of the last walk that came by
    Place nextStamp_ = 0;
};

}  // namespace

StepShares ShareOut(const StepScan& file, std::size_t processes) {
    if (processes < 2 || file.Broken() > 0 || file.Head().empty()) return {};
    return Sharer(file).ShareOut(processes);
}

}  // namespace morvex
