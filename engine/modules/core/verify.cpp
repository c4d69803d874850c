#include "engine/modules/core/verify.h"

#include <TDataStd_Name.hxx>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/measure.h"
#include "engine/modules/core/prepare.h"
#include "engine/modules/core/zip_access.h"
#include "engine/modules/scan/written_scan.h"

namespace morvex {
namespace {

enum { kNothing, kCounts, kAll };  // the values of VERIFY

std::string TextOf(std::initializer_list<double> numbers) {
    std::string text;
    for (const double number : numbers) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.9g", number);
        text += (text.empty() ? "" : " ") + std::string(digits);
    }
    return text;
}

std::string TextOf(const Extent& extent) {
    const auto& [low, high] = extent;
    return TextOf({low[0], low[1], low[2], high[0], high[1], high[2]});
}

void Send(Journal& journal, const char* side, const Measures& measures) {
    journal.Measure(side, "box", TextOf(measures.box));
    journal.Measure(side, "area", TextOf({measures.area}));
    if (measures.volume) journal.Measure(side, "volume", TextOf({*measures.volume}));
    journal.Measure(side, "centre", TextOf({measures.centre[0], measures.centre[1], measures.centre[2]}));
}

// Of the triangles as far as they are what gets written.
std::optional<Measures> MeasuresFor(const JobContext& context, const Document& document) {
    if (context.settings.verify == kNothing) return std::nullopt;
    const auto measures = MeasureTriangles(document, !context.request.to->WritesTriangles());
    return measures || context.settings.verify < kAll ? measures : MeasureSurfaces(document);
}

// Piece by piece, since the whole text would be the most that the conversion has in memory.
WrittenFacts Scan3mfPackage(const std::filesystem::path& package) {
    WrittenFacts sum;
    ReadZipMember(package, k3mfModel, [&sum](std::string_view lines) {
        const WrittenFacts piece = ScanWritten(FormatId::ThreeMf, lines, {});
        sum.triangles = sum.triangles.value_or(0) + piece.triangles.value_or(0);
        if (!piece.points) return;
        if (!sum.points) sum.points.emplace();
        sum.points->Add(piece.points->low);
        sum.points->Add(piece.points->high);
    });
    return sum;
}

WrittenFacts Scan(const JobContext& context) {
    const FormatId format = context.request.to->id;
    if (format == FormatId::ThreeMf) return Scan3mfPackage(context.file);
    std::filesystem::path side = context.file;
    std::error_code error;
    const bool sided = format == FormatId::Gltf && exists(side.replace_extension(".bin"), error);
    return ScanWritten(format, InputBytes(context.file).View(),
                       sided ? InputBytes(side).View() : std::string_view());
}

constexpr double kShare = 1e-5;  // of a model's size, which numbers in a file may be off

double LargestOf(const Extent& box) {
    double largest = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::abs(box.low[axis]), std::abs(box.high[axis])});
    return largest;
}

// Coordinates of binary mesh formats have 24 bits.
double SlackOf(const Extent& box, double share) {
    return share * box.Diagonal() + 1e-6 * LargestOf(box);
}

double Distance(const Extent& a, const Extent& b) {
    double distance = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        distance =
            std::max({distance, std::abs(a.low[axis] - b.low[axis]), std::abs(a.high[axis] - b.high[axis])});
    }
    return distance;
}

// So many may be missing without a word, and so many with a warning.
struct Tolerance {
    std::int64_t spare = 0, warned = 0;
};

class Comparison {
  public:
    explicit Comparison(Journal& journal) : journal_(journal) {}

    // A format stores a part once, or once for each place.
    void Count(const char* what, std::optional<std::int64_t> written, std::int64_t once, std::int64_t placed,
               Tolerance tolerance = {}) {
        if (!written) return;
        const std::int64_t least = std::min(once, placed), missing = least - *written;
        if (missing <= tolerance.spare && *written <= std::max(once, placed)) return;
        Differ(what, std::to_string(*written), std::to_string(placed),
               missing > std::max(tolerance.spare, tolerance.warned));
    }

    void Number(const char* what, double written, double expected, double slack) {
        if (std::abs(written - expected) <= slack) return;
        Differ(what, TextOf({written}), TextOf({expected}), written < expected * 0.99);
    }

    // Rounding moves points by a share of the whole.
    void Box(const Extent& written, const Extent& expected, double share) {
        const double diagonal = expected.Diagonal(), excess = Distance(written, expected);
        if (excess > SlackOf(expected, share))
            Differ("box", TextOf(written), TextOf(expected), excess > diagonal / 100);
    }

    // The corners of faces, which writers may leave out or add where a surface closes on itself. All are
    // there when there are as many as in the model.
    void Corners(const Extent& written, const CornerExtents& expected, bool all) {
        double least = 1e300;
        for (const Extent& one : {expected.inParts, expected.placed, expected.bare}) {
            Extent both = one;
            both.Add(written.low);
            both.Add(written.high);
            least = std::min(least, Distance(all ? written : both, one));
        }
        if (least > SlackOf(expected.placed, kShare))
            Differ("extent", TextOf(written), TextOf(expected.inParts), false);
    }

    // Rounded coordinates keep their place within a share of the model's size.
    void Size(const Measures& written, const Measures& expected, double share) {
        const double diagonal = expected.box.Diagonal();
        Box(written.box, expected.box, share);
        Number("area", written.area, expected.area, share * std::max(expected.area, diagonal * diagonal));
        if (written.volume && expected.volume)
            Number("volume", *written.volume, *expected.volume,
                   share * std::max(std::abs(*expected.volume), std::pow(diagonal, 3)));
    }

    const std::string& Gone() const { return gone_; }

  private:
    void Differ(const char* what, const std::string& written, const std::string& expected, bool gone) {
        const std::string text =
            std::string(what) + " " + written + (expected.empty() ? "" : " instead of " + expected);
        journal_.Warn("The written file differs from the model: " + text);
        if (gone) gone_ += (gone_.empty() ? "" : ", ") + text;
    }

    Journal& journal_;
    std::string gone_;
};

void SendFacts(Journal& journal, const WrittenFacts& written) {
    const auto send = [&](const char* what, std::optional<std::int64_t> number) {
        if (number) journal.Count("written", what, *number);
    };
    send("solids", written.solids);
    send("faces", written.faces);
    send("triangles", written.triangles);
    send("free-edges", written.edges);
    send("colours", written.colours);
    send("lines", written.lines);
    if (written.geometry && written.geometry->Count() > 0)
        Send(journal, "written", MeasuresOf(*written.geometry));
}

// Sends them as the box where no part is moved, else as the extent of what lies in the file.
void ComparePoints(JobContext& context, const std::optional<Measures>& size, const WrittenFacts& written,
                   Comparison& comparison) {
    Extent unmoved = ExtentOfTriangles(context.document);
    if (context.request.to->WritesTriangles()) {
        comparison.Box(*written.points, unmoved, kShare);
    } else if (const CornerExtents corners = SurveyCorners(context.document); corners.count > 0) {
        unmoved = {};  // surfaces reach farther than their corners
        // Formats differ in what they keep of curves without a face.
        if (context.document.Count().edges == 0)
            comparison.Corners(*written.points, corners, written.corners == corners.count);
    }
    const bool inPlace = size && size->box.low == unmoved.low && size->box.high == unmoved.high;
    context.journal.Measure("written", inPlace ? "box" : "extent", TextOf(*written.points));
}

void CompareScan(JobContext& context, const std::optional<Measures>& size, const WrittenFacts& written,
                 Comparison& comparison) {
    const ModelCounts placed = context.document.Count();
    const PartCounts once = CountParts(context.document);
    comparison.Count("solids", written.solids, once.solids, placed.solids);
    comparison.Count("faces", written.faces, once.faces, placed.faces, {0, once.faces / 100});
    // Writers leave out what has collapsed.
    const bool fewer = written.triangles && *written.triangles < std::min(once.triangles, placed.triangles);
    comparison.Count("triangles", written.triangles, once.triangles, placed.triangles,
                     {fewer ? CountCollapsed(context.document) : 0, once.triangles / 100});
    if (written.geometry && written.geometry->Count() > 0 && size)
        comparison.Size(MeasuresOf(*written.geometry), *size,
                        kShare + SlackOf(size->box, 0) / std::max(size->box.Diagonal(), 1e-300));
    if (written.points) ComparePoints(context, size, written, comparison);
    if (!written.box) return;
    context.journal.Measure("written", "box", TextOf(*written.box));
    if (size) comparison.Box(*written.box, size->box, kShare);
}

// Of parts and of what places them.
std::set<std::string> NamesOf(const Document& document) {
    std::set<std::string> names;
    const auto add = [&](const TDF_Label& label) {
        Handle(TDataStd_Name) name;
        if (label.FindAttribute(TDataStd_Name::GetID(), name))
            names.insert(TCollection_AsciiString(name->Get()).ToCString());
    };
    TDF_LabelSequence shapes;
    document.Shapes()->GetShapes(shapes);
    for (const TDF_Label& shape : shapes) {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(shape, components);
        add(shape);
        for (const TDF_Label& component : components) add(component);
    }
    return names;
}

void CompareNames(JobContext& context, const Document& found) {
    const std::set<std::string> expected = NamesOf(context.document), there = NamesOf(found);
    const auto missing =
        std::ranges::count_if(expected, [&](const std::string& name) { return !there.contains(name); });
    if (missing > 0)
        context.journal.Warn("The written file lacks " + std::to_string(missing) + " of " +
                             std::to_string(expected.size()) + " names");
}

bool KeepsNames(FormatId format) {
    return format == FormatId::Step || format == FormatId::Gltf || format == FormatId::Glb ||
           format == FormatId::Fbx;
}

bool ReadsAllColours(FormatId format) {
    return format != FormatId::Stl && format != FormatId::Brep;
}

// Reads the written file as if it were an input.
Outcome CompareReadBack(JobContext& context, const std::optional<Measures>& size, LoadFunction* load,
                        bool measured, Comparison& comparison) {
    const Format& format = *context.request.to;
    if (format.readModule == nullptr || format.IsDrawing()) return Outcome::Ok();
    Document document;
    Request request = context.request;
    request.from = &format;
    request.input = context.file;
    Journal silent([](std::string_view) {});
    JobContext back{request, context.settings, silent, document, context.file, {}};
    const auto read = reinterpret_cast<FormatFunction*>(load(format.readModule, format.readFunction));
    const Outcome outcome = read(back);
    if (!outcome.IsOk() || !silent.Losses().empty()) {
        return Outcome::Fail(ZEL_FAILED,
                             "The written file cannot be read back: " + outcome.reason + silent.Losses());
    }
    MaterialsToColours(document);
    const ModelCounts expected = context.document.Count(), found = document.Count();
    context.journal.Count("written", "parts", found.parts);
    context.journal.Count("written", "instances", found.instances);
    if (!format.WritesTriangles()) {
        comparison.Count("solids read back", found.solids, expected.solids, expected.solids);
        comparison.Count("faces read back", found.faces, expected.faces, expected.faces,
                         {0, expected.faces / 100});
    }
    if (ReadsAllColours(format.id) && found.colours < expected.colours)
        context.journal.Warn("The written file has " + std::to_string(found.colours) + " of " +
                             std::to_string(expected.colours) + " colours");
    if (KeepsNames(format.id)) CompareNames(context, document);
    const auto sizeFound = MeasuresFor(back, document);
    if (!size || !sizeFound) return Outcome::Ok();
    if (!measured) Send(context.journal, "written", *sizeFound);
    comparison.Size(*sizeFound, *size, 1e-3);
    return Outcome::Ok();
}

}  // namespace

std::optional<Measures> SendMeasures(const JobContext& context) {
    const auto measures = MeasuresFor(context, context.document);
    if (measures) Send(context.journal, "read", *measures);
    return measures;
}

Outcome VerifyWritten(JobContext& context, const std::optional<Measures>& size, LoadFunction* load) {
    if (context.settings.verify == kNothing) return Outcome::Ok();
    Comparison comparison(context.journal);
    const WrittenFacts written = Scan(context);
    SendFacts(context.journal, written);
    CompareScan(context, size, written, comparison);
    if (context.settings.verify == kAll) {
        Outcome outcome = CompareReadBack(context, size, load, written.geometry.has_value(), comparison);
        if (!outcome.IsOk()) return outcome;
    }
    if (comparison.Gone().empty()) return Outcome::Ok();
    return Outcome::Fail(ZEL_FAILED, "The written file lacks a part of the model: " + comparison.Gone());
}

}  // namespace morvex
