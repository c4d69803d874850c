// The solids of IFC that the library behind the reader does not know by itself.
#include <algorithm>
#include <gtest/gtest.h>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// The box with another solid in the place of its own.
std::string With(const std::string& solid) {
    return Replaced(Replaced(IfcBox(), "IFC2X3", "IFC4"), "IFCEXTRUDEDAREASOLID(#20,#22,#10,30.);",
                    solid + ";");
}

// The box as a face set of triangles or of its sides, and what it needs.
std::string FaceSet(bool triangles) {
    std::string points, faces, sides;
    for (const auto& [x, y, z] : BoxCorners()) {
        points += (points.empty() ? "(" : ",(") + std::to_string(x) + "," + std::to_string(y) + "," +
                  std::to_string(z) + ")";
    }
    int id = 100;
    for (const auto& side : kBoxSides) {
        const auto corner = [&](int at) { return std::to_string(side[at] + 1); };
        for (const int at : {1, 2}) {
            if (triangles)
                faces +=
                    (faces.empty() ? "(" : ",(") + corner(0) + "," + corner(at) + "," + corner(at + 1) + ")";
        }
        if (triangles) continue;
        sides += ";#" + std::to_string(++id) + "=IFCINDEXEDPOLYGONALFACE((" + corner(0) + "," + corner(1) +
                 "," + corner(2) + "," + corner(3) + "))";
        faces += (faces.empty() ? "#" : ",#") + std::to_string(id);
    }
    return (triangles ? "IFCTRIANGULATEDFACESET(#100,$,.T.,(" + faces + "),$)"
                      : "IFCPOLYGONALFACESET(#100,.T.,(" + faces + "),$)" + sides) +
           ";#100=IFCCARTESIANPOINTLIST3D((" + points + "))";
}

TEST(Ifc, SolidsOfIfc4) {
    const struct {
        const char* name;
        std::string file;
        int code;
    } cases[] = {
        {"triangles", With(FaceSet(true)), 0},
        {"polygons", With(FaceSet(false)), 0},
        {"block",
         With("IFCCSGSOLID(#100);#100=IFCBLOCK(#102,10.,20.,30.);#101=IFCCARTESIANPOINT((1.,2.,3.));"
              "#102=IFCAXIS2PLACEMENT3D(#101,$,$)"),
         0},
        {"corner that is not there", Replaced(With(FaceSet(true)), "((1,", "((9,"), 5},
        {"sphere", With("IFCSPHERE(#22,5.)"), 5},
        {"advanced body", With("IFCADVANCEDBREP(#100)"), 5},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, code] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.ifc", file);
        const WorkerRun run = RunWorker({folder / "in.ifc", folder / "out.stl"});
        EXPECT_EQ(run.code, code) << run.errors;
        if (code != 0 || run.code != 0) continue;
        const Facts facts = ReadBack(folder / "out.stl");
        EXPECT_NEAR(facts.volume, 6000, 0.1);
        EXPECT_NEAR(facts.low[2], 3, 1e-3);
    }
}

TEST(Ifc, NamesAndSeveralStatementsALine) {
    std::string file = Replaced(IfcBox(), "'block'", R"('\X2\041A043E\X0\ \X\FC')");
    file = Replaced(file, ";\n#21=", "; #21=");
    const ScratchFolder folder;
    WriteWhole(folder / "in.ifc", file);
    const WorkerRun run = RunWorker({folder / "in.ifc", folder / "out.stp"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const Facts facts = ReadBack(folder / "out.stp");
    EXPECT_TRUE(std::ranges::any_of(
        facts.names, [](const std::string& name) { return name.find("Коü") != std::string::npos; }));
}

}  // namespace
}  // namespace morvex::test
