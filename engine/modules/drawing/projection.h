// A model seen from one side.
#pragma once

#include <functional>

#include "engine/modules/drawing/feature_edges.h"
#include "engine/modules/drawing/line_pieces.h"

namespace morvex {

// What the viewer sees as right and up, and the direction to him: unit vectors at right angles.
struct ViewAxes {
    Vector3d right, up, toViewer;
};

struct Projection {
    std::vector<Polyline> visible, hidden;  // in millimetres, right and up
};

// Sharp edges and outlines, each cut where it disappears behind the surface; what lies exactly behind a
// visible line is left out. `goOn` is asked again and again; when it says no the result is not complete.
Projection Project(const EdgedSurface& surface, const ViewAxes& axes, const std::function<bool()>& goOn);

}  // namespace morvex
