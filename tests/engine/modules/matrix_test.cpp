// Every input with every output: what comes out is what went in.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

const char* const kOutputs[] = {"stp", "igs",  "brep", "stl", "wrl", "obj",
                                "dae", "gltf", "glb",  "fbx", "3mf"};

bool IsOneOf(const std::string& suffix, std::initializer_list<const char*> suffixes) {
    return std::ranges::find(suffixes, suffix) != suffixes.end();
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
    const std::string from = input.substr(input.rfind('.') + 1);
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
    if (IsOneOf(to, {"stl", "brep"}) || from == "dxf") return;  // a drawing's plain faces have any colour
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
        folder_ = new ScratchFolder;
        WriteAssembly(*folder_ / "asm.step");
        WriteColouredPlaces(*folder_ / "places.step");
        for (const char* suffix : {"igs", "stl", "obj", "gltf", "glb", "fbx"}) {
            ASSERT_EQ(RunWorker({*folder_ / "asm.step", *folder_ / (std::string("asm.") + suffix)}).code, 0);
        }
        WriteWhole(*folder_ / "box.fbx", FbxBox());
        WriteWhole(*folder_ / "box.ifc", IfcBox());
        WriteWhole(*folder_ / "box.dxf", DxfBox());
    }
    static void TearDownTestSuite() { delete folder_; }
    static inline ScratchFolder* folder_ = nullptr;
};

TEST_F(Matrix, EveryPair) {
    const std::string inputs[] = {
        Sample("step/screw.step"), Sample("iges/bearing.iges"), Sample("stl/shape.stl"),
        *folder_ / "asm.step",     *folder_ / "asm.igs",        *folder_ / "asm.stl",
        *folder_ / "asm.obj",      *folder_ / "asm.gltf",       *folder_ / "asm.glb",
        *folder_ / "asm.fbx",      *folder_ / "box.fbx",        *folder_ / "box.ifc",
        *folder_ / "box.dxf",      *folder_ / "places.step"};
    Facts box;
    for (std::size_t axis = 0; axis < 3; ++axis)
        box.low[axis] = kBoxLow[axis], box.high[axis] = kBoxHigh[axis];
    box.area = 2200, box.volume = 6000, box.triangles = 12;
    for (const std::string& input : inputs) {
        const bool byHand = input.find("/box.") != std::string::npos;
        Facts in = byHand ? box : ReadBack(input);
        if (byHand) in.colours = {"13020216"};
        for (const char* suffix : kOutputs) {
            SCOPED_TRACE(input + " -> " + suffix);
            const ScratchFolder folder;
            const std::string output = folder / (std::string("out.") + suffix);
            const WorkerRun run = RunWorker({input, output});
            ASSERT_EQ(run.code, 0) << run.errors;
            const Facts out = ReadBack(output);
            ASSERT_TRUE(out.read);
            ExpectSameExtent(in, out);
            ExpectSameContents(input, in, suffix, out);
            if (IsOneOf(suffix, {"stl", "obj", "gltf", "glb"})) ExpectSameExtent(in, ReadByAssimp(output));
        }
    }
}

}  // namespace
}  // namespace morvex::test
