#include "engine/modules/scan/written_mesh_scan.h"

#include <algorithm>
#include <cstring>
#include <vector>
#include <zlib.h>

#include "engine/modules/scan/number_reader.h"
#include "engine/modules/scan/stl_scan.h"

namespace morvex {
namespace {

using std::string_view;

// Calls `take` with the text behind each `label`, and goes on there.
template <class Take>
void ForEach(string_view text, string_view label, Take take) {
    for (std::size_t at = 0; (at = text.find(label, at)) != string_view::npos;) {
        at += label.size();
        take(text.substr(at));
    }
}

std::int64_t CountOf(string_view text, string_view what) {
    std::int64_t count = 0;
    ForEach(text, what, [&](string_view) { ++count; });
    return count;
}

std::size_t NumberIn(string_view text) {
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// The sum of the numbers that stand behind each `label`.
std::int64_t SumOf(string_view text, string_view label) {
    std::size_t sum = 0;
    ForEach(text, label, [&](string_view rest) { sum += NumberIn(rest); });
    return static_cast<std::int64_t>(sum);
}

// The points in the lists that begin behind `label` (and, where a tag does, behind that) and end before
// `end`.
Extent PointsIn(string_view text, string_view label, char end) {
    Extent points;
    Point point{};
    ForEach(text, label, [&](string_view rest) {
        rest = rest.substr(0, rest.find(end));
        NumberReader reader(rest.substr(rest.find('>') + 1));
        while (reader.Read(point)) points.Add(point);
    });
    return points;
}

WrittenFacts OfTriangles(std::int64_t triangles, const Extent& points) {
    WrittenFacts facts;
    facts.triangles = triangles;
    if (!points.IsVoid()) facts.points = points;
    return facts;
}

WrittenFacts OfPlaced(const TriangleMoments& moments) {
    WrittenFacts facts;
    facts.triangles = moments.Count();
    facts.geometry = moments;
    return facts;
}

class MomentsSink : public StlSink {
  public:
    void BeginSolid(string_view) override {}
    void AddFacet(const StlPoint& a, const StlPoint& b, const StlPoint& c) override { moments.Add(a, b, c); }
    TriangleMoments moments;
};

WrittenFacts ScanStlFile(string_view bytes) {
    MomentsSink sink;
    ScanStl(bytes, sink);
    return OfPlaced(sink.moments);
}

// The first of the numbers of a corner, "point/texture/normal", is the point's.
WrittenFacts ScanObj(string_view text) {
    std::vector<Point> points;
    TriangleMoments moments;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        Point point{};
        if (line.starts_with("v ")) {
            NumberReader(line).Read(point);
            points.push_back(point);
        } else if (line.starts_with("f ")) {
            std::array<Point, 3> corners{};
            for (Point& corner : corners) {
                line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
                std::size_t number = 0;
                for (; !line.empty() && line.front() >= '0' && line.front() <= '9'; line.remove_prefix(1))
                    number = number * 10 + static_cast<std::size_t>(line.front() - '0');
                if (number > 0 && number <= points.size()) corner = points[number - 1];
            }
            moments.Add(corners[0], corners[1], corners[2]);
        }
    }
    return OfPlaced(moments);
}

// Of metres, Y up. An accessor of points, the only ones with limits, has a view of its own.
Extent PointsOfGltf(string_view json, string_view buffer) {
    constexpr string_view kOffset = "{\"buffer\":0,\"byteOffset\":", kLength = "\"byteLength\":";
    std::vector<string_view> views;
    ForEach(json, kOffset, [&](string_view rest) {
        const std::size_t offset = std::min(NumberIn(rest), buffer.size());
        const std::size_t length = NumberIn(rest.substr(rest.find(kLength) + kLength.size()));
        views.push_back(buffer.substr(offset, length));
    });
    Extent points;
    ForEach(json, "{\"bufferView\":", [&](string_view rest) {
        const std::size_t view = NumberIn(rest);
        if (rest.substr(0, rest.find('}')).find("\"min\"") == string_view::npos || view >= views.size())
            return;
        std::array<float, 3> point;
        for (string_view list = views[view]; list.size() >= sizeof point; list.remove_prefix(sizeof point)) {
            constexpr double kMillimetres = 1000;
            std::memcpy(point.data(), list.data(), sizeof point);
            points.Add({static_cast<double>(point[0]) * kMillimetres,
                        static_cast<double>(-point[2]) * kMillimetres,
                        static_cast<double>(point[1]) * kMillimetres});
        }
    });
    return points;
}

// All single numbers of a model are corners of triangles.
WrittenFacts ScanGltf(string_view text, string_view side) {
    constexpr std::size_t kHeader = 20, kLengthAt = 12, kChunkHeader = 8;
    if (text.starts_with("glTF") && text.size() > kHeader) {
        std::uint32_t length = 0;
        std::memcpy(&length, text.data() + kLengthAt, sizeof length);
        text.remove_prefix(kHeader);
        side = text.substr(std::min<std::size_t>(length + kChunkHeader, text.size()));
        text = text.substr(0, length);
    }
    std::size_t corners = 0;
    constexpr string_view kScalar = "\"type\":\"SCALAR\"", kCount = "\"count\":";
    for (std::size_t at = 0; (at = text.find(kScalar, at)) != string_view::npos; ++at)
        corners += NumberIn(text.substr(text.rfind(kCount, at) + kCount.size()));
    return OfTriangles(static_cast<std::int64_t>(corners / 3), PointsOfGltf(text, side));
}

// Arrays are stored with the number of values, 1 for packed ones, and the size they then have.
struct FbxArray {
    std::uint32_t count, packed, size;
};

// The points of an array, whose head is `head`; none when it cannot be unpacked.
std::vector<Point> PointsOfFbx(const FbxArray& head, string_view contents) {
    std::vector<Point> points(head.count / 3);
    auto size = static_cast<uLongf>(points.size() * sizeof(Point));  // of 32 bits on Windows
    contents = contents.substr(0, head.packed != 0 ? head.size : size);
    bool done = contents.size() == size;
    if (head.packed != 0) {
        done = uncompress(reinterpret_cast<Bytef*>(points.data()), &size,
                          reinterpret_cast<const Bytef*>(contents.data()),
                          static_cast<uLong>(contents.size())) == Z_OK;
    } else if (done) {
        std::memcpy(points.data(), contents.data(), size);
    }
    if (!done) points.clear();
    return points;
}

WrittenFacts ScanFbx(string_view bytes) {
    constexpr std::size_t kMostGain = 200;  // numbers that packing makes a byte of
    const auto headOf = [](string_view array) {
        FbxArray head{};
        if (array.size() >= sizeof head) std::memcpy(&head, array.data(), sizeof head);
        return head;
    };
    std::size_t corners = 0;
    ForEach(bytes, "PolygonVertexIndexi", [&](string_view rest) { corners += headOf(rest).count; });
    Extent points;
    ForEach(bytes, "\x08Verticesd", [&](string_view rest) {
        const FbxArray head = headOf(rest);
        if (head.count > bytes.size() * kMostGain) return;
        for (const Point& point : PointsOfFbx(head, rest.substr(std::min(sizeof head, rest.size()))))
            points.Add(point);
    });
    return OfTriangles(static_cast<std::int64_t>(corners / 3), points);
}

WrittenFacts Scan3mf(string_view text) {
    Extent points;
    Point point{};
    ForEach(text, "<vertex ", [&](string_view rest) {
        if (NumberReader(rest.substr(0, rest.find('/'))).Read(point)) points.Add(point);
    });
    return OfTriangles(CountOf(text, "<triangle v1="), points);
}

// Each triangle is a line of the list of corners.
WrittenFacts ScanVrml(string_view text) {
    std::int64_t triangles = 0;
    ForEach(text, "coordIndex [",
            [&](string_view rest) { triangles += CountOf(rest.substr(0, rest.find(']')), " -1\n"); });
    return OfTriangles(triangles, PointsIn(text, "Coordinate { point [", ']'));
}

// The groups 10 to 33 of a face, each a line with the code and one with the number.
WrittenFacts ScanDxf(string_view text) {
    Extent points;
    std::int64_t triangles = 0;
    ForEach(text, "\nAcDbFace\n", [&](string_view rest) {
        NumberReader reader(rest);
        double code = 0;
        Point point{};
        ++triangles;
        for (int corner = 0; corner < 3; ++corner) {
            for (double& number : point)
                if (!reader.Read(code) || !reader.Read(number)) return;
            points.Add(point);
        }
    });
    return OfTriangles(triangles, points);
}

}  // namespace

WrittenFacts ScanWrittenMesh(FormatId format, string_view bytes, string_view side) {
    switch (format) {
        case FormatId::Stl:
            return ScanStlFile(bytes);
        case FormatId::Obj:
            return ScanObj(bytes);
        case FormatId::Gltf:
        case FormatId::Glb:
            return ScanGltf(bytes, side);
        case FormatId::Fbx:
            return ScanFbx(bytes);
        case FormatId::Vrml:
            return ScanVrml(bytes);
        case FormatId::Collada:
            return OfTriangles(SumOf(bytes, "<triangles count=\""),
                               PointsIn(bytes, "-points-array\" count=", '<'));
        case FormatId::ThreeMf:
            return Scan3mf(bytes);
        case FormatId::Dxf:
            return ScanDxf(bytes);
        default:
            return {};
    }
}

}  // namespace morvex
