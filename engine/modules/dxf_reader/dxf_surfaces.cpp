#include "engine/modules/dxf_reader/dxf_surfaces.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/modules/core/polygon.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

// The polygon with those corners among the points of the mesh.
void AddPolygon(DxfMesh& mesh, std::vector<std::uint32_t> corners) {
    std::erase_if(corners, [before = UINT32_MAX](std::uint32_t corner) mutable {
        return std::exchange(before, corner) == corner;
    });
    std::vector<gp_XYZ> points;
    for (const std::uint32_t corner : corners) {
        if (corner >= mesh.points.size()) throw ReadError("A polygon has a corner that is not there");
        points.push_back(mesh.points[corner]);
    }
    for (const std::uint32_t at : CutIntoTriangles(points)) mesh.corners.push_back(corners[at]);
}

std::uint32_t AddPoint(DxfMesh& mesh, const gp_XYZ& point) {
    mesh.points.push_back(point);
    return static_cast<std::uint32_t>(mesh.points.size() - 1);
}

// Four points, of which the last two may be the same.
void AddQuad(DxfMesh& mesh, const gp_XYZ& a, const gp_XYZ& b, const gp_XYZ& c, const gp_XYZ& d) {
    std::vector<std::uint32_t> corners{AddPoint(mesh, a), AddPoint(mesh, b), AddPoint(mesh, c)};
    if (!c.IsEqual(d, 0)) corners.push_back(AddPoint(mesh, d));
    AddPolygon(mesh, corners);
}

void AddPolygonMesh(const DxfRecord& record, const std::vector<DxfRecord>& vertices, DxfMesh& mesh) {
    constexpr std::int64_t kClosedM = 1, kClosedN = 32, kFitted = 8;
    std::size_t fitted = 0;
    for (const DxfRecord& vertex : vertices) fitted += (vertex.Whole(70, 0) & kFitted) != 0;
    for (const DxfRecord& vertex : vertices) {
        if (fitted == 0 || (vertex.Whole(70, 0) & kFitted) != 0) AddPoint(mesh, vertex.Point(10));
    }
    const auto m = static_cast<std::uint64_t>(record.Whole(fitted > 0 ? 73 : 71, 0)),
               n = static_cast<std::uint64_t>(record.Whole(fitted > 0 ? 74 : 72, 0));
    if (m < 2 || n < 2 || m > mesh.points.size() || m * n != mesh.points.size())
        throw ReadError("A polygon mesh has not as many points as it says");
    const std::int64_t flags = record.Whole(70, 0);
    const std::uint64_t rows = (flags & kClosedM) != 0 ? m : m - 1,
                        columns = (flags & kClosedN) != 0 ? n : n - 1;
    for (std::uint64_t row = 0; row < rows; ++row) {
        for (std::uint64_t column = 0; column < columns; ++column) {
            const auto at = [&](std::uint64_t r, std::uint64_t c) {
                return static_cast<std::uint32_t>(r % m * n + c % n);
            };
            AddPolygon(mesh,
                       {at(row, column), at(row + 1, column), at(row + 1, column + 1), at(row, column + 1)});
        }
    }
}

void AddPolyface(const DxfRecord& record, const std::vector<DxfRecord>& vertices, DxfMesh& mesh) {
    constexpr std::int64_t kFacePart = 128, kPoint = 64;
    std::int64_t faces = 0;
    for (const DxfRecord& vertex : vertices)
        if ((vertex.Whole(70, 0) & kPoint) != 0) AddPoint(mesh, vertex.Point(10));
    for (const DxfRecord& vertex : vertices) {
        const std::int64_t flags = vertex.Whole(70, 0);
        if ((flags & kPoint) != 0 || (flags & kFacePart) == 0) continue;
        ++faces;
        std::vector<std::uint32_t> corners;
        for (int code = 71; code <= 74; ++code) {
            // Counted from 1; negative where the edge that begins there is not drawn.
            const std::int64_t number = std::abs(vertex.Whole(code, 0));
            if (number > 0)
                corners.push_back(static_cast<std::uint32_t>(std::min<std::int64_t>(number - 1, UINT32_MAX)));
        }
        AddPolygon(mesh, corners);
    }
    // The counts are not always written.
    const std::int64_t points = record.Whole(71, 0), announced = record.Whole(72, 0);
    if (points > static_cast<std::int64_t>(mesh.points.size()) || announced > faces)
        throw ReadError("A polyface mesh has not as many faces as it says");
}

}  // namespace

gp_GTrsf EntityAxes(const DxfRecord& record) {
    const gp_XYZ up = record.Point(210, gp_XYZ(0, 0, 1));
    if (!(up.Modulus() > 1e-12)) throw ReadError("An entity stands in no direction");
    constexpr double kNear = 1.0 / 64;
    const gp_XYZ z = up.Normalized();
    const gp_XYZ side =
        std::abs(z.X()) < kNear && std::abs(z.Y()) < kNear ? gp_XYZ(0, 1, 0) : gp_XYZ(0, 0, 1);
    const gp_XYZ x = side.Crossed(z).Normalized();
    return gp_GTrsf(gp_Mat(x, z.Crossed(x), z), gp_XYZ());
}

void AddFace(const DxfRecord& record, DxfMesh& mesh) {
    if (!record.Has(12)) throw ReadError("A face lacks a corner");
    AddQuad(mesh, record.Point(10), record.Point(11), record.Point(12), record.Point(13, record.Point(12)));
}

void AddSolid(const DxfRecord& record, DxfMesh& mesh) {
    const gp_GTrsf axes = EntityAxes(record);
    const double thickness = record.Number(39, 0);
    // The third and the fourth corner stand crosswise.
    std::vector<gp_XYZ> bottom{record.Point(10), record.Point(11), record.Point(13, record.Point(12)),
                               record.Point(12)};
    if (!record.Has(12)) throw ReadError("A solid lacks a corner");
    std::vector<gp_XYZ> top = bottom;
    for (gp_XYZ& point : top) point.SetZ(point.Z() + thickness);
    for (auto* points : {&bottom, &top})
        for (gp_XYZ& point : *points) axes.Transforms(point);
    if (thickness == 0) return AddQuad(mesh, bottom[0], bottom[1], bottom[2], bottom[3]);
    AddQuad(mesh, bottom[3], bottom[2], bottom[1], bottom[0]);
    AddQuad(mesh, top[0], top[1], top[2], top[3]);
    for (std::size_t at = 0; at < 4; ++at) {
        const std::size_t next = (at + 1) % 4;
        if (!bottom[at].IsEqual(bottom[next], 0)) AddQuad(mesh, bottom[at], bottom[next], top[next], top[at]);
    }
}

void AddMesh(const DxfRecord& record, DxfMesh& mesh) {
    std::vector<std::int64_t> list;
    std::int64_t points = 0, size = 0;
    bool inList = false;
    for (std::size_t at = 0; at < record.groups.size(); ++at) {
        const DxfGroup& group = record.groups[at];
        if (group.code == 92 && points == 0) points = group.Whole();
        if (group.code == 10 && at + 2 < record.groups.size()) {
            AddPoint(mesh, {group.Number(), record.groups[at + 1].Number(), record.groups[at + 2].Number()});
        }
        if (group.code == 93) size = group.Whole();
        if (group.code == 93 || group.code == 94) inList = group.code == 93;
        if (group.code == 90 && inList) list.push_back(group.Whole());
    }
    if (points != static_cast<std::int64_t>(mesh.points.size()) ||
        size != static_cast<std::int64_t>(list.size()))
        throw ReadError("A mesh has not as many points and faces as it says");
    // The number of corners, and then each.
    for (std::size_t at = 0; at < list.size();) {
        const std::int64_t corners = list[at++];
        if (corners < 0 || corners > static_cast<std::int64_t>(list.size() - at))
            throw ReadError("A face of a mesh is incomplete");
        std::vector<std::uint32_t> polygon;
        for (std::int64_t corner = 0; corner < corners; ++corner, ++at) {
            if (list[at] < 0 || list[at] >= points)
                throw ReadError("A polygon has a corner that is not there");
            polygon.push_back(static_cast<std::uint32_t>(list[at]));
        }
        AddPolygon(mesh, polygon);
    }
}

bool AddPolyline(const DxfRecord& record, const std::vector<DxfRecord>& vertices, DxfMesh& mesh) {
    constexpr std::int64_t kPolygonMesh = 16, kPolyface = 64;
    const std::int64_t flags = record.Whole(70, 0);
    if ((flags & kPolyface) != 0) {
        AddPolyface(record, vertices, mesh);
    } else if ((flags & kPolygonMesh) != 0) {
        AddPolygonMesh(record, vertices, mesh);
    } else {
        return false;
    }
    return true;
}

}  // namespace morvex
