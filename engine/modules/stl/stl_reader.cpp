// STL, read.
#include <BRep_Builder.hxx>
#include <Poly_Triangulation.hxx>
#include <TopoDS_Face.hxx>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/point_numbers.h"
#include "engine/modules/scan/stl_scan.h"

namespace morvex {
namespace {

// Equal corners become one node of the solid's mesh.
class SolidCollector : public StlSink {
  public:
    struct Solid {
        std::string name;
        std::vector<StlPoint> nodes;
        std::vector<Poly_Triangle> triangles;
    };

    // There are at most so many facets.
    explicit SolidCollector(std::size_t most) : most_(most) {}

    void BeginSolid(std::string_view name) override {
        solids_.push_back({std::string(name), {}, {}});
        if (solids_.size() == 1) solids_.back().triangles.reserve(most_);
        numbers_ = {};
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
        const auto [number, isNew] =
            numbers_.Take(point, [&](std::uint32_t at) -> const StlPoint& { return nodes[at]; });
        if (isNew) nodes.push_back(point);
        return static_cast<int>(number) + 1;
    }

    std::vector<Solid> solids_;
    std::size_t most_;
    PointNumbers numbers_;
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
    constexpr std::size_t kFacet = 50;  // bytes; as text a facet takes more
    SolidCollector collector(file.View().size() / kFacet);
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
