// Parts that are used very often: in their places, and in a time that grows with their number only.
#include <BRepGProp.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <GProp_GProps.hxx>
#include <Interface_Static.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <algorithm>
#include <gtest/gtest.h>
#include <regex>

#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using Centre = std::array<double, 3>;

TopoDS_Compound Assembly(const TopoDS_Shape& part, int uses, double step) {
    TopoDS_Compound whole;
    const BRep_Builder builder;
    builder.MakeCompound(whole);
    for (int use = 0; use < uses; ++use) {
        gp_Trsf turn, shift;
        turn.SetRotation(gp::OZ(), 0.01 * use);
        shift.SetTranslation(gp_Vec(step * use, 0, 0));
        builder.Add(whole, part.Located(TopLoc_Location(shift * turn)));
    }
    return whole;
}

void WriteStep(const TopoDS_Shape& shape, const std::string& path) {
    STEPControl_Writer writer;
    Interface_Static::SetIVal("write.step.assembly", 1);
    ASSERT_EQ(writer.Transfer(shape, STEPControl_AsIs), IFSelect_RetDone);
    ASSERT_EQ(writer.Write(path.c_str()), IFSelect_RetDone);
}

std::vector<Centre> CentresOf(const TopoDS_Shape& shape) {
    std::vector<Centre> centres;
    for (TopExp_Explorer solid(shape, TopAbs_SOLID); solid.More(); solid.Next()) {
        GProp_GProps properties;
        BRepGProp::VolumeProperties(solid.Current(), properties);
        const gp_Pnt at = properties.CentreOfMass();
        centres.push_back({at.X(), at.Y(), at.Z()});
    }
    std::ranges::sort(centres);
    return centres;
}

// The other way round: places that lead from the assembly to the part.
std::string Reversed(std::string step) {
    std::erase(step, '\n');
    const std::regex relation(R"((REPRESENTATION_RELATIONSHIP\('','',)(#\d+),(#\d+)\))"),
        place(R"((ITEM_DEFINED_TRANSFORMATION\('','',)(#\d+),(#\d+)\))");
    EXPECT_TRUE(std::regex_search(step, relation) && std::regex_search(step, place));
    step = std::regex_replace(step, relation, "$1$3,$2)");
    return std::regex_replace(step, place, "$1$3,$2)");
}

// With an axis among the items of each part that no place refers to.
std::string WithFreeAxis(std::string step) {
    std::erase(step, '\n');
    const std::regex items(R"((ADVANCED_BREP_SHAPE_REPRESENTATION\('',\())");
    EXPECT_TRUE(std::regex_search(step, items));
    step = std::regex_replace(step, items, "$1#90004,");
    return step.insert(step.rfind("ENDSEC;"),
                       "#90001=CARTESIAN_POINT('',(100.,0.,0.));#90002=DIRECTION('',(0.,0.,1.));"
                       "#90003=DIRECTION('',(1.,0.,0.));"
                       "#90004=AXIS2_PLACEMENT_3D('',#90001,#90002,#90003);");
}

TEST(Instances, ManyStandWhereTheyBelong) {
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(gp_Pnt(1, 2, 3), gp_Pnt(2, 5, 9)).Shape();
    const TopoDS_Shape whole = Assembly(Assembly(box, 2, 10), 400, 30);
    const ScratchFolder folder;
    WriteStep(whole, folder / "a.step");
    WriteWhole(folder / "b.step", Reversed(ReadWhole(folder / "a.step")));
    WriteWhole(folder / "c.step", WithFreeAxis(ReadWhole(folder / "a.step")));
    const std::vector<Centre> wanted = CentresOf(whole);
    for (const char* name : {"a.step", "b.step", "c.step"}) {
        SCOPED_TRACE(name);
        const WorkerRun run = RunWorker({folder / name, folder / "o.brep"});
        ASSERT_EQ(run.code, 0) << run.errors;
        TopoDS_Shape read;
        ASSERT_TRUE(BRepTools::Read(read, (folder / "o.brep").c_str(), BRep_Builder()));
        const std::vector<Centre> centres = CentresOf(read);
        ASSERT_EQ(centres.size(), wanted.size());
        for (std::size_t at = 0; at < wanted.size(); ++at) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                EXPECT_NEAR(centres[at][axis], wanted[at][axis], 1e-6);
        }
    }
}

TEST(Instances, TakeATimeThatGrowsWithTheirNumber) {
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
    const ScratchFolder folder;
    const auto secondsFor = [&](int uses) {
        WriteStep(Assembly(box, uses, 5), folder / "a.step");
        const WorkerRun run = RunWorker({folder / "a.step", folder / "a.glb"});
        EXPECT_EQ(run.code, 0) << run.errors;
        return run.processorSeconds;
    };
    EXPECT_LT(secondsFor(8192), 8 * secondsFor(2048));  // 16 times with the square of it
}

}  // namespace
}  // namespace morvex::test
