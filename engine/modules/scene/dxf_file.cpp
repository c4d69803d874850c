#include "engine/modules/scene/dxf_file.h"

#include <cmath>

namespace morvex {
namespace {

// Handles of the tables and of what stands in them; those of blocks and entities are larger.
enum {
    kViewPorts = 1,
    kLineTypes,
    kLayers,
    kStyles,
    kViews,
    kCoordinates,
    kApplications,
    kDimensions,
    kBlockRecords,
    kByBlock = 0x20,
    kByLayer,
    kContinuous,
    kDashed,
    kStandardStyle,
    kOwnApplication,
    kStandardDimension,
    kRootDictionary,
    kGroups,
    kFirstLayer = 0x100
};

constexpr char kModelSpace[] = "*Model_Space", kPaperSpace[] = "*Paper_Space";

}  // namespace

DxfFile& DxfFile::Group(int code, std::string_view text) {
    file_ << code << "\n" << text << "\n";
    return *this;
}

DxfFile& DxfFile::Group(int code, double number) {
    constexpr int kFirstCoordinate = 10, kLastCoordinate = 39;  // others are angles, directions and factors
    file_ << code << "\n";
    if (code >= kFirstCoordinate && code <= kLastCoordinate)
        file_.Coordinate(number) << "\n";
    else
        file_ << number << "\n";
    return *this;
}

DxfFile& DxfFile::Point(int code, double x, double y, double z) {
    return Group(code, x).Group(code + 10, y).Group(code + 20, z);
}

DxfFile& DxfFile::Id(int code, int handle) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(handle));
    return Group(code, digits);
}

DxfFile& DxfFile::Entity(const char* type, const std::string& layer, const char* subclass, double opacity) {
    constexpr int kOfItsOwn = 0x02000000;
    Group(0, type).Id(5, next_++).Id(330, owner_).Group(100, "AcDbEntity").Group(8, layer);
    if (opacity < 1) Group(440, kOfItsOwn | static_cast<int>(std::lround(opacity * 255)));
    return Group(100, subclass);
}

std::string DxfFile::NameOf(const std::string& text) {
    std::string name = text;
    for (char& c : name) {
        const bool forbidden = std::string_view("<>/\\\":;?*|=,`").find(c) != std::string_view::npos;
        if (forbidden || (c >= 0 && c < ' ')) c = '_';
    }
    return name;
}

int DxfFile::BlockHandle(std::size_t number) {
    return kFirstBlock + static_cast<int>(number);
}

void DxfFile::Header(double dashScale) {
    Group(0, "SECTION").Group(2, "HEADER").Group(9, "$ACADVER").Group(1, "AC1021");
    Group(9, "$INSUNITS").Group(70, 4).Group(9, "$MEASUREMENT").Group(70, 1);
    Group(9, "$LTSCALE").Group(40, dashScale);
    // Handles that are given later are larger than any here.
    Group(9, "$HANDSEED").Group(5, "7FFFFFFF").Group(0, "ENDSEC");
}

void DxfFile::OpenTable(const char* name, int handle, std::size_t count) {
    Group(0, "TABLE").Group(2, name).Id(5, handle).Group(330, "0");
    Group(100, "AcDbSymbolTable").Group(70, static_cast<int>(count));
}

DxfFile& DxfFile::Record(const char* type, const char* table, const char* subclass, int handle) {
    const bool special = std::string_view(type) == "DIMSTYLE";
    Group(0, type).Id(special ? 105 : 5, handle).Group(330, table).Group(100, "AcDbSymbolTableRecord");
    return Group(100, subclass);
}

void DxfFile::LineType(const char* name, int handle, const std::vector<double>& dashes) {
    double length = 0;
    for (const double dash : dashes) length += dash < 0 ? -dash : dash;
    Record("LTYPE", "2", "AcDbLinetypeTableRecord", handle).Group(2, name).Group(70, 0).Group(3, "");
    Group(72, 65).Group(73, static_cast<int>(dashes.size())).Group(40, length);
    for (const double dash : dashes) Group(49, dash).Group(74, 0);
}

void DxfFile::Layers(const std::vector<DxfLayer>& layers) {
    constexpr int kForeground = 7;
    OpenTable("LAYER", kLayers, layers.size() + 1);
    std::vector<DxfLayer> all{{"0", -1, false}};
    all.insert(all.end(), layers.begin(), layers.end());
    int handle = kFirstLayer;
    for (const DxfLayer& layer : all) {
        Record("LAYER", "3", "AcDbLayerTableRecord", handle++).Group(2, layer.name).Group(70, 0);
        Group(62, kForeground);
        if (layer.rgb >= 0) Group(420, layer.rgb);
        Group(6, layer.isDashed ? "DASHED" : "Continuous").Group(370, layer.lineWeight);
    }
    Group(0, "ENDTAB");
}

void DxfFile::BlockRecords() {
    OpenTable("BLOCK_RECORD", kBlockRecords, blocks_.size() + 2);
    const auto record = [&](const std::string& name, int handle) {
        Record("BLOCK_RECORD", "9", "AcDbBlockTableRecord", handle).Group(2, name);
    };
    record(kModelSpace, kModel);
    record(kPaperSpace, kPaper);
    for (std::size_t at = 0; at < blocks_.size(); ++at) record(blocks_[at], BlockHandle(at));
    Group(0, "ENDTAB");
}

void DxfFile::Begin(const std::vector<DxfLayer>& layers, const std::vector<std::string>& blocks,
                    double dashScale) {
    blocks_ = blocks;
    next_ = BlockHandle(blocks.size());
    Header(dashScale);
    Group(0, "SECTION").Group(2, "TABLES");
    OpenTable("VPORT", kViewPorts, 0);
    Group(0, "ENDTAB");
    OpenTable("LTYPE", kLineTypes, 4);
    LineType("ByBlock", kByBlock, {});
    LineType("ByLayer", kByLayer, {});
    LineType("Continuous", kContinuous, {});
    LineType("DASHED", kDashed, {3, -1.5});
    Group(0, "ENDTAB");
    Layers(layers);
    OpenTable("STYLE", kStyles, 1);
    Record("STYLE", "4", "AcDbTextStyleTableRecord", kStandardStyle).Group(2, "Standard").Group(70, 0);
    Group(40, 0).Group(41, 1).Group(50, 0).Group(71, 0).Group(42, 1).Group(3, "txt").Group(4, "");
    Group(0, "ENDTAB");
    OpenTable("VIEW", kViews, 0);
    Group(0, "ENDTAB");
    OpenTable("UCS", kCoordinates, 0);
    Group(0, "ENDTAB");
    OpenTable("APPID", kApplications, 1);
    Record("APPID", "7", "AcDbRegAppTableRecord", kOwnApplication).Group(2, "ACAD").Group(70, 0);
    Group(0, "ENDTAB");
    OpenTable("DIMSTYLE", kDimensions, 1);
    Group(100, "AcDbDimStyleTable");
    Record("DIMSTYLE", "8", "AcDbDimStyleTableRecord", kStandardDimension).Group(2, "Standard");
    Group(70, 0).Group(0, "ENDTAB");
    BlockRecords();
    Group(0, "ENDSEC").Group(0, "SECTION").Group(2, "BLOCKS");
    BlockEnds(kModelSpace, kModel, [] {});
    BlockEnds(kPaperSpace, kPaper, [] {});
}

void DxfFile::BlockEnds(const std::string& name, int record, const std::function<void()>& contents) {
    owner_ = record;
    Entity("BLOCK", "0", "AcDbBlockBegin").Group(2, name).Group(70, 0).Point(10, 0, 0, 0);
    Group(3, name).Group(1, "");
    contents();
    Entity("ENDBLK", "0", "AcDbBlockEnd");
}

void DxfFile::Block(const std::function<void()>& contents) {
    BlockEnds(blocks_[blocksDone_], BlockHandle(blocksDone_), contents);
    ++blocksDone_;
}

void DxfFile::BeginEntities() {
    Group(0, "ENDSEC").Group(0, "SECTION").Group(2, "ENTITIES");
    owner_ = kModel;
}

bool DxfFile::End() {
    Group(0, "ENDSEC").Group(0, "SECTION").Group(2, "OBJECTS");
    Group(0, "DICTIONARY").Id(5, kRootDictionary).Group(330, "0").Group(100, "AcDbDictionary");
    Group(281, 1).Group(3, "ACAD_GROUP").Id(350, kGroups);
    Group(0, "DICTIONARY").Id(5, kGroups).Id(330, kRootDictionary).Group(100, "AcDbDictionary");
    Group(281, 1);
    Group(0, "ENDSEC").Group(0, "EOF");
    return file_.Close();
}

}  // namespace morvex
