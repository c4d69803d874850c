#include "engine/modules/step/step_instances.h"

#include <Interface_Static.hxx>
#include <Message_ProgressScope.hxx>
#include <STEPControl_ActorRead.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepGeom_Axis2Placement3d.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_ItemDefinedTransformation.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <StepRepr_ProductDefinitionShape.hxx>
#include <StepRepr_Representation.hxx>
#include <StepRepr_ShapeRepresentationRelationshipWithTransformation.hxx>
#include <StepRepr_Transformation.hxx>
#include <StepShape_ContextDependentShapeRepresentation.hxx>
#include <StepShape_ShapeDefinitionRepresentation.hxx>
#include <TopLoc_Location.hxx>
#include <TransferBRep.hxx>
#include <TransferBRep_ShapeBinder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace morvex {
namespace {

constexpr int kMany = 256;  // uses; up to there the library is quick enough

using Product = Handle(StepBasic_ProductDefinition);
using Use = Handle(StepRepr_NextAssemblyUsageOccurrence);
using Placement = Handle(StepShape_ContextDependentShapeRepresentation);

class Placer {
  public:
    Placer(const Handle(XSControl_WorkSession) & session, const Message_ProgressRange& progress)
        : model_(session->Model()),
          process_(session->TransferReader()->TransientProcess()),
          actor_(Handle(STEPControl_ActorRead)::DownCast(session->TransferReader()->Actor())),
          progress_(progress) {
        for (int number = 1; number <= model_->NbEntities(); ++number) Take(model_->Value(number));
    }

    void Place() {
        if (process_.IsNull() || actor_.IsNull() || mostUses_ <= kMany) return;
        // Where a part has an axis of its own beside those of its uses, only a root is moved by it.
        constexpr char kRootAxis[] = "read.step.root.transformation";
        const int before = Interface_Static::IVal(kRootAxis);
        Interface_Static::SetIVal(kRootAxis, 0);
        Message_ProgressScope parts(progress_, nullptr, static_cast<double>(owners_.size()));
        parts_ = &parts;
        for (const auto& [product, uses] : uses_) PlaceBelow(product);
        Interface_Static::SetIVal(kRootAxis, before);
    }

  private:
    void Take(const Handle(Standard_Transient) & entity) {
        if (const auto use = Use::DownCast(entity); !use.IsNull()) {
            if (!use->RelatingProductDefinition().IsNull())
                uses_[use->RelatingProductDefinition().get()].push_back(use);
        } else if (const auto placement = Placement::DownCast(entity); !placement.IsNull()) {
            TakePlacement(placement);
        } else if (const auto shown = Handle(StepShape_ShapeDefinitionRepresentation)::DownCast(entity);
                   !shown.IsNull()) {
            TakeOwner(*shown);
        }
    }

    void TakePlacement(const Placement& placement) {
        if (placement->RepresentedProductRelation().IsNull()) return;
        const auto relation =
            placement->RepresentedProductRelation()->Definition().ProductDefinitionRelationship();
        const Use use = Use::DownCast(relation);
        if (use.IsNull() || placement->RepresentationRelation().IsNull()) return;
        const auto [place, isNew] = placements_.try_emplace(use.get(), placement);
        if (!isNew) place->second.Nullify();  // two places for one use: the library decides
        for (const auto& end :
             {placement->RepresentationRelation()->Rep1(), placement->RepresentationRelation()->Rep2()})
            mostUses_ = std::max(mostUses_, ++usesOf_[end.get()]);
    }

    void TakeOwner(const StepShape_ShapeDefinitionRepresentation& shown) {
        const auto shape =
            Handle(StepRepr_ProductDefinitionShape)::DownCast(shown.Definition().PropertyDefinition());
        if (shape.IsNull() || shown.UsedRepresentation().IsNull()) return;
        const Product product = shape->Definition().ProductDefinition();
        if (product.IsNull()) return;
        const auto [place, isNew] = owners_.try_emplace(shown.UsedRepresentation().get(), product);
        if (!isNew && place->second != product) place->second.Nullify();
    }

    Product OwnerOf(const Handle(StepRepr_Representation) & representation) const {
        const auto owner = owners_.find(representation.get());
        return owner == owners_.end() ? Product() : owner->second;
    }

    void PlaceBelow(const StepBasic_ProductDefinition* product) {
        if (!done_.insert(product).second) return;
        const auto uses = uses_.find(product);
        if (uses == uses_.end()) return;
        for (const Use& use : uses->second) {
            const auto placement = placements_.find(use.get());
            if (placement != placements_.end() && !placement->second.IsNull())
                PlaceOne(use, *placement->second);
        }
    }

    void PlaceOne(const Use& use, const StepShape_ContextDependentShapeRepresentation& placement) {
        const auto relation = placement.RepresentationRelation();
        const Product one = OwnerOf(relation->Rep1()), other = OwnerOf(relation->Rep2());
        const bool usual =
            one == use->RelatedProductDefinition() && other == use->RelatingProductDefinition();
        const bool reversed =
            other == use->RelatedProductDefinition() && one == use->RelatingProductDefinition();
        const Product part = usual ? one : other;
        if (part.IsNull() || usual == reversed || process_->IsBound(use)) return;
        TopoDS_Shape shape = ShapeOf(part);
        gp_Trsf place;
        const bool moved = ComputePlace(relation, place);
        if (shape.IsNull() || (moved && !IsRigid(place))) return;
        if (moved && place.Form() != gp_Identity)
            shape.Move(TopLoc_Location(reversed ? place.Inverted() : place));
        process_->Bind(use, new TransferBRep_ShapeBinder(shape));
    }

    // As the library has it, which goes through the items of both representations, of the assembly as many as
    // it has uses, to see that the axes are among them.
    bool ComputePlace(const Handle(StepRepr_ShapeRepresentationRelationship) & relation, gp_Trsf& place) {
        const auto moved =
            Handle(StepRepr_ShapeRepresentationRelationshipWithTransformation)::DownCast(relation);
        const auto axes = moved.IsNull() ? Handle(StepRepr_ItemDefinedTransformation)()
                                         : moved->TransformationOperator().ItemDefinedTransformation();
        if (!axes.IsNull()) {
            const auto from = Handle(StepGeom_Axis2Placement3d)::DownCast(axes->TransformItem1());
            const auto to = Handle(StepGeom_Axis2Placement3d)::DownCast(axes->TransformItem2());
            const auto one = StandInFor(relation->Rep1(), from), other = StandInFor(relation->Rep2(), to);
            if (!one.IsNull() && !other.IsNull())
                return actor_->ComputeTransformation(from, to, one, other, process_, place);
        }
        return actor_->ComputeSRRWT(relation, process_, place);
    }

    // A representation in the same units that holds this item alone; null when the true one does not hold it.
    Handle(StepRepr_Representation) StandInFor(const Handle(StepRepr_Representation) & whole,
                                               const Handle(StepRepr_RepresentationItem) & item) {
        const auto [place, isNew] = contents_.try_emplace(whole.get());
        Contents& contents = place->second;
        if (isNew && !whole->Items().IsNull()) {
            for (const auto& one : *whole->Items()) contents.items.insert(one.get());
            contents.standIn = new StepRepr_Representation;
            contents.standIn->Init(whole->Name(), new StepRepr_HArray1OfRepresentationItem(1, 1),
                                   whole->ContextOfItems());
        }
        if (item.IsNull() || !contents.items.contains(item.get())) return {};
        contents.standIn->Items()->SetValue(1, item);
        return contents.standIn;
    }

    static bool IsRigid(const gp_Trsf& place) {
        return !place.IsNegative() && std::abs(place.ScaleFactor() - 1) <= TopLoc_Location::ScalePrec();
    }

    TopoDS_Shape ShapeOf(const Product& part) {
        Handle(Transfer_Binder) binder = process_->Find(part);
        if (binder.IsNull()) {
            PlaceBelow(part.get());
            binder = process_->Transferring(part, parts_->Next());
        }
        return TransferBRep::ShapeResult(binder);
    }

    struct Contents {
        std::unordered_set<const Standard_Transient*> items;
        Handle(StepRepr_Representation) standIn;
    };

    Handle(Interface_InterfaceModel) model_;
    Handle(Transfer_TransientProcess) process_;
    Handle(STEPControl_ActorRead) actor_;
    const Message_ProgressRange& progress_;
    Message_ProgressScope* parts_ = nullptr;  // a step for each part, while they are placed
    std::unordered_map<const StepBasic_ProductDefinition*, std::vector<Use>> uses_;  // by the assembly
    std::unordered_map<const Standard_Transient*, Placement> placements_;            // by the use
    std::unordered_map<const Standard_Transient*, Product> owners_;                  // of representations
    std::unordered_map<const Standard_Transient*, int> usesOf_;                      // representations
    std::unordered_map<const Standard_Transient*, Contents> contents_;               // of representations
    std::unordered_set<const StepBasic_ProductDefinition*> done_;
    int mostUses_ = 0;
};

}  // namespace

void PlaceInstances(const Handle(XSControl_WorkSession) & session, const Message_ProgressRange& progress) {
    session->TransferReader()->BeginTransfer();
    Placer(session, progress).Place();
}

}  // namespace morvex
