#include "engine/modules/scan/written_scan.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <vector>

#include "engine/modules/scan/brep_scan.h"
#include "engine/modules/scan/iges_scan.h"
#include "engine/modules/scan/step_scan.h"
#include "engine/modules/scan/stl_scan.h"

namespace morvex {
namespace {

using std::string_view;

std::int64_t CountOf(string_view text, string_view what) {
    std::int64_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != string_view::npos; at += what.size()) ++count;
    return count;
}

std::int64_t NumberAt(string_view text, std::size_t at) {
    std::int64_t number = 0;
    if (at < text.size()) std::from_chars(text.data() + at, text.data() + text.size(), number);
    return number;
}

// The sum of the numbers that stand behind each `label`.
std::int64_t SumOf(string_view text, string_view label) {
    std::int64_t sum = 0;
    for (std::size_t at = 0; (at = text.find(label, at)) != string_view::npos;) {
        at += label.size();
        sum += NumberAt(text, at);
    }
    return sum;
}

WrittenFacts ScanStep(string_view text) {
    WrittenFacts facts;
    std::int64_t solids = 0, faces = 0, edges = 0;
    std::set<string_view> colours;
    const StepScan scan(text);
    for (const StepInstance& instance : scan.Instances()) {
        const string_view type = instance.type;
        faces += type == "ADVANCED_FACE" || type == "FACE_SURFACE";
        solids += type == "MANIFOLD_SOLID_BREP" || type == "BREP_WITH_VOIDS" || type == "FACETED_BREP";
        if (type == "GEOMETRIC_CURVE_SET" || type == "GEOMETRIC_SET")
            edges += static_cast<std::int64_t>(StepReferences(instance.values).size());
        if (type == "COLOUR_RGB" || type == "DRAUGHTING_PRE_DEFINED_COLOUR") colours.insert(instance.values);
    }
    facts.solids = solids, facts.faces = faces, facts.edges = edges;
    facts.colours = static_cast<std::int64_t>(colours.size());
    return facts;
}

WrittenFacts ScanIges(string_view text) {
    const IgesScan scan(text);
    WrittenFacts facts;
    facts.solids = scan.Count(186);
    facts.faces = scan.Count(143) + scan.Count(144) + scan.Count(510);
    return facts;
}

WrittenFacts ScanBrep(string_view text) {
    const BrepScan scan(text);
    WrittenFacts facts;
    facts.solids = scan.solids, facts.faces = scan.faces;
    return facts;
}

class MomentsSink : public StlSink {
  public:
    void BeginSolid(string_view) override {}
    void AddFacet(const StlPoint& a, const StlPoint& b, const StlPoint& c) override { moments.Add(a, b, c); }
    TriangleMoments moments;
};

WrittenFacts OfTriangles(const TriangleMoments& moments) {
    WrittenFacts facts;
    facts.triangles = moments.Count();
    facts.geometry = moments;
    return facts;
}

WrittenFacts ScanStlFile(string_view bytes) {
    MomentsSink sink;
    ScanStl(bytes, sink);
    return OfTriangles(sink.moments);
}

WrittenFacts ScanObj(string_view text) {
    std::vector<Point> points;
    TriangleMoments moments;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const bool vertex = line.starts_with("v "), face = line.starts_with("f ");
        if (!vertex && !face) continue;
        Point numbers{};
        for (double& number : numbers) {
            line.remove_prefix(std::min(line.size(), line.find(' ')));
            line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
            std::from_chars(line.data(), line.data() + line.size(), number);
        }
        if (vertex) {
            points.push_back(numbers);
            continue;
        }
        const auto corner = [&](double number) {
            const auto at = static_cast<std::size_t>(number) - 1;
            return at < points.size() ? points[at] : Point{};
        };
        moments.Add(corner(numbers[0]), corner(numbers[1]), corner(numbers[2]));
    }
    return OfTriangles(moments);
}

// All single numbers of a model are corners of triangles.
WrittenFacts ScanGltf(string_view text) {
    if (text.starts_with("glTF")) text = text.substr(20);
    WrittenFacts facts;
    std::int64_t corners = 0;
    constexpr string_view kScalar = "\"type\":\"SCALAR\"", kCount = "\"count\":";
    for (std::size_t at = 0; (at = text.find(kScalar, at)) != string_view::npos; ++at)
        corners += NumberAt(text, text.rfind(kCount, at) + kCount.size());
    facts.triangles = corners / 3;
    return facts;
}

// Arrays of whole numbers are stored with their lengths, the corners of polygons among them.
WrittenFacts ScanFbx(string_view bytes) {
    constexpr string_view kCorners = "PolygonVertexIndexi";
    std::int64_t corners = 0;
    for (std::size_t at = 0; (at = bytes.find(kCorners, at)) != string_view::npos;) {
        at += kCorners.size();
        std::uint32_t length = 0;
        if (at + sizeof length <= bytes.size()) std::memcpy(&length, bytes.data() + at, sizeof length);
        corners += length;
    }
    WrittenFacts facts;
    facts.triangles = corners / 3;
    return facts;
}

WrittenFacts OfCount(std::int64_t triangles) {
    WrittenFacts facts;
    facts.triangles = triangles;
    return facts;
}

}  // namespace

WrittenFacts ScanWritten(FormatId format, string_view bytes) {
    switch (format) {
        case FormatId::Step:
            return ScanStep(bytes);
        case FormatId::Iges:
            return ScanIges(bytes);
        case FormatId::Brep:
            return ScanBrep(bytes);
        case FormatId::Stl:
            return ScanStlFile(bytes);
        case FormatId::Obj:
            return ScanObj(bytes);
        case FormatId::Gltf:
        case FormatId::Glb:
            return ScanGltf(bytes);
        case FormatId::Fbx:
            return ScanFbx(bytes);
        case FormatId::Vrml:
            return OfCount(CountOf(bytes, " -1\n"));
        case FormatId::Collada:
            return OfCount(SumOf(bytes, "<triangles count=\""));
        case FormatId::ThreeMf:
            return OfCount(CountOf(bytes, "<triangle v1="));
        default:
            return {};
    }
}

}  // namespace morvex
