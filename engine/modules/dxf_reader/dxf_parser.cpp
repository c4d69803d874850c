#include <algorithm>
#include <cmath>

#include "engine/modules/core/keep_going.h"
#include "engine/modules/dxf_reader/dxf_drawing.h"
#include "engine/modules/dxf_reader/dxf_surfaces.h"

namespace morvex {
namespace {

// Entities without a surface, each between blanks.
constexpr std::string_view kFlat =
    " LINE POINT CIRCLE ARC ELLIPSE SPLINE LWPOLYLINE TEXT MTEXT ATTDEF ATTRIB DIMENSION ARC_DIMENSION "
    "LARGE_RADIAL_DIMENSION LEADER MLEADER MULTILEADER MLINE RAY XLINE HATCH VIEWPORT IMAGE WIPEOUT "
    "TOLERANCE "
    "OLEFRAME OLE2FRAME LIGHT SUN CAMERA SECTION HELIX ACAD_TABLE MPOLYGON SHAPE RTEXT PDFUNDERLAY "
    "DWFUNDERLAY "
    "DGNUNDERLAY 3DLINE GEOPOSITIONMARKER ";

bool IsFlat(std::string_view type) {
    return kFlat.find(" " + std::string(type) + " ") != std::string_view::npos;
}

// Of $INSUNITS, in millimetres.
double UnitOf(std::int64_t number) {
    constexpr double kUnits[] = {1,
                                 25.4,
                                 304.8,
                                 1609344,
                                 1,
                                 10,
                                 1000,
                                 1e6,
                                 25.4e-6,
                                 0.0254,
                                 914.4,
                                 1e-7,
                                 1e-6,
                                 1e-3,
                                 100,
                                 1e4,
                                 1e5,
                                 1e12,
                                 1.495978707e14,
                                 9.4607304725808e18,
                                 3.0856775814913673e19,
                                 304.80060960121919,
                                 25.400050800101600,
                                 914.40182880365761,
                                 1609347.2186944374};
    return number >= 0 && number < static_cast<std::int64_t>(std::size(kUnits)) ? kUnits[number] : 1;
}

DxfColour ColourOf(const DxfRecord& record) {
    DxfColour colour;
    colour.index =
        static_cast<int>(std::clamp<std::int64_t>(std::abs(record.Whole(62, DxfColour::kByLayer)), 0, 257));
    if (record.Has(420)) colour.rgb = static_cast<std::uint32_t>(record.Whole(420, 0) & 0xffffff);
    constexpr std::int64_t kOwnOpacity = 0x02000000;
    const std::int64_t opacity = record.Whole(440, 0);
    if ((opacity & kOwnOpacity) != 0) colour.opacity = static_cast<double>(opacity & 0xff) / 255;
    return colour;
}

class DxfParser {
  public:
    DxfParser(std::string_view text, bool keepPartial) : text_(text), keepPartial_(keepPartial) {}

    DxfDrawing Parse() {
        drawing_.blocks[""];
        Advance();
        while (more_ && record_.type != "EOF") {
            if (record_.type != "SECTION")
                throw ReadError("There is something between the sections of the file");
            const std::string_view name = record_.Text(2);
            if (name == "HEADER") TakeHeader();
            Advance();
            for (; more_ && record_.type != "ENDSEC";
                 name == "BLOCKS" || name == "ENTITIES" ? TakeEntityOrLose() : TakeOther())
                if (record_.type == "EOF" || record_.type == "SECTION") break;
            if (!more_ || record_.type != "ENDSEC") throw ReadError("A section of the file has no end");
            block_ = "";
            Advance();
        }
        return std::move(drawing_);
    }

  private:
    void Advance() { more_ = text_.Next(record_); }

    // Variables: their name in group 9, their value in those behind it.
    void TakeHeader() {
        for (std::size_t at = 0; at + 1 < record_.groups.size(); ++at) {
            if (record_.groups[at].code != 9 || record_.groups[at].value != "$INSUNITS") continue;
            drawing_.unit = UnitOf(record_.groups[at + 1].Whole());
            drawing_.saysUnit = record_.groups[at + 1].Whole() > 0;
        }
    }

    void TakeOther() {
        if (record_.type == "LAYER") drawing_.layers[std::string(record_.Text(2))] = ColourOf(record_);
        Advance();
    }

    // Behind an entity that is lost the next one follows, unless what is left of it has been taken already.
    void TakeEntityOrLose() {
        const std::string type(record_.type);
        const std::size_t line = text_.Line();
        KeepGoing(
            keepPartial_, [this] { TakeEntity(); },
            [&](const char*) {
                ++drawing_.lost[type];
                if (text_.Line() == line) Advance();
            });
    }

    void TakeEntity() {
        const std::string_view type = record_.type;
        if (type == "BLOCK") {
            OpenBlock();
        } else if (type == "ENDBLK") {
            block_ = "";
        } else if (type == "POLYLINE") {
            return TakePolyline();
        } else if (type == "INSERT") {
            return TakeInsert();
        } else if (record_.Whole(67, 0) == 1) {
            // on a sheet, not in the model
        } else if (type == "3DFACE") {
            AddFace(record_, NewMesh());
        } else if (type == "SOLID" || type == "TRACE") {
            AddSolid(record_, NewMesh());
        } else if (type == "MESH") {
            AddMesh(record_, NewMesh());
        } else if (IsFlat(type)) {
            ++drawing_.flat;
        } else if (type != "SEQEND" && type != "VERTEX" && type != "ACAD_PROXY_ENTITY") {
            ++drawing_.lost[std::string(type)];
        }
        Advance();
    }

    void OpenBlock() {
        constexpr std::int64_t kExternal = 4;
        block_ = record_.Text(2);
        DxfBlock& block = drawing_.blocks[block_];
        block.base = record_.Point(10);
        block.isExternal = (record_.Whole(70, 0) & kExternal) != 0;
    }

    DxfMesh& NewMesh() {
        DxfMesh& mesh = drawing_.blocks[block_].meshes.emplace_back();
        mesh.layer = record_.Text(8);
        mesh.colour = ColourOf(record_);
        return mesh;
    }

    void TakePolyline() {
        const DxfRecord polyline = record_;
        std::vector<DxfRecord> vertices;
        for (Advance(); more_ && record_.type == "VERTEX"; Advance()) vertices.push_back(record_);
        if (!more_ || record_.type != "SEQEND") throw ReadError("A polyline has no end");
        Advance();
        if (polyline.Whole(67, 0) == 1) return;
        DxfMesh mesh{std::string(polyline.Text(8)), ColourOf(polyline), {}, {}};
        if (AddPolyline(polyline, vertices, mesh))
            drawing_.blocks[block_].meshes.push_back(std::move(mesh));
        else
            ++drawing_.flat;
    }

    void TakeInsert() {
        const DxfRecord record = record_;
        Advance();
        // Texts that go with the insert.
        if (record.Whole(66, 0) == 1) {
            while (more_ && record_.type == "ATTRIB") Advance();
            if (more_ && record_.type == "SEQEND") Advance();
        }
        if (record.Whole(67, 0) == 1) return;
        DxfInsert insert;
        insert.layer = record.Text(8);
        insert.block = record.Text(2);
        insert.colour = ColourOf(record);
        insert.columns = std::max<std::int64_t>(record.Whole(70, 1), 1);
        insert.rows = std::max<std::int64_t>(record.Whole(71, 1), 1);
        const double degree = std::acos(-1) / 180, angle = record.Number(50, 0) * degree;
        const gp_XYZ x(std::cos(angle), std::sin(angle), 0), y(-x.Y(), x.X(), 0), z(0, 0, 1);
        const gp_GTrsf axes = EntityAxes(record);
        insert.place = axes * gp_GTrsf(gp_Mat(x * record.Number(41, 1), y * record.Number(42, 1),
                                              z * record.Number(43, 1)),
                                       record.Point(10));
        insert.columnStep = x * record.Number(44, 0);
        insert.rowStep = y * record.Number(45, 0);
        axes.Transforms(insert.columnStep);
        axes.Transforms(insert.rowStep);
        drawing_.blocks[block_].inserts.push_back(insert);
    }

    DxfText text_;
    bool keepPartial_;
    DxfRecord record_;  // that is looked at
    bool more_ = false;
    DxfDrawing drawing_;
    std::string block_;  // that is being defined
};

}  // namespace

DxfDrawing ParseDxf(std::string_view text, bool keepPartial) {
    return DxfParser(text, keepPartial).Parse();
}

}  // namespace morvex
