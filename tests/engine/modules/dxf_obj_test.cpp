// What DXF and OBJ files hold, and what they contradict.
#include <gtest/gtest.h>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// "code value|code value" as the lines of a drawing.
std::string Groups(const std::string& text) {
    std::string lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('|', at), text.size()), blank = text.find(' ', at);
        lines += text.substr(at, blank - at) + "\n" + text.substr(blank + 1, end - blank - 1) + "\n";
        at = end + 1;
    }
    return lines;
}

std::string Section(const std::string& name, const std::string& content) {
    return Groups("0 SECTION|2 " + name) + content + Groups("0 ENDSEC");
}

std::string Dxf(const std::string& entities, const std::string& blocks = {}, const std::string& unit = "4") {
    return Section("HEADER", Groups("9 $ACADVER|1 AC1021|9 $INSUNITS|70 " + unit)) +
           Section("TABLES",
                   Groups("0 TABLE|2 LAYER|0 LAYER|2 green|70 0|62 3|0 LAYER|2 off|62 -5|0 ENDTAB")) +
           Section("BLOCKS", blocks.empty() ? "" : Groups(blocks)) + Section("ENTITIES", Groups(entities)) +
           Groups("0 EOF");
}

// A square of 10 x 10 in the plane z = 0, or what a block of that name makes of it.
constexpr char kFace[] = "0 3DFACE|8 green|10 0|20 0|30 0|11 10|21 0|31 0|12 10|22 10|32 0|13 0|23 10|33 0";
constexpr char kBlocks[] =
    "0 BLOCK|2 inner|10 0|20 0|30 0|0 3DFACE|8 0|62 0|10 0|20 0|30 0|11 10|21 0|31 0|12 10|22 10|32 0|13 "
    "0|23 10|33 0|0 "
    "ENDBLK|0 BLOCK|2 outer|10 1|20 0|30 0|0 INSERT|8 0|62 0|2 inner|10 1|20 0|30 0|0 INSERT|8 0|2 inner|10 "
    "101|20 0|30 "
    "0|41 2|0 ENDBLK|0 BLOCK|2 circle|10 0|20 0|0 INSERT|8 0|2 circle|10 0|20 0|0 ENDBLK|0 BLOCK|2 other|70 "
    "4|10 0|20 "
    "0|1 other.dwg|0 ENDBLK";

std::string Polyline(const std::string& head, const std::vector<std::string>& vertices) {
    std::string text = "0 POLYLINE|8 0|66 1|" + head;
    for (const std::string& vertex : vertices) text += "|0 VERTEX|8 0|" + vertex;
    return text + "|0 SEQEND";
}

const std::vector<std::string> kGrid{"70 64|10 0|20 0|30 0", "70 64|10 10|20 0|30 0", "70 64|10 0|20 10|30 0",
                                     "70 64|10 10|20 10|30 0"};

std::string Polyface(const std::string& head, const std::string& face) {
    std::vector<std::string> vertices = kGrid;
    for (std::string& vertex : vertices) vertex.replace(0, 5, "70 192");
    vertices.push_back("70 128|10 0|20 0|30 0|" + face);
    return Polyline(head, vertices);
}

TEST(Dxf, ReadsWhatHasASurface) {
    const std::string mesh =
        "0 MESH|8 0|71 2|72 0|91 0|92 4|10 0|20 0|30 0|10 10|20 0|30 0|10 10|20 10|30 0|10 0|20 10|30 "
        "0|93 5|90 4|90 0|90 1|90 2|90 3|94 1|90 0|90 1|95 1|140 0";
    const struct {
        const char* name;
        std::string file;
        double area, width;
    } cases[] = {
        {"face", Dxf(kFace), 100, 10},
        {"face in US survey feet", Dxf(kFace, {}, "21"), 100 * 304.8006 * 304.8006, 3048.006},
        {"face in decimetres", Dxf(kFace, {}, "14"), 1e6, 1000},
        {"solid", Dxf("0 SOLID|8 0|10 0|20 0|30 0|11 10|21 0|31 0|12 0|22 10|32 0|13 10|23 10|33 0"), 100,
         10},
        {"thick solid",
         Dxf("0 SOLID|8 0|39 10|10 0|20 0|30 0|11 10|21 0|31 0|12 0|22 10|32 0|13 10|23 10|33 0"), 600, 10},
        {"solid that looks down",
         Dxf("0 SOLID|8 0|210 0|220 0|230 -1|10 0|20 0|11 20|21 0|12 0|22 10|13 20|23 10"), 200, 20},
        {"mesh", Dxf(mesh), 100, 10},
        {"polygon mesh", Dxf(Polyline("70 16|71 2|72 2", kGrid)), 100, 10},
        {"polyface mesh", Dxf(Polyface("70 64|71 4|72 1", "71 1|72 -2|73 4|74 3")), 100, 10},
        {"nested blocks", Dxf("0 INSERT|8 0|2 outer|10 5|20 0|30 0", kBlocks), 300, 120},
        {"array", Dxf("0 INSERT|8 0|2 inner|10 0|20 0|30 0|70 3|71 2|44 100|45 50", kBlocks), 600, 210},
        {"turned and mirrored", Dxf("0 INSERT|8 0|2 outer|10 0|20 0|30 0|50 90|41 -1", kBlocks), 300, 10},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, area, width] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.dxf", file);
        const WorkerRun run = RunWorker({folder / "in.dxf", folder / "out.stl"});
        ASSERT_EQ(run.code, 0) << run.errors;
        const Facts facts = ReadBack(folder / "out.stl");
        EXPECT_NEAR(facts.area, area, area * 1e-4);
        EXPECT_NEAR(facts.high[0] - facts.low[0], width, width * 1e-4);
    }
}

TEST(Dxf, Colours) {
    const auto face = [](const std::string& more) { return std::string(kFace) + "|" + more; };
    const struct {
        std::string entities;
        std::set<std::string> colours;
    } cases[] = {
        {kFace, {"00160016"}},
        {face("62 5"), {"00001616"}},
        {face("62 30"), {"16080016"}},
        {face("420 16711935"), {"16001616"}},
        {face("62 1|440 33554560"), {"16000008"}},
        {face("62 1|440 0"), {"16000016"}},
        {"0 INSERT|8 green|62 1|2 outer|10 0|20 0|30 0", {"16000016", "00160016"}},
    };
    const ScratchFolder folder;
    for (const auto& [entities, colours] : cases) {
        SCOPED_TRACE(entities);
        WriteWhole(folder / "in.dxf", Dxf(entities, kBlocks));
        ASSERT_EQ(RunWorker({folder / "in.dxf", folder / "out.glb"}).code, 0);
        EXPECT_EQ(ReadBack(folder / "out.glb").colours, colours);
    }
}

TEST(Dxf, NoResultWithoutAllOfIt) {
    const std::string line = "0 LINE|8 0|10 0|20 0|11 1|21 1", body = "0 3DSOLID|8 0|70 1|1 acis";
    const struct {
        const char* name;
        std::string file;
        int code;
    } cases[] = {
        {"flat", Dxf(line), 32},
        {"curve and face", Dxf(line + "|" + kFace), 0},
        {"body", Dxf(body), 27},
        {"body and face", Dxf(body + "|" + kFace), 5},
        {"unknown entity", Dxf("0 3DGACE|8 0|" + std::string(kFace)), 5},
        {"block in itself", Dxf("0 INSERT|8 0|2 circle|10 0|20 0", kBlocks), 5},
        {"missing block", Dxf("0 INSERT|8 0|2 nowhere|10 0|20 0", kBlocks), 5},
        {"other drawing", Dxf("0 INSERT|8 0|2 other|10 0|20 0", kBlocks), 5},
        {"endless array", Dxf("0 INSERT|8 0|2 inner|10 0|20 0|70 2000000000|71 2000000000|44 1", kBlocks), 1},
        {"missing points", Dxf(Polyline("70 16|71 3|72 2", kGrid)), 5},
        {"missing faces", Dxf(Polyface("70 64|71 4|72 2", "71 1|72 2|73 4|74 3")), 5},
        {"corner that is not there", Dxf(Polyface("70 64|71 4|72 1", "71 1|72 2|73 9|74 3")), 5},
        {"no number", Dxf("0 3DFACE|8 0|10 a|20 0|30 0|11 10|21 0|31 0|12 1|22 1|32 1"), 5},
        {"no end of a section", Groups("0 SECTION|2 ENTITIES|") + Groups(kFace) + Groups("0 EOF"), 5},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, code] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.dxf", file);
        const WorkerRun run = RunWorker({folder / "in.dxf", folder / "out.stl"});
        EXPECT_EQ(run.code, code) << run.errors;
    }
}

std::string Utf16(const std::string& text, bool bigEndian) {
    std::string wide = bigEndian ? "\xfe\xff" : "\xff\xfe";
    for (const char c : text) wide += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return wide;
}

TEST(Obj, ReadsWhatTheFormatHolds) {
    const std::string square = "v 0 0 0\nv 10 0 0\nv 10 10 0\nv 0 10 0\n",
                      colours =
                          "v 0 0 0 1 0 0\nv 9 0 0 1 0 0\nv 0 9 0 1 0 0\n"
                          "v 0 0 9 0 0 1\nv 9 0 9 0 0 1\nv 0 9 9 0 0 1\nf 1 2 3\nf 4 5 6\n";
    const struct {
        const char* name;
        std::string file;
        int code;
        double area;
        std::size_t colours;
    } cases[] = {
        {"square", square + "f 1 2 3 4\n", 0, 100, 0},
        {"counted backwards, over two lines", square + "f -4 -3 \\\n-2 -1", 0, 100, 0},
        {"concave", square + "v 9 1 0\nf 1 2 3 5\nf 1 5 3 4", 0, 100, 0},
        {"arrow", "v 0 0 0\nv 10 5 0\nv 0 10 0\nv 5 5 0\nf 1 2 3 4\n", 0, 25, 0},
        {"two groups in one", square + "g a\nf 1 2 3\ng b\nf 1 3 4\ng a\nf 1 2 4\n", 0, 150, 0},
        {"UTF-16", Utf16(square + "f 1 2 3 4\n", false), 0, 100, 0},
        {"UTF-16, turned", Utf16(square + "f 1 2 3 4\n", true), 0, 100, 0},
        {"colours of points", colours, 0, 81, 2},
        {"missing corner", square + "f 1 2 9\n", 5, 0, 0},
        {"corner 0", square + "f 0 1 2\n", 5, 0, 0},
        {"half a line", square + "f 1 2 3\nf 1 2", 5, 0, 0},
        {"damaged keyword", square + "f 1 2 3\nF 1 3 4\n", 5, 0, 0},
        {"damaged number", square + "v 1 x 2\nf 1 2 3\n", 5, 0, 0},
        {"free-form surface", square + "f 1 2 3\nsurf 0 1 0 1 1 2 3 4\n", 27, 0, 0},
        {"lines only", square + "l 1 2\n", 32, 0, 0},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, code, area, count] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.obj", file);
        const WorkerRun run = RunWorker({folder / "in.obj", folder / "out.glb"});
        EXPECT_EQ(run.code, code) << run.errors;
        if (run.code != 0 || code != 0) continue;
        const Facts facts = ReadBack(folder / "out.glb");
        EXPECT_NEAR(facts.area, area, area * 1e-4);
        EXPECT_EQ(facts.colours.size(), count);
    }
}

}  // namespace
}  // namespace morvex::test
