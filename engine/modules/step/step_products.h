// The products of a STEP file, their representations and places, by its text.
#pragma once

#include <gp_Trsf.hxx>
#include <map>
#include <vector>

#include "engine/modules/scan/step_scan.h"

namespace morvex {

class StepProducts {
  public:
    explicit StepProducts(const StepScan& file);

    // The definition of the product that a representation shows; 0 when it shows none.
    StepId OwnerOf(StepId representation) const;
    std::string NameOf(StepId definition) const;
    // Where it stands in the whole: once for each way there from a product that is no part of another.
    struct PlaceList {
        std::vector<gp_Trsf> places;
        bool whole = true;  // false when it stops at a limit of number or depth
    };
    PlaceList PlacesOf(StepId definition) const;

  private:
    struct Use {
        StepId whole;
        gp_Trsf place;
    };
    void TakeOwner(const StepInstance& definitionRepresentation);
    void TakePlacement(const StepInstance& placement);
    gp_Trsf Frame(StepId axes, double unit) const;
    const StepInstance* Referred(std::string_view value) const { return file_.Find(StepReference(value)); }
    void AddPlaces(StepId definition, const gp_Trsf& below, PlaceList& list, int depth) const;

    const StepScan& file_;
    std::map<StepId, StepId> owners_;  // of representations
    std::multimap<StepId, Use> uses_;  // by the definition of the part
};

}  // namespace morvex
