// Every input with every output: what comes out is what went in.
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

// Written in VRML there is nothing installed to read it with; its numbers are taken from the text.
Facts ReadVrmlNumbers(const std::string& path) {
    const std::string text = ReadWhole(path);
    Facts facts;
    facts.read = text.starts_with("#VRML V2.0 utf8");
    for (std::size_t at = 0; (at = text.find(" -1\n", at)) != std::string::npos; ++at) ++facts.triangles;
    return facts;
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

class Matrix : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        WriteAssembly(*folder_ / "asm.step");
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
        *folder_ / "box.dxf"};
    Facts box;
    for (std::size_t axis = 0; axis < 3; ++axis)
        box.low[axis] = kBoxLow[axis], box.high[axis] = kBoxHigh[axis];
    box.area = 2200, box.volume = 6000;
    for (const std::string& input : inputs) {
        const bool byHand = input.find("/box.") != std::string::npos;
        const Facts in = byHand ? box : ReadBack(input);
        for (const char* suffix : kOutputs) {
            SCOPED_TRACE(input + " -> " + suffix);
            const ScratchFolder folder;
            const std::string output = folder / (std::string("out.") + suffix);
            const WorkerRun run = RunWorker({input, output});
            ASSERT_EQ(run.code, 0) << run.errors;
            const bool vrml = suffix == std::string("wrl");
            const Facts out = vrml ? ReadVrmlNumbers(output) : ReadBack(output);
            ASSERT_TRUE(out.read);
            EXPECT_GT(out.triangles, 0);
            if (!vrml) ExpectSameExtent(in, out);
        }
    }
}

// Formats that Open CASCADE has read back above are read by a second program as well.
TEST_F(Matrix, SecondReaderAgrees) {
    const Facts in = ReadBack(*folder_ / "asm.step");
    for (const char* name : {"asm.stl", "asm.obj", "asm.gltf", "asm.glb"}) {
        SCOPED_TRACE(name);
        const Facts out = ReadByAssimp(*folder_ / name);
        ASSERT_TRUE(out.read);
        ExpectSameExtent(in, out);
    }
}

}  // namespace
}  // namespace morvex::test
