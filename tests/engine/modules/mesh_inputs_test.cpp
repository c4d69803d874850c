// Inputs of mesh formats written by hand: each holds the box in units, axes and places of its own.
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "tests/engine/support/mesh_samples.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

class MeshInputs : public testing::Test {
  protected:
    void SetUp() override { WriteMeshBoxes(folder_.Path()); }
    std::string Packed(const std::string& model) {
        WriteThreeMf(folder_ / "packed", model);
        return ReadWhole(folder_ / "packed");
    }
    const ScratchFolder folder_;
};

TEST_F(MeshInputs, UnitsAxesColoursAndMirroring) {
    const struct {
        const char *name, *unit;
        bool red;
    } cases[] = {{"box.x3d", "1000", true}, {"box.amf", "25.4", true}, {"box.dae", "25.4", true},
                 {"box.3mf", "10", true},   {"box.3ds", "", false},    {"box.ply", "", true},
                 {"little.ply", "", true},  {"big.ply", "", true},     {"box.off", "", true},
                 {"box.wrl", "", true}};
    WriteWhole(folder_ / "little.ply", BinaryPlyBox(false));
    WriteWhole(folder_ / "big.ply", BinaryPlyBox(true));
    for (const auto& [name, unit, red] : cases) {
        SCOPED_TRACE(name);
        const WorkerRun run = RunWorker({folder_ / name, folder_ / "out.glb"});
        ASSERT_EQ(run.code, 0) << run.errors;
        const Facts out = ReadBack(folder_ / "out.glb");
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(out.low[axis], kBoxLow[axis], 1e-3);
            EXPECT_NEAR(out.high[axis], kBoxHigh[axis], 1e-3);
        }
        EXPECT_NEAR(out.volume, 6000, 1) << "not inside out";
        EXPECT_EQ(out.triangles, 12);
        EXPECT_EQ(out.colours.contains("16000016"), red);
        const std::string report = ReadWhole(folder_ / "out.glb-zel.xml");
        EXPECT_TRUE(*unit == '\0' || report.find("unit=\"" + std::string(unit) + "\"") != std::string::npos)
            << report;
    }
}

// Wrong contents, a missing end, a corner that is not there, a triangle that does not arrive, another file.
TEST_F(MeshInputs, WhatIsWrongIsSaid) {
    WriteWhole(folder_ / "other.x3d", X3dBox());
    const auto without = [](std::string text, const std::string& what, const std::string& by) {
        return text.replace(text.find(what), what.size(), by);
    };
    const struct {
        const char* name;
        std::string contents;
        int code;
    } cases[] = {
        {"a.x3d", "hello", 29},
        {"b.3mf",
         Packed(
             without(ThreeMfModel(), "<model ", "<model xmlns:v=\"urn:volumes\" requiredextensions=\"v\" ")),
         27},
        {"c.3mf", Packed(without(ThreeMfModel(), "</triangles>", "</triangles><b:beamlattice/>")), 5},
        {"a.3mf", "hello", 29},
        {"a.3ds", "hello", 29},
        {"a.amf", "PK\3\4hello", 27},
        {"a.dae", ColladaBox().substr(0, 1500), 5},
        {"b.dae", without(ColladaBox(), "</float_array>", ""), 5},
        {"c.amf", without(AmfBox(), "<v1>0</v1>", "<v1>99</v1>"), 5},
        {"d.3ds", ReadWhole(folder_ / "box.3ds").substr(0, 200), 5},
        {"e.x3d", "<X3D><Scene><Inline url=\"other.x3d\"/></Scene></X3D>", 5},
        {"f.x3d", without(X3dBox(), "-1", "99 -1"), 5},
        {"g.x3d", without(X3dBox(), "</Shape>", "</Group>"), 5},
        {"a.ply", "hello", 29},
        {"b.ply", PlyBox().substr(0, 400), 5},
        {"c.ply", without(PlyBox(), "4 0 2", "4 8 2"), 5},
        {"d.ply", without(PlyBox(), "face 6", "face 5"), 5},
        {"e.ply", without(PlyBox(), "vertex 8", "vertex 4000000000"), 5},
        {"f.ply", BinaryPlyBox(true).substr(0, BinaryPlyBox(true).size() - 1), 5},
        {"g.ply", without(PlyBox(), "ascii", "packed"), 27},
        {"h.ply", without(PlyBox(), "face 6", "fact 6"), 32},
        {"a.off", "hello", 29},
        {"b.off", without(OffBox(), "8 6", "8 7"), 5},
        {"c.off", without(OffBox(), "8 6", "4000000000 6"), 5},
        {"d.off", without(OffBox(), "OFF", "4OFF"), 27},
        {"e.off", without(OffBox(), "4  0 2", "4  8 2"), 5},
        {"a.wrl", "hello", 29},
        {"b.wrl", "#VRML V1.0 ascii\nCube {}", 27},
        {"c.wrl", VrmlBox().substr(0, VrmlBox().size() - 3), 5},
        {"d.wrl", without(VrmlBox(), "-1", "99, -1"), 5},
        {"e.wrl", VrmlBox() + "Inline { url \"other.wrl\" }", 5},
        {"f.wrl", without(VrmlBox(), "Viewpoint", "USE mirrored Viewpoint"), 5},
        {"g.wrl", "#VRML V2.0 utf8\nPROTO P [] { Group { children P {} } } P {}", 5},
    };
    for (const auto& [name, contents, code] : cases) {
        WriteWhole(folder_ / name, contents);
        const WorkerRun run = RunWorker({folder_ / name, folder_ / "out.stl"});
        EXPECT_EQ(run.code, code) << name << ": " << run.errors;
    }
}

// Geometry that a node describes, by its volume.
TEST_F(MeshInputs, BodiesAndSetsOfScenes) {
    constexpr double kPi = std::numbers::pi;
    const std::string cube = "point [0 0 0, 1 0 0, 1 1 0, 0 1 0, 0 0 1, 1 0 1, 1 1 1, 0 1 1]",
                      square = "crossSection [0 0, 1 0, 1 1, 0 1, 0 0]";
    const struct {
        std::string geometry;
        double volume;
    } cases[] = {
        {"Box { size 1 2 3 }", 6},
        {"Sphere { radius 3 }", 36 * kPi},
        {"Cylinder { radius 2 height 3 }", 12 * kPi},
        {"Cone { bottomRadius 3 height 2 }", 6 * kPi},
        {"Extrusion { }", 4},
        {"Extrusion { spine [0 0 0, 0 0 5] }", 20},
        {"Extrusion { " + square + " ccw FALSE }", 1},
        {"Extrusion { spine [0 0 0, 0 2 0, 0 4 0] scale [1 1, 2 2, 1 1] }", 2 * 2 * 4 * 7 / 3.},
        {"Extrusion { spine [10 0 0, 0 0 -10, -10 0 0, 0 0 10, 10 0 0] }", 2 * (2 * 11 * 11 - 2 * 9 * 9)},
        {"IndexedTriangleFanSet { index [0 3 2 1 -1 4 5 6 7 -1 0 1 5 4 -1 1 2 6 5 -1 2 3 7 6 -1 3 0 4 7] "
         "coord "
         "Coordinate { " +
             cube + " } }",
         1},
        {"IndexedTriangleStripSet { index [0 3 1 2 -1 4 5 7 6 -1 0 1 4 5 -1 1 2 5 6 -1 2 3 6 7 -1 3 0 7 4] "
         "coord Coordinate { " +
             cube + " } }",
         1},
        {"IndexedQuadSet { index [0 3 2 1 4 5 6 7 0 1 5 4 1 2 6 5 2 3 7 6 3 0 4 7] coord Coordinate { " +
             cube + " } }",
         1},
        {"TriangleFanSet { fanCount [5, 4] coord Coordinate { point [0 0 1, 0 0 0, 1 0 0, 0 1 0, 0 0 0, 0 0 "
         "0, "
         "0 1 0, 1 0 0, 0 0 0] } }",
         1 / 6.},
    };
    for (const auto& [geometry, volume] : cases) {
        SCOPED_TRACE(geometry);
        WriteWhole(folder_ / "in.wrl", "#VRML V2.0 utf8\nShape { geometry " + geometry + " }");
        const WorkerRun run = RunWorker({folder_ / "in.wrl", folder_ / "out.stl"});
        ASSERT_EQ(run.code, 0) << run.errors;
        EXPECT_NEAR(ReadBack(folder_ / "out.stl").volume, volume, volume * 0.01);
    }
}

// An object in another file of the package, twice in one of the main file, its triangles with colours of
// their own or from groups that are no colours.
TEST_F(MeshInputs, PackagesOfSeveralFiles) {
    const auto replaced = [](std::string text, const std::string& what, const std::string& by) {
        return text.replace(text.find(what), what.size(), by);
    };
    std::string other =
        replaced(ThreeMfModel(), "<resources>",
                 "<resources><m:colorgroup id=\"7\"><m:color color=\"#0000FF\"/><m:color "
                 "color=\"#00FF0080\"/></m:colorgroup><m:texture2dgroup id=\"8\" texid=\"6\"/>");
    other = replaced(other, "<triangle ", "<triangle pid=\"7\" p1=\"1\" ");
    other = replaced(other, "v3=\"1\"/>", "v3=\"1\" pid=\"8\" p1=\"0\" p2=\"1\" p3=\"2\"/>");
    const std::string main =
        "<model unit=\"centimeter\"><resources><object id=\"5\" name=\"a &amp; &#228;\"><components>"
        "<component p:path=\"/3D/other.model\" objectid=\"1\"/><component p:path=\"/3D/other.model\" "
        "objectid=\"1\" transform=\"0 2 0 -2 0 0 0 0 2 10 0 "
        "0\"/></components></object></resources><build><item "
        "objectid=\"5\"/></build></model>";
    WriteThreeMf(folder_ / "in.3mf", main, other);
    const WorkerRun run = RunWorker({folder_ / "in.3mf", folder_ / "out.glb"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const Facts out = ReadBack(folder_ / "out.glb");
    EXPECT_EQ(out.triangles, 24);
    EXPECT_NEAR(std::abs(out.volume), 6000 * (1 + 8), 1);
    EXPECT_NEAR(out.high[0], 100 - 2 * kBoxLow[1], 1e-3);
    EXPECT_NEAR(out.low[1], -2 * kBoxHigh[0], 1e-3);
    EXPECT_EQ(out.colours, (std::set<std::string>{"16000016", "00160008"}));
    EXPECT_TRUE(out.names.contains("a & ä"));
    WriteThreeMf(folder_ / "in.3mf", replaced(main, "objectid=\"1\"", "objectid=\"3\""), other);
    EXPECT_EQ(RunWorker({folder_ / "in.3mf", folder_ / "out.glb"}).code, 5) << "an object that is not there";
    WriteThreeMf(folder_ / "in.3mf", replaced(main, "<component ", "<component objectid=\"5\"/><component "),
                 other);
    EXPECT_EQ(RunWorker({folder_ / "in.3mf", folder_ / "out.glb"}).code, 5) << "an object that holds itself";
}

}  // namespace
}  // namespace morvex::test
