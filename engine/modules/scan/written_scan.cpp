#include "engine/modules/scan/written_scan.h"

#include <cstdint>
#include <set>

#include "engine/modules/scan/brep_scan.h"
#include "engine/modules/scan/drawing_scan.h"
#include "engine/modules/scan/iges_scan.h"
#include "engine/modules/scan/number_reader.h"
#include "engine/modules/scan/step_scan.h"
#include "engine/modules/scan/written_mesh_scan.h"

namespace morvex {
namespace {

using std::string_view;

class CornerList {
  public:
    void Add(const Point& point) {
        extent_.Add(point);
        ++count_;
    }
    bool IsEmpty() const { return count_ == 0; }
    void Tell(WrittenFacts& facts) const {
        if (count_ == 0) return;
        facts.points = extent_;
        facts.corners = count_;
    }

  private:
    Extent extent_;
    std::int64_t count_ = 0;
};

Point PointOf(const StepScan& file, const StepInstance& vertex) {
    const std::size_t at = vertex.values.rfind('#');
    const StepInstance* const point =
        at == string_view::npos ? nullptr : file.Find(StepReference(vertex.values.substr(at)));
    const std::size_t list = point == nullptr ? string_view::npos : point->values.rfind('(');
    Point numbers{};
    if (list != string_view::npos) NumberReader(point->values.substr(list)).Read(numbers);
    return numbers;
}

WrittenFacts ScanStep(string_view text) {
    WrittenFacts facts;
    std::int64_t solids = 0, faces = 0, edges = 0;
    std::set<string_view> colours;
    CornerList corners;
    const StepScan scan(text);
    for (const StepInstance& instance : scan.Instances()) {
        const string_view type = instance.type;
        faces += type == "ADVANCED_FACE" || type == "FACE_SURFACE";
        solids += type == "MANIFOLD_SOLID_BREP" || type == "BREP_WITH_VOIDS" || type == "FACETED_BREP";
        if (type == "GEOMETRIC_CURVE_SET" || type == "GEOMETRIC_SET")
            edges += static_cast<std::int64_t>(StepReferences(instance.values).size());
        if (type == "VERTEX_POINT") corners.Add(PointOf(scan, instance));
        if (type == "COLOUR_RGB" || type == "DRAUGHTING_PRE_DEFINED_COLOUR") colours.insert(instance.values);
    }
    facts.solids = solids, facts.faces = faces, facts.edges = edges;
    facts.colours = static_cast<std::int64_t>(colours.size());
    corners.Tell(facts);
    return facts;
}

WrittenFacts ScanIges(string_view text) {
    constexpr int kVertexList = 502;
    const IgesScan scan(text);
    WrittenFacts facts;
    facts.solids = scan.Count(186);
    facts.faces = scan.Count(143) + scan.Count(144) + scan.Count(510);
    CornerList corners;
    for (const std::string& list : IgesParameters(text, kVertexList)) {
        NumberReader reader(list);
        Point point{};
        double number = 0;
        // The type and the number of vertices come first.
        if (reader.Read(number) && reader.Read(number))
            while (reader.Read(point)) corners.Add(point);
    }
    corners.Tell(facts);
    return facts;
}

// Each vertex is a line "Ve", its tolerance, and its point; without any, the shape is made of triangles.
CornerList CornersOfBrep(string_view text) {
    CornerList corners;
    Point point{};
    constexpr string_view kVertex = "\nVe\n", kMeshes = "\nTriangulations ";
    for (std::size_t at = 0; (at = text.find(kVertex, at)) != string_view::npos;) {
        at += kVertex.size();
        NumberReader reader(text.substr(at, text.find('*', at) - at));
        double tolerance = 0;
        if (reader.Read(tolerance) && reader.Read(point)) corners.Add(point);
    }
    const std::size_t meshes = text.find(kMeshes);
    if (!corners.IsEmpty() || meshes == string_view::npos) return corners;
    NumberReader reader(text.substr(meshes + kMeshes.size()));
    double count = 0, nodes = 0, triangles = 0, texture = 0, normals = 0, deflection = 0;
    reader.Read(count);
    for (auto left = static_cast<std::int64_t>(count); left > 0 && reader.Read(nodes); --left) {
        for (double* const number : {&triangles, &texture, &normals, &deflection}) reader.Read(*number);
        for (auto node = static_cast<std::int64_t>(nodes); node > 0 && reader.Read(point); --node)
            corners.Add(point);
        reader.Skip(nodes * (2 * texture + 3 * normals) + 3 * triangles);
    }
    return corners;
}

WrittenFacts ScanBrep(string_view text) {
    const BrepScan scan(text);
    WrittenFacts facts;
    facts.solids = scan.solids, facts.faces = scan.faces;
    CornersOfBrep(text).Tell(facts);
    return facts;
}

// Each part is an element that says what is in it, and stands once.
WrittenFacts ScanPartsList(string_view text) {
    WrittenFacts facts;
    std::int64_t solids = 0, faces = 0, triangles = 0;
    std::set<string_view> colours;
    constexpr string_view kPart = "\n <part ";
    for (std::size_t at = 0; (at = text.find(kPart, at)) != string_view::npos; ++at) {
        string_view part = text.substr(at, text.find('>', at) - at);
        const auto add = [&](string_view key, std::int64_t& sum) {
            double number = 0;
            const std::size_t place = part.find(key);
            if (place != string_view::npos && NumberReader(part.substr(place + key.size())).Read(number))
                sum += static_cast<std::int64_t>(number);
        };
        add(" solids=\"", solids), add(" faces=\"", faces), add(" triangles=\"", triangles);
    }
    for (std::size_t at = 0; (at = text.find("=\"#", at)) != string_view::npos; at += 3)
        colours.insert(text.substr(at, 12));
    facts.solids = solids, facts.faces = faces, facts.triangles = triangles;
    facts.colours = static_cast<std::int64_t>(colours.size());
    return facts;
}

}  // namespace

WrittenFacts ScanWritten(FormatId format, string_view bytes, string_view side) {
    switch (format) {
        case FormatId::Step:
            return ScanStep(bytes);
        case FormatId::Iges:
            return ScanIges(bytes);
        case FormatId::Brep:
            return ScanBrep(bytes);
        case FormatId::PartsList:
            return ScanPartsList(bytes);
        case FormatId::DxfDrawing:
        case FormatId::PdfDrawing:
        case FormatId::EmfDrawing:
            return ScanDrawing(format, bytes);
        default:
            return ScanWrittenMesh(format, bytes, side);
    }
}

}  // namespace morvex
