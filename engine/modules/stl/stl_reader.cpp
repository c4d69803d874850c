// STL, read.
#include <BRep_Builder.hxx>
#include <Poly_Triangulation.hxx>
#include <TopoDS_Face.hxx>
#include <unordered_map>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/scan/stl_scan.h"

namespace morvex {
namespace {

struct PointHash {
    std::size_t operator()(const StlPoint& point) const {
        std::size_t hash = 0;
        for (const double x : point) hash = hash * 1'000'003 ^ std::hash<double>()(x);
        return hash;
    }
};

// Equal corners become one node of the solid's mesh.
class SolidCollector : public StlSink {
  public:
    struct Solid {
        std::string name;
        std::vector<StlPoint> nodes;
        std::vector<Poly_Triangle> triangles;
    };

    void BeginSolid(std::string_view name) override {
        solids_.push_back({std::string(name), {}, {}});
        numbers_.clear();
    }
    void AddFacet(const StlPoint& a, const StlPoint& b, const StlPoint& c) override {
        const int first = Node(a), second = Node(b), third = Node(c);
        if (first == second || second == third || third == first) {
            ++flat_;
        } else {
            solids_.back().triangles.emplace_back(first, second, third);
        }
    }
    const std::vector<Solid>& Solids() const { return solids_; }
    std::int64_t Flat() const { return flat_; }

  private:
    int Node(const StlPoint& point) {
        std::vector<StlPoint>& nodes = solids_.back().nodes;
        const auto [place, isNew] = numbers_.try_emplace(point, static_cast<int>(nodes.size()) + 1);
        if (isNew) nodes.push_back(point);
        return place->second;
    }

    std::vector<Solid> solids_;
    std::unordered_map<StlPoint, int, PointHash> numbers_;
    std::int64_t flat_ = 0;
};

TopoDS_Face MakeFace(const SolidCollector::Solid& solid) {
    const Handle(Poly_Triangulation) mesh = new Poly_Triangulation(
        static_cast<int>(solid.nodes.size()), static_cast<int>(solid.triangles.size()), Standard_False);
    int number = 0;
    for (const StlPoint& node : solid.nodes) mesh->SetNode(++number, {node[0], node[1], node[2]});
    number = 0;
    for (const Poly_Triangle& triangle : solid.triangles) mesh->SetTriangle(++number, triangle);
    TopoDS_Face face;
    BRep_Builder().MakeFace(face, mesh);
    return face;
}

}  // namespace

extern "C" Outcome ReadStl(JobContext& context) {
    const InputBytes file(context.file);
    SolidCollector collector;
    const StlFacts facts = ScanStl(file.View(), collector);
    const std::string stem = Utf8(context.file.stem());
    std::int64_t solids = 0;
    for (const SolidCollector::Solid& solid : collector.Solids()) {
        if (solid.triangles.empty()) continue;
        ++solids;
        const bool several = collector.Solids().size() > 1;
        context.document.AddPart(MakeFace(solid), several && !solid.name.empty() ? solid.name : stem);
    }
    context.journal.Account("facets", facts.facets, facts.bad);
    if (collector.Flat() > 0)
        context.journal.Warn(std::to_string(collector.Flat()) + " facets without an area were left out");
    if (solids == 0) {
        return facts.fault.empty() ? Outcome::Fail(ZEL_EMPTY, "The file contains no triangles")
                                   : Damaged("The file is not valid STL: no " + facts.fault);
    }
    if (!facts.fault.empty()) context.journal.Lose(facts.fault);
    return Outcome::Ok();
}

}  // namespace morvex
