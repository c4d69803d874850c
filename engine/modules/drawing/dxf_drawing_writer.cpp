// DXF: the drawing at the size of the model, each view a block whose coordinates are the model's. What is on
// the sheet is as much larger as the scale is smaller.
#include "engine/modules/drawing/sheet.h"
#include "engine/modules/scene/dxf_file.h"

namespace morvex {
namespace {

constexpr char kLayers[][8] = {"VISIBLE", "HIDDEN", "FRAME"};

void WriteLine(DxfFile& file, const Polyline& line, Pen pen, double factor) {
    file.Entity("LWPOLYLINE", kLayers[static_cast<int>(pen)], "AcDbPolyline");
    file.Group(90, static_cast<int>(line.size())).Group(70, 0);
    for (const Point2d& point : line) file.Group(10, point[0] * factor).Group(20, point[1] * factor);
}

}  // namespace

extern "C" Outcome WriteDxfDrawing(JobContext& context) {
    Sheet sheet;
    Outcome outcome = DrawSheet(context, sheet);
    if (!outcome.IsOk()) return outcome;
    const double factor = 1 / sheet.scale;
    std::vector<DxfLayer> layers;
    for (const Pen pen : {Pen::Visible, Pen::Hidden, Pen::Frame}) {
        const auto number = static_cast<std::size_t>(pen);
        layers.push_back(
            {kLayers[number], -1, pen == Pen::Hidden, static_cast<int>(kPenWidths[number] * 100)});
    }
    std::vector<std::string> names;
    for (const SheetView& view : sheet.views) names.emplace_back(view.name);
    DxfFile file(context.file, context.settings.decimals);
    file.Begin(layers, names, factor);
    for (const SheetView& view : sheet.views) {
        file.Block([&] {
            for (const Polyline& line : view.lines.hidden) WriteLine(file, line, Pen::Hidden, 1);
            for (const Polyline& line : view.lines.visible) WriteLine(file, line, Pen::Visible, 1);
        });
    }
    file.BeginEntities();
    for (const SheetView& view : sheet.views) {
        file.Entity("INSERT", "0", "AcDbBlockReference").Group(2, view.name);
        file.Point(10, view.origin[0] * factor, view.origin[1] * factor, 0);
    }
    for (const Polyline& line : sheet.frame) WriteLine(file, line, Pen::Frame, factor);
    for (const SheetText& text : sheet.texts) {
        file.Entity("TEXT", kLayers[static_cast<int>(Pen::Frame)], "AcDbText");
        file.Point(10, text.at[0] * factor, text.at[1] * factor, 0).Group(40, text.height * factor);
        file.Group(1, text.text).Group(100, "AcDbText");
    }
    return Written(file.End());
}

}  // namespace morvex
