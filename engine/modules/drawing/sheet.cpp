#include "engine/modules/drawing/sheet.h"

#include <Message_ProgressScope.hxx>
#include <algorithm>
#include <charconv>
#include <cmath>

#include "engine/common/paths.h"
#include "engine/common/text.h"

namespace morvex {
namespace {

constexpr double kMargin = 10, kGap = 15, kTitleWidth = 150, kTitleHeight = 24;

enum { kFront, kTop, kRight, kAxonometric };

std::vector<std::pair<const char*, ViewAxes>> Views() {
    const double a = std::sqrt(1.0 / 2), b = std::sqrt(1.0 / 6), c = std::sqrt(1.0 / 3);
    return {{"FRONT", {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}},
            {"TOP", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
            {"RIGHT", {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}},
            {"AXONOMETRIC", {{a, a, 0}, {-b, b, 2 * b}, {c, -c, c}}}};
}

void Measure(SheetView& view) {
    for (const auto* lines : {&view.lines.visible, &view.lines.hidden}) {
        for (const Polyline& line : *lines) {
            for (const Point2d& point : line) {
                for (std::size_t axis = 0; axis < 2; ++axis) {
                    view.low[axis] = std::min(view.low[axis], point[axis]);
                    view.high[axis] = std::max(view.high[axis], point[axis]);
                }
            }
        }
    }
}

// The largest of 1, 2 and 5 times a power of ten that is not above.
double UsualScale(double most) {
    const double power = std::pow(10, std::floor(std::log10(most)));
    for (const double step : {5.0, 2.0})
        if (step * power <= most) return step * power;
    return power;
}

std::string ScaleText(double scale) {
    char digits[64];
    const double number = scale < 1 ? 1 / scale : scale;
    // Of a power of ten only the first digit counts.
    const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 6).ptr;
    const std::string text(digits, end);
    return scale < 1 ? "1:" + text : text + ":1";
}

Polyline Rectangle(double left, double bottom, double right, double top) {
    return {{left, bottom}, {right, bottom}, {right, top}, {left, top}, {left, bottom}};
}

class Layout {
  public:
    explicit Layout(Sheet& sheet) : sheet_(sheet), views_(sheet.views) {}

    void Arrange() {
        const double columns[] = {views_[kFront].Width(),
                                  std::max(views_[kRight].Width(), views_[kAxonometric].Width())},
                     rows[] = {views_[kFront].Height(),
                               std::max(views_[kTop].Height(), views_[kAxonometric].Height())};
        const double width = Sheet::kWidth - 2 * kMargin,
                     height = Sheet::kHeight - 2 * kMargin - kTitleHeight,
                     across = std::max(columns[0] + columns[1], 1e-300),
                     upward = std::max(rows[0] + rows[1], 1e-300);
        sheet_.scale = UsualScale(std::min((width - 3 * kGap) / across, (height - 3 * kGap) / upward));
        const double gapX = (width - sheet_.scale * across) / 3, gapY = (height - sheet_.scale * upward) / 3;
        const double left = kMargin + gapX, right = left + sheet_.scale * columns[0] + gapX,
                     bottom = kMargin + kTitleHeight + gapY, top = bottom + sheet_.scale * rows[0] + gapY;
        Place(kFront, left, bottom);
        Place(kTop, left, top);
        Place(kRight, right, bottom);
        Place(kAxonometric, right, top);
    }

    void Label(const std::string& name) {
        const double right = Sheet::kWidth - kMargin, left = right - kTitleWidth, line = kMargin + 9;
        sheet_.frame = {Rectangle(kMargin, kMargin, right, Sheet::kHeight - kMargin),
                        Rectangle(left, kMargin, right, kMargin + kTitleHeight),
                        {{left, line}, {right, line}},
                        {{left + 50, kMargin}, {left + 50, line}},
                        {{left + 100, kMargin}, {left + 100, line}}};
        sheet_.texts.push_back({name, {left + 3, kMargin + 14}, 5});
        sheet_.texts.push_back({"Scale " + ScaleText(sheet_.scale), {left + 3, kMargin + 3}, 3.5});
        sheet_.texts.push_back({"A3, millimetres", {left + 53, kMargin + 3}, 3.5});
        sheet_.texts.push_back({"Third angle", {left + 103, kMargin + 3}, 3.5});
    }

  private:
    void Place(std::size_t number, double left, double bottom) {
        SheetView& view = views_[number];
        view.origin = {left - sheet_.scale * view.low[0], bottom - sheet_.scale * view.low[1]};
        sheet_.texts.push_back({view.name, {left, bottom - 6}, 2.5});
    }

    Sheet& sheet_;
    std::vector<SheetView>& views_;
};

// As much of a name as the title has room for.
std::string Shortened(const std::string& name) {
    constexpr std::size_t kMost = 36;
    std::string text;
    std::string_view rest = name;
    for (std::size_t count = 0; !rest.empty(); ++count) {
        if (count == kMost) return text + "...";
        const char32_t character = TakeCharacter(rest);
        AppendUtf8(text, character < U' ' ? U' ' : character);
    }
    return text;
}

constexpr std::size_t kMostTriangles = 10'000'000;

}  // namespace

Outcome DrawSheet(JobContext& context, Sheet& sheet) {
    const ModelCounts counts = context.document.Count();
    if (static_cast<std::size_t>(counts.triangles) > kMostTriangles) {
        return Outcome::Fail(ZEL_FAILED, "The model has too many triangles for a drawing (" +
                                             std::to_string(counts.triangles) + ")");
    }
    const EdgedSurface surface = FindEdges(context.document.WholeShape());
    const auto views = Views();
    const auto edges = static_cast<double>(surface.edges.size());
    Message_ProgressScope whole(context.progress, nullptr, static_cast<double>(views.size()));
    for (const auto& [name, axes] : views) {
        Message_ProgressScope part(whole.Next(), nullptr, std::max(edges / 256, 1.0));
        SheetView view{name, Project(surface, axes, [&] {
                           part.Next();
                           return !part.UserBreak();
                       })};
        Measure(view);
        sheet.views.push_back(std::move(view));
    }
    // Dashes behind dashes are of no help in a view that shows three sides.
    sheet.views[kAxonometric].lines.hidden.clear();
    if (!(sheet.views[kFront].low[0] <= sheet.views[kFront].high[0]))
        return Outcome::Fail(ZEL_EMPTY, "There is no edge to draw");
    Layout layout(sheet);
    layout.Arrange();
    layout.Label(Shortened(CleanUtf8(Utf8(context.request.input.stem()))));
    return Outcome::Ok();
}

}  // namespace morvex
