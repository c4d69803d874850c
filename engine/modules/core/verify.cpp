#include "engine/modules/core/verify.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <minizip/unzip.h>

#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/measure.h"
#include "engine/modules/core/prepare.h"
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

void Send(Journal& journal, const char* side, const Measures& measures) {
    const auto& [low, high] = measures.box;
    journal.Measure(side, "box", TextOf({low[0], low[1], low[2], high[0], high[1], high[2]}));
    journal.Measure(side, "area", TextOf({measures.area}));
    if (measures.volume) journal.Measure(side, "volume", TextOf({*measures.volume}));
    journal.Measure(side, "centre", TextOf({measures.centre[0], measures.centre[1], measures.centre[2]}));
}

std::optional<Measures> MeasuresFor(const JobContext& context, const Document& document) {
    if (context.settings.verify == kNothing) return std::nullopt;
    const auto measures = MeasureTriangles(document);
    return measures || context.settings.verify < kAll ? measures : MeasureSurfaces(document);
}

// Of a package of 3MF; empty when it cannot be read.
std::string UnpackedModel(const std::filesystem::path& file) {
    std::string model;
    const unzFile package = unzOpen64(file.c_str());
    if (package == nullptr) return model;
    unz_file_info64 info{};
    if (unzLocateFile(package, "3D/3dmodel.model", 1) == UNZ_OK &&
        unzGetCurrentFileInfo64(package, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK &&
        unzOpenCurrentFile(package) == UNZ_OK) {
        model.resize(info.uncompressed_size);
        std::size_t done = 0;
        for (int got = 1; got > 0 && done < model.size();
             done += static_cast<std::size_t>(std::max(got, 0))) {
            const std::size_t piece = std::min<std::size_t>(model.size() - done, 1u << 24);
            got = unzReadCurrentFile(package, model.data() + done, static_cast<unsigned>(piece));
        }
        model.resize(done);
    }
    unzClose(package);
    return model;
}

WrittenFacts Scan(const JobContext& context) {
    const FormatId format = context.request.to->id;
    if (format == FormatId::ThreeMf) return ScanWritten(format, UnpackedModel(context.file));
    return ScanWritten(format, InputBytes(context.file).View());
}

class Comparison {
  public:
    explicit Comparison(Journal& journal) : journal_(journal) {}

    // A format stores a part once, or once for each place.
    void Count(const char* what, std::optional<std::int64_t> written, std::int64_t once, std::int64_t placed,
               std::int64_t spare = 0) {
        if (!written) return;
        const std::int64_t least = std::min(once, placed), missing = least - *written;
        if (missing <= spare && *written <= std::max(once, placed)) return;
        Differ(what, std::to_string(*written), std::to_string(placed),
               missing > std::max(spare, least / 100));
    }

    void Number(const char* what, double written, double expected, double slack) {
        if (std::abs(written - expected) <= slack) return;
        Differ(what, TextOf({written}), TextOf({expected}), written < expected * 0.99);
    }

    // Rounded coordinates keep their place within `slack` millimetres.
    void Size(const Measures& written, const Measures& expected, double share) {
        const double diagonal = expected.box.Diagonal(), slack = share * diagonal;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double excess = std::max(std::abs(written.box.low[axis] - expected.box.low[axis]),
                                           std::abs(written.box.high[axis] - expected.box.high[axis]));
            if (excess > slack) Differ("box", "another one", "", excess > diagonal / 100);
        }
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

// Coordinates of binary mesh formats have 24 bits.
double RoundingOf(const Measures& measures) {
    double largest = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::abs(measures.box.low[axis]), std::abs(measures.box.high[axis])});
    const double diagonal = measures.box.Diagonal();
    return 1e-5 + (diagonal > 0 ? 1e-6 * largest / diagonal : 0);
}

void SendFacts(Journal& journal, const WrittenFacts& written) {
    const auto send = [&](const char* what, std::optional<std::int64_t> number) {
        if (number) journal.Count("written", what, *number);
    };
    send("solids", written.solids);
    send("faces", written.faces);
    send("triangles", written.triangles);
    send("free-edges", written.edges);
    send("colours", written.colours);
    if (written.geometry && written.geometry->Count() > 0)
        Send(journal, "written", MeasuresOf(*written.geometry));
}

void CompareScan(JobContext& context, const WrittenFacts& written, Comparison& comparison) {
    const ModelCounts placed = context.document.Count();
    const PartCounts once = CountParts(context.document);
    comparison.Count("solids", written.solids, once.solids, placed.solids);
    comparison.Count("faces", written.faces, once.faces, placed.faces);
    comparison.Count("triangles", written.triangles, once.triangles, placed.triangles,
                     placed.instances * once.collapsed);
    if (!written.geometry || written.geometry->Count() == 0) return;
    const Measures measures = MeasuresOf(*written.geometry);
    if (const auto expected = MeasureTriangles(context.document))
        comparison.Size(measures, *expected, RoundingOf(*expected));
}

// Reads the written file as if it were an input.
Outcome CompareReadBack(JobContext& context, LoadFunction* load, bool measured, Comparison& comparison) {
    const Format& format = *context.request.to;
    if (format.readModule == nullptr) return Outcome::Ok();
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
    if (format.writerNeeds != Needs::Triangles) {
        comparison.Count("solids read back", found.solids, expected.solids, expected.solids);
        comparison.Count("faces read back", found.faces, expected.faces, expected.faces);
    }
    if (format.id != FormatId::Stl && format.id != FormatId::Brep && found.colours < expected.colours)
        context.journal.Warn("The written file has " + std::to_string(found.colours) + " of " +
                             std::to_string(expected.colours) + " colours");
    const auto size = MeasuresFor(context, context.document), sizeFound = MeasuresFor(back, document);
    if (!size || !sizeFound) return Outcome::Ok();
    if (!measured) Send(context.journal, "written", *sizeFound);
    comparison.Size(*sizeFound, *size, 1e-3);
    return Outcome::Ok();
}

}  // namespace

void SendMeasures(const JobContext& context, const char* side) {
    if (const auto measures = MeasuresFor(context, context.document)) Send(context.journal, side, *measures);
}

Outcome VerifyWritten(JobContext& context, LoadFunction* load) {
    if (context.settings.verify == kNothing) return Outcome::Ok();
    Comparison comparison(context.journal);
    const WrittenFacts written = Scan(context);
    SendFacts(context.journal, written);
    CompareScan(context, written, comparison);
    if (context.settings.verify == kAll) {
        const Outcome outcome = CompareReadBack(context, load, written.geometry.has_value(), comparison);
        if (!outcome.IsOk()) return outcome;
    }
    if (comparison.Gone().empty()) return Outcome::Ok();
    return Outcome::Fail(ZEL_FAILED, "The written file lacks a part of the model: " + comparison.Gone());
}

}  // namespace morvex
