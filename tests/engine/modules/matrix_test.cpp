// Every input with every output: what comes out is what went in.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <zlib.h>

#include "engine/common/formats.h"
#include "tests/engine/support/mesh_samples.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// The formats that are written as models, by their suffixes.
std::vector<std::string> Outputs() {
    std::vector<std::string> suffixes;
    for (const Format& format : AllFormats()) {
        if (format.writeModule != nullptr && !format.IsDrawing() && format.id != FormatId::PartsList)
            suffixes.emplace_back(format.suffixes.front().substr(1));
    }
    return suffixes;
}

bool IsOneOf(const std::string& suffix, std::initializer_list<const char*> suffixes) {
    return std::ranges::find(suffixes, suffix) != suffixes.end();
}

std::string SuffixOf(const std::string& path) {
    return path.substr(path.rfind('.') + 1);
}

void ExpectSameExtent(const Facts& in, const Facts& out) {
    const double slack = in.Diagonal() * 5e-3;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(in.low[axis], out.low[axis], slack);
        EXPECT_NEAR(in.high[axis], out.high[axis], slack);
    }
    EXPECT_NEAR(in.area, out.area, in.area * 0.02);
    EXPECT_NEAR(in.volume, out.volume, std::abs(in.volume) * 0.03 + slack);
}

// As far as both formats can hold them.
void ExpectSameContents(const std::string& input, const Facts& in, const std::string& to, const Facts& out) {
    const std::string from = SuffixOf(input);
    const bool meshes = !IsOneOf(from, {"step", "iges", "igs"});
    const bool plainShapes = IsOneOf(to, {"stp", "igs", "brep"});
    if (meshes && !plainShapes) {
        EXPECT_EQ(out.triangles, in.triangles);
    }
    if (meshes && IsOneOf(to, {"stp", "igs"})) {
        EXPECT_EQ(out.faces, in.triangles);
    }
    if (!meshes && plainShapes) {
        EXPECT_EQ(out.faces, in.faces);
    }
    if (input.find("/asm.") != std::string::npos && IsOneOf(to, {"stp", "igs"})) {
        EXPECT_EQ(out.solids, 4);
    }
    const bool coloured =
        IsOneOf(to, {"stp", "igs", "wrl", "obj", "dae", "gltf", "glb", "fbx", "3mf", "dxf"});
    // A drawing's plain faces have any colour; the maker of the 3DS file gives it one of its own.
    if (!coloured || IsOneOf(from, {"dxf", "3ds"})) return;
    if (to == "igs") {
        EXPECT_EQ(out.colours.size(), in.colours.size()) << "without their transparency";
    } else if (to == "3mf") {
        EXPECT_TRUE(std::ranges::includes(in.colours, out.colours)) << "its reader takes one a mesh";
    } else {
        std::set<std::string> colours = out.colours;
        if (to == "wrl") colours.erase("13131316");  // of what has no colour
        EXPECT_EQ(colours, in.colours);
    }
    if (!IsOneOf(to, {"stp", "gltf", "glb", "fbx", "dae"})) return;
    for (const char* name : {kBoxName, kCylinderName, kPairName, kTopName})
        EXPECT_EQ(out.names.contains(name), in.names.contains(name)) << name;
}

class Matrix : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        scratch = new ScratchFolder;
        WriteAssembly(*scratch / "asm.step");
        WriteColouredPlaces(*scratch / "places.step");
        for (const char* suffix : {"igs", "stl", "obj", "gltf", "glb", "fbx", "dae", "3mf", "wrl"}) {
            ASSERT_EQ(RunWorker({*scratch / "asm.step", *scratch / (std::string("asm.") + suffix)}).code, 0);
        }
        WriteWhole(*scratch / "box.fbx", FbxBox());
        WriteWhole(*scratch / "box.ifc", IfcBox());
        WriteWhole(*scratch / "box.dxf", DxfBox());
        WriteMeshBoxes(scratch->Path());
    }
    static void TearDownTestSuite() { delete scratch; }
    static inline ScratchFolder* scratch = nullptr;
};

TEST_F(Matrix, EveryPair) {
    const std::string inputs[] = {
        Sample("step/screw.step"), Sample("iges/bearing.iges"), Sample("stl/shape.stl"),
        *scratch / "asm.step",     *scratch / "asm.igs",        *scratch / "asm.stl",
        *scratch / "asm.obj",      *scratch / "asm.gltf",       *scratch / "asm.glb",
        *scratch / "asm.fbx",      *scratch / "box.fbx",        *scratch / "box.ifc",
        *scratch / "box.dxf",      *scratch / "places.step",    *scratch / "asm.dae",
        *scratch / "asm.3mf",      *scratch / "asm.wrl",        *scratch / "box.dae",
        *scratch / "box.3mf",      *scratch / "box.amf",        *scratch / "box.x3d",
        *scratch / "box.wrl",      *scratch / "box.3ds",        *scratch / "box.ply",
        *scratch / "box.off"};
    Facts box;
    for (std::size_t axis = 0; axis < 3; ++axis)
        box.low[axis] = kBoxLow[axis], box.high[axis] = kBoxHigh[axis];
    box.area = 2200, box.volume = 6000, box.triangles = 12;
    for (const std::string& input : inputs) {
        const bool byHand = input.find("/box.") != std::string::npos;
        Facts in = byHand ? box : ReadBack(input);
        if (byHand) in.colours = {IsOneOf(SuffixOf(input), {"fbx", "ifc"}) ? "13020216" : "16000016"};
        if (input.ends_with("/asm.3mf")) {  // of which the other reader takes one colour a mesh and no names
            const Facts whole = ReadBack(*scratch / "asm.step");
            in.colours = whole.colours;
            in.names = whole.names;
        }
        for (const std::string& suffix : Outputs()) {
            SCOPED_TRACE(input + " -> " + suffix);
            const ScratchFolder folder;
            const std::string output = folder / ("out." + suffix);
            const WorkerRun run = RunWorker({input, output});
            ASSERT_EQ(run.code, 0) << run.errors;
            const Facts out = ReadBack(output);
            ASSERT_TRUE(out.read);
            EXPECT_EQ(out.faults, std::set<std::string>());
            ExpectSameExtent(in, out);
            ExpectSameContents(input, in, suffix, out);
            if (IsOneOf(suffix, {"stl", "obj", "gltf", "glb"})) ExpectSameExtent(in, ReadByAssimp(output));
        }
    }
}

// What all instances add up to.
TEST_F(Matrix, PartsLists) {
    for (const char* suffix : {"step", "igs", "stl", "glb", "fbx"}) {
        const std::string input = *scratch / (std::string("asm.") + suffix), output = *scratch / "list.xml";
        SCOPED_TRACE(input);
        ASSERT_EQ(RunWorker({input, output}).code, 0);
        const Facts in = ReadBack(input), list = ReadBack(output);
        ASSERT_TRUE(list.read);
        EXPECT_NEAR(list.area, in.area, in.area * 0.01);
        EXPECT_NEAR(list.volume, in.volume, in.volume * 0.02);
        EXPECT_EQ(list.solids, in.solids);
        if (suffix == std::string("step")) {
            EXPECT_EQ(list.faces, in.faces);
        }
        EXPECT_EQ(list.colours.size(), in.colours.size());
        for (const char* name : {kBoxName, kCylinderName, kPairName, kTopName})
            EXPECT_EQ(list.names.contains(name), in.names.contains(name)) << name;
    }
}

// The contents of a file, unpacked when its name says that it is packed.
std::string Unpacked(const std::string& path) {
    std::string contents;
    const gzFile file = gzopen(path.c_str(), "rb");
    if (file == nullptr) return contents;
    char bytes[1 << 16];
    for (int got; (got = gzread(file, bytes, sizeof bytes)) > 0;)
        contents.append(bytes, static_cast<std::size_t>(got));
    gzclose(file);
    return contents;
}

// What other programs have written, of other packages than the samples.
TEST(MatrixOfOthers, EveryPair) {
    const std::string gmsh = "/usr/share/doc/gmsh-doc/doc/gmsh/", assimp = "/usr/share/assimp/models/";
    const struct {
        std::string path;
        double cube;       // edge in millimetres of one about the origin; 0: as another reader finds it
        std::string same;  // a file of the same model that the other reader does not turn
    } parts[] = {{gmsh + "tutorial/t20_data.step.gz", 0, {}},
                 {gmsh + "demos/boolean/as1-tu-203.stp.gz", 0, {}},
                 {gmsh + "demos/boolean/component8.step.gz", 0, {}},
                 {gmsh + "demos/simple_geo/sphere-surf.stl.gz", 0, {}},
                 {assimp + "OBJ/WusonOBJ.obj", 0, {}},
                 {assimp + "DXF/wuson.dxf", 0, assimp + "OBJ/WusonOBJ.obj"},
                 {assimp + "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb", 0, {}},
                 {assimp + "FBX/phong_cube.fbx", 10, {}}};
    const ScratchFolder folder;
    for (const auto& [path, cube, same] : parts) {
        std::filesystem::path name = std::filesystem::path(path).filename();
        if (name.extension() == ".gz") name.replace_extension();
        const std::string input = folder / name;
        WriteWhole(input, Unpacked(path));
        Facts in = ReadBack(same.empty() ? input : same);
        ASSERT_TRUE(in.read) << path;
        if (cube > 0) {
            in.low.fill(-cube / 2), in.high.fill(cube / 2);
            in.area = 6 * cube * cube, in.volume = cube * cube * cube;
        }
        const bool meshes = in.solids == 0;
        for (const std::string& suffix : Outputs()) {
            SCOPED_TRACE(path + " -> " + suffix);
            const ScratchFolder results;
            const std::string output = results / ("out." + suffix);
            const WorkerRun run = RunWorker({input, output});
            ASSERT_EQ(run.code, 0) << run.errors;
            const Facts out = ReadBack(output);
            ASSERT_TRUE(out.read);
            ExpectSameExtent(in, out);
            const bool exact = IsOneOf(suffix, {"stp", "igs", "brep"});
            if (meshes && !exact) {
                EXPECT_EQ(out.triangles, in.triangles);
            } else if (!meshes && exact) {
                EXPECT_EQ(out.faces, in.faces);
                EXPECT_EQ(out.solids, in.solids);
            }
        }
    }
}

}  // namespace
}  // namespace morvex::test
