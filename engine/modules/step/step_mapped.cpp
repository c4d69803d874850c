#include "engine/modules/step/step_mapped.h"

#include <StepData_StepModel.hxx>
#include <StepRepr_MappedItem.hxx>
#include <StepRepr_Representation.hxx>
#include <StepRepr_RepresentationMap.hxx>
#include <TopLoc_Location.hxx>
#include <TransferBRep.hxx>
#include <TransferBRep_ShapeBinder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <cmath>
#include <gp_XYZ.hxx>
#include <optional>

#include "engine/modules/step/step_products.h"
#include "engine/modules/step/step_units.h"

namespace morvex {
namespace {

constexpr double kSame = 1e-9;

std::optional<gp_XYZ> VectorOf(const StepScan& file, std::string_view value) {
    const StepInstance* const instance = file.Find(StepReference(value));
    const auto values = StepValues(instance == nullptr ? std::string_view() : instance->values);
    const auto numbers = values.size() < 2 ? std::vector<double>() : StepNumbers(values[1]);
    if (numbers.size() < 3) return std::nullopt;
    return gp_XYZ(numbers[0], numbers[1], numbers[2]);
}

// The direction without its share along others; nothing when none is left.
std::optional<gp_XYZ> Across(gp_XYZ direction, std::initializer_list<gp_XYZ> others) {
    for (const gp_XYZ& other : others) direction -= other * direction.Dot(other);
    if (!(direction.Modulus() > kSame)) return std::nullopt;
    return direction.Normalized();
}

// The operator's values end with two axes, an origin, the scale, and the third axis. Nothing where they are
// no map.
std::optional<gp_Trsf> MapOf(const StepScan& file, const StepInstance& operation, double unit) {
    const auto values = StepValues(operation.values);
    if (values.size() < 5) return std::nullopt;
    const auto last = values.end();
    const gp_XYZ axes[] = {VectorOf(file, last[-5]).value_or(gp_XYZ(1, 0, 0)),
                           VectorOf(file, last[-4]).value_or(gp_XYZ(0, 1, 0)),
                           VectorOf(file, last[-1]).value_or(gp_XYZ(0, 0, 1))};
    const auto z = Across(axes[2], {});
    const auto x = z ? Across(axes[0], {*z}) : std::nullopt;
    const auto y = x ? Across(axes[1], {*z, *x}) : std::nullopt;
    const auto numbers = StepNumbers(last[-2]);
    const double scale = numbers.empty() ? 1 : numbers.front();
    if (!y || !(scale > 0) || !std::isfinite(scale)) return std::nullopt;
    const gp_XYZ origin = VectorOf(file, last[-3]).value_or(gp_XYZ()) * unit;
    gp_Trsf map;
    map.SetValues(x->X() * scale, y->X() * scale, z->X() * scale, origin.X(), x->Y() * scale, y->Y() * scale,
                  z->Y() * scale, origin.Y(), x->Z() * scale, y->Z() * scale, z->Z() * scale, origin.Z());
    return map;
}

bool IsRigid(const gp_Trsf& map) {
    return !map.IsNegative() && std::abs(map.ScaleFactor() - 1) <= kSame;
}

const StepInstance* OperatorOf(const StepScan& file, const StepInstance& item) {
    const auto ends = StepReferences(item.values);
    const StepInstance* const operation = ends.empty() ? nullptr : file.Find(ends.back());
    const bool is = operation != nullptr && operation->Is("CARTESIAN_TRANSFORMATION_OPERATOR_3D");
    return is ? operation : nullptr;
}

// Millimetres to the numbers of the representation that the item shows.
double UnitOf(const StepScan& file, const StepInstance& item) {
    const auto ends = StepReferences(item.values);
    const StepInstance* const source = ends.empty() ? nullptr : file.Find(ends.front());
    const auto parts = StepReferences(source == nullptr ? std::string_view() : source->values);
    const StepInstance* const shown = parts.empty() ? nullptr : file.Find(parts.back());
    return shown == nullptr ? 1 : StepUnitOf(file, *shown);
}

bool Place(const Handle(Transfer_TransientProcess) & process, const Handle(StepRepr_MappedItem) & item,
           const gp_Trsf& map) {
    if (item->MappingSource().IsNull() || process->IsBound(item)) return false;
    const auto shown = item->MappingSource()->MappedRepresentation();
    const TopoDS_Shape shape =
        shown.IsNull() ? TopoDS_Shape() : TransferBRep::ShapeResult(process->Transferring(shown));
    if (shape.IsNull()) return false;
    process->Bind(item, new TransferBRep_ShapeBinder(shape.Moved(TopLoc_Location(map), Standard_False)));
    return true;
}

}  // namespace

std::set<StepId> ScaledItemsIn(const StepScan& file) {
    std::set<StepId> items;
    for (const StepInstance& instance : file.Instances()) {
        const StepInstance* const operation =
            instance.Is("MAPPED_ITEM") ? OperatorOf(file, instance) : nullptr;
        const auto map = operation == nullptr ? std::nullopt : MapOf(file, *operation, 1);
        if (operation != nullptr && !(map && IsRigid(*map))) items.insert(instance.id);
    }
    return items;
}

std::set<StepId> PlaceScaledItems(const Handle(XSControl_WorkSession) & session, const StepScan& file) {
    std::set<StepId> left = ScaledItemsIn(file);
    if (left.empty()) return left;
    const auto model = Handle(StepData_StepModel)::DownCast(session->Model());
    const auto process = session->TransferReader()->TransientProcess();
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const auto item = Handle(StepRepr_MappedItem)::DownCast(model->Value(number));
        const auto id = item.IsNull() ? 0 : static_cast<StepId>(model->IdentLabel(item));
        if (!left.contains(id)) continue;
        const StepInstance& instance = *file.Find(id);
        const auto map = MapOf(file, *OperatorOf(file, instance), UnitOf(file, instance));
        if (map && Place(process, item, *map)) left.erase(id);
    }
    return left;
}

}  // namespace morvex
