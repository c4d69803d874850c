// Affine maps, of which the locations of a document can hold the rigid part only.
#pragma once

#include <Poly_Triangulation.hxx>
#include <gp_GTrsf.hxx>
#include <gp_Trsf.hxx>

namespace morvex {

// map = rigid * rest. The rest (scale, shear, mirroring) has to go into the points themselves.
struct AffineSplit {
    gp_Trsf rigid;
    gp_GTrsf rest;
    bool restIsIdentity = true;
};

// A map that flattens space to a plane or less, or is no number, has everything in its rest.
AffineSplit SplitAffine(const gp_GTrsf& map);

// A copy with the map applied; triangles stay counter-clockwise from outside, normals outward.
Handle(Poly_Triangulation) Transformed(const Handle(Poly_Triangulation) & mesh, const gp_GTrsf& map);

}  // namespace morvex
