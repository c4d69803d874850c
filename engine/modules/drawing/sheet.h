// The drawing of a model: a sheet with its views, whatever the format.
#pragma once

#include <string>
#include <vector>

#include "engine/modules/core/context.h"
#include "engine/modules/drawing/projection.h"

namespace morvex {

enum class Pen { Visible, Hidden, Frame };
constexpr double kPenWidths[] = {0.35, 0.18, 0.25};  // millimetres, by Pen
constexpr double kDash = 3, kDashGap = 1.5;          // of hidden lines, millimetres

struct SheetView {
    const char* name;
    Projection lines;  // in millimetres of the model
    Point2d origin{};  // where its zero lies on the sheet, in millimetres
    Point2d low{1e300, 1e300}, high{-1e300, -1e300};

    double Width() const { return high[0] - low[0]; }
    double Height() const { return high[1] - low[1]; }
};

struct SheetText {
    std::string text;  // UTF-8
    Point2d at;        // its left end on the base line
    double height;     // of capitals, millimetres
};

// An A3 sheet on its long side. Its origin is below and left.
struct Sheet {
    static constexpr double kWidth = 420, kHeight = 297;
    double scale = 1;  // millimetres of the sheet to one of the model
    std::vector<SheetView> views;
    std::vector<Polyline> frame;
    std::vector<SheetText> texts;
};

// Front, top, right (third angle: the top view stands above, the right one to the right) and axonometric
// view. The scale is the largest usual one at which they fit.
Outcome DrawSheet(JobContext& context, Sheet& sheet);

}  // namespace morvex
