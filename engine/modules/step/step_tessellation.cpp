#include "engine/modules/step/step_tessellation.h"

#include <BRep_Builder.hxx>
#include <Poly_Triangulation.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>

#include "engine/common/paths.h"
#include "engine/modules/step/step_colours.h"
#include "engine/modules/step/step_products.h"
#include "engine/modules/step/step_units.h"

namespace morvex {
namespace {

using Indices = std::vector<int>;

struct Unreadable : std::runtime_error {
    using runtime_error::runtime_error;
};

// The lists of a list of lists of numbers.
std::vector<Indices> ListsOf(std::string_view value) {
    std::vector<Indices> lists;
    for (const std::string_view list : StepValues(StepList(value))) {
        Indices& indices = lists.emplace_back();
        for (const double number : StepNumbers(list)) indices.push_back(static_cast<int>(number));
    }
    return lists;
}

class Tessellation {
  public:
    explicit Tessellation(const StepScan& file) : file_(file) {}

    static bool IsMesh(const StepInstance& item) {
        return item.type == "TRIANGULATED_FACE" || item.type == "TRIANGULATED_SURFACE_SET" || IsComplex(item);
    }

    // The face of a mesh, its numbers in units of `unit` millimetres. Throws Unreadable.
    TopoDS_Face Face(const StepInstance& mesh, double unit) {
        const auto values = StepValues(mesh.values);
        const std::size_t last = values.size() - 1, lists = IsComplex(mesh) ? 2 : 1;
        if (values.size() < 5 + lists) throw Unreadable("too few values");
        const std::vector<double>& points = Points(StepReference(values[1]));
        Indices used;
        for (const double number : StepNumbers(values[last - lists]))
            used.push_back(static_cast<int>(number));
        triangles_.clear();
        if (lists == 1) {
            for (const Indices& corners : ListsOf(values[last])) AddFan(corners);
        } else {
            for (const Indices& strip : ListsOf(values[last - 1])) AddStrip(strip);
            for (const Indices& fan : ListsOf(values[last])) AddFan(fan);
        }
        return Build(points, used, unit);
    }

  private:
    static bool IsComplex(const StepInstance& item) {
        return item.type == "COMPLEX_TRIANGULATED_FACE" || item.type == "COMPLEX_TRIANGULATED_SURFACE_SET";
    }

    void AddTriangle(int a, int b, int c) {
        if (a != b && b != c && c != a) triangles_.push_back({a, b, c});
    }
    void AddFan(const Indices& fan) {
        for (std::size_t at = 2; at < fan.size(); ++at) AddTriangle(fan[0], fan[at - 1], fan[at]);
    }
    void AddStrip(const Indices& strip) {
        for (std::size_t at = 2; at < strip.size(); ++at) {
            const bool turned = at % 2 == 1;
            AddTriangle(strip[at - (turned ? 1 : 2)], strip[at - (turned ? 2 : 1)], strip[at]);
        }
    }

    const std::vector<double>& Points(StepId list) {
        const auto [place, isNew] = points_.try_emplace(list);
        const StepInstance* const instance = file_.Find(list);
        if (instance == nullptr || !instance->Is("COORDINATES_LIST")) throw Unreadable("no points");
        if (isNew) {
            const auto values = StepValues(instance->values);
            if (values.size() == 3) place->second = StepNumbers(values[2]);
        }
        return place->second;
    }

    TopoDS_Face Build(const std::vector<double>& points, const Indices& used, double unit) const {
        const auto count = static_cast<int>(used.empty() ? points.size() / 3 : used.size());
        if (triangles_.empty()) throw Unreadable("no triangles");
        const Handle(Poly_Triangulation) mesh =
            new Poly_Triangulation(count, static_cast<int>(triangles_.size()), Standard_False);
        for (int node = 1; node <= count; ++node) {
            const int point = used.empty() ? node : used[static_cast<std::size_t>(node - 1)];
            const std::size_t at = 3 * (static_cast<std::size_t>(point) - 1);
            if (point < 1 || at + 2 >= points.size()) throw Unreadable("a point is missing");
            mesh->SetNode(node, gp_Pnt(points[at] * unit, points[at + 1] * unit, points[at + 2] * unit));
        }
        int number = 0;
        for (const auto& [a, b, c] : triangles_) {
            if (std::min({a, b, c}) < 1 || std::max({a, b, c}) > count)
                throw Unreadable("a corner is missing");
            mesh->SetTriangle(++number, Poly_Triangle(a, b, c));
        }
        TopoDS_Face face;
        BRep_Builder().MakeFace(face, mesh);
        return face;
    }

    const StepScan& file_;
    std::map<StepId, std::vector<double>> points_;
    std::vector<std::array<int, 3>> triangles_;
};

bool IsExact(const StepInstance& item) {
    return item.type.find("BREP") != std::string_view::npos || item.type.ends_with("SURFACE_MODEL") ||
           item.Is("MAPPED_ITEM");
}

// The items of a representation, and what solids and shells among them consist of, before those.
std::vector<const StepInstance*> ItemsOf(const StepScan& file, const StepInstance& representation) {
    std::vector<const StepInstance*> items;
    std::set<StepId> seen;
    const auto values = StepValues(representation.values);
    std::vector<StepId> open = StepReferences(values.size() < 2 ? std::string_view() : values[1]);
    while (!open.empty()) {
        const StepId id = open.back();
        open.pop_back();
        const StepInstance* const item = file.Find(id);
        if (item == nullptr || !seen.insert(id).second) continue;
        items.push_back(item);
        const auto parts = StepValues(item->values);
        if ((item->Is("TESSELLATED_SOLID") || item->Is("TESSELLATED_SHELL")) && parts.size() > 1) {
            for (const StepId part : StepReferences(parts[1])) open.push_back(part);
        }
    }
    std::ranges::reverse(items);
    return items;
}

struct ColouredFace {
    TopoDS_Face face;
    std::optional<Quantity_Color> colour;
};

void AddBody(Document& document, const std::vector<ColouredFace>& faces, const std::string& name,
             const std::vector<gp_Trsf>& places) {
    TopoDS_Compound body;
    const BRep_Builder builder;
    builder.MakeCompound(body);
    for (const ColouredFace& one : faces) builder.Add(body, one.face);
    if (places.empty()) return;
    for (const gp_Trsf& place : places) document.AddPart(body.Located(TopLoc_Location(place)), name);
    const TDF_Label part = document.Shapes()->FindShape(body);
    for (const ColouredFace& one : faces) {
        const TDF_Label label = one.colour ? document.Shapes()->AddSubShape(part, one.face) : TDF_Label();
        if (!label.IsNull()) document.SetColour(label, Quantity_ColorRGBA(*one.colour));
    }
}

}  // namespace

std::set<StepId> ReadTessellation(JobContext& context, const StepScan& file) {
    std::vector<const StepInstance*> representations;
    for (const StepInstance& instance : file.Instances()) {
        if (instance.type == "TESSELLATED_SHAPE_REPRESENTATION") representations.push_back(&instance);
    }
    if (representations.empty()) return {};
    const StepProducts products(file);
    std::set<StepId> exact;  // products that have surfaces
    for (const StepInstance& instance : file.Instances()) {
        if (!instance.type.ends_with("SHAPE_REPRESENTATION")) continue;
        for (const StepInstance* const item : ItemsOf(file, instance)) {
            if (IsExact(*item)) exact.insert(products.OwnerOf(instance.id));
        }
    }
    Tessellation tessellation(file);
    const StepColours colours(file);
    std::int64_t announced = 0, missing = 0;
    std::set<StepId> added;
    for (const StepInstance* const representation : representations) {
        const StepId owner = products.OwnerOf(representation->id);
        if (exact.contains(owner)) continue;
        const double unit = StepUnitOf(file, *representation);
        const std::vector<const StepInstance*> items = ItemsOf(file, *representation);
        std::map<StepId, Quantity_Color> coloured;
        for (auto last = items.rbegin(); last != items.rend(); ++last) {
            const StepInstance* const item = *last;
            if (const auto own = colours.Of(item->id)) coloured.insert_or_assign(item->id, *own);
            const auto found = coloured.find(item->id);
            if (found == coloured.end() || Tessellation::IsMesh(*item)) continue;
            for (const StepId part : StepReferences(item->values)) coloured.try_emplace(part, found->second);
        }
        std::vector<ColouredFace> faces;
        for (const StepInstance* const item : items) {
            if (!Tessellation::IsMesh(*item)) continue;
            ++announced;
            try {
                const auto colour = coloured.find(item->id);
                faces.push_back({tessellation.Face(*item, unit),
                                 colour == coloured.end() ? std::nullopt : std::optional(colour->second)});
            } catch (const Unreadable&) {
                ++missing;
            }
        }
        if (faces.empty()) continue;
        added.insert(owner);
        std::string name = products.NameOf(owner);
        if (name.empty()) name = Utf8(context.file.stem());
        const auto [places, whole] = products.PlacesOf(owner);
        AddBody(context.document, faces, name, places);
        if (!whole)
            context.journal.Lose("places of \"" + name + "\", which is too deep down or has too many");
    }
    context.document.Shapes()->UpdateAssemblies();
    context.journal.Account("tessellated faces", announced, missing);
    return added;
}

}  // namespace morvex
