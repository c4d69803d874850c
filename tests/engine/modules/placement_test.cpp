// Scale and mirroring in the places of parts, which most formats cannot hold.
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <gtest/gtest.h>

#include "engine/modules/core/prepare.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// The box three times, in metres: twice its size, mirrored at a point 100 away, and moved, all below a node
// that makes it thousandths.
std::string ScaledGltf() {
    return GltfBox(R"([{"name":"top","scale":[0.001,0.001,0.001],"children":[1,2,3]},
        {"name":"big","mesh":0,"scale":[2,2,2]},
        {"name":"mirrored","mesh":0,"scale":[-1,-1,-1],"translation":[100,0,0]},
        {"name":"plain","mesh":0,"translation":[0,0,200]}])");
}

void WriteScaledBrep(const std::string& path) {
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(gp_Pnt(1, 2, 3), gp_Pnt(11, 22, 33)).Shape();
    TopoDS_Compound all;
    const BRep_Builder builder;
    builder.MakeCompound(all);
    gp_Trsf big, mirror, shift, turn;
    big.SetScale(gp_Pnt(0, 0, 0), 2);
    mirror.SetMirror(gp_Ax2(gp_Pnt(50, 0, 0), gp::DX()));
    shift.SetTranslation(gp_Vec(0, -200, 0));
    turn.SetRotation(gp::OZ(), 1);
    for (const gp_Trsf& place : {big, mirror, shift * turn}) {
        TopoDS_Shape copy = box;
        copy.Location(place, Standard_False);
        builder.Add(all, copy);
    }
    ASSERT_TRUE(BRepTools::Write(all, path.c_str()));
}

TEST(Placement, ScaleAndMirroringAreInThePartsOfEveryFormat) {
    const ScratchFolder folder;
    WriteWhole(folder / "in.gltf", ScaledGltf());
    WriteScaledBrep(folder / "in.brep");
    const struct {
        const char* input;
        double low[3], high[3];
    } cases[] = {{"in.gltf", {1, -233, -22}, {99, 33, 44}},
                 {"in.brep", {-17.972, -198.079, 3}, {99, 44, 66}}};
    for (const auto& [input, low, high] : cases) {
        for (const char* suffix :
             {"stp", "igs", "brep", "stl", "obj", "glb", "dae", "fbx", "3mf", "dxf", "wrl"}) {
            SCOPED_TRACE(std::string(input) + " -> " + suffix);
            const std::string output = folder / (std::string("out.") + suffix);
            const WorkerRun run = RunWorker({folder / input, output});
            ASSERT_EQ(run.code, 0) << run.errors;
            if (suffix == std::string("wrl")) {
                EXPECT_EQ(ReadWhole(output).find("scale"), std::string::npos);
                continue;
            }
            const Facts out = ReadBack(output);
            EXPECT_NEAR(out.volume, 60000, 1) << "ten boxes, none of them inside out";
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(out.low[axis], low[axis], 0.01);
                EXPECT_NEAR(out.high[axis], high[axis], 0.01);
            }
        }
    }
    EXPECT_EQ(RunWorker({folder / "in.gltf", folder / "out.dae"}).code, 0);
    for (const char* name : {"big", "mirrored", "plain"})
        EXPECT_TRUE(ReadBack(folder / "out.dae").names.contains(name)) << name;
}

// Each factor has a copy of the part, whatever its size.
TEST(Placement, FactorsFarFromOneStayApart) {
    for (const double factor : {1e10, 1e-9, -3.0, 1.0}) {
        Document document;
        const TDF_Label part = document.AddPart(BRepPrimAPI_MakeBox(1, 2, 3).Shape(), "box");
        const TDF_Label whole = document.Shapes()->NewShape();
        for (const double times : {1.0, 1.25}) {
            gp_Trsf place;
            place.SetScale(gp::Origin(), times * factor);
            document.Shapes()->AddComponent(whole, part, place);
        }
        document.Shapes()->UpdateAssemblies();
        Journal journal([](std::string_view) {});
        const Request request;
        const Settings settings;
        JobContext context{request, settings, journal, document, {}, {}};
        BakeLocations(context);
        EXPECT_EQ(document.Count().parts, 2) << factor;
    }
}

}  // namespace
}  // namespace morvex::test
