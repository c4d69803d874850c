// What formats of surfaces get: exact shapes as they are, triangles as plane faces.
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <algorithm>
#include <gtest/gtest.h>
#include <numbers>

#include "engine/modules/core/prepare.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

TopoDS_Compound Compound(const std::vector<TopoDS_Shape>& shapes) {
    TopoDS_Compound all;
    const BRep_Builder builder;
    builder.MakeCompound(all);
    for (const TopoDS_Shape& shape : shapes) builder.Add(all, shape);
    return all;
}

// A face without a surface: half a square of 10 mm in the plane z = 100.
TopoDS_Face Triangle() {
    const Handle(Poly_Triangulation) mesh = new Poly_Triangulation(3, 1, Standard_False);
    mesh->SetNode(1, {0, 0, 100});
    mesh->SetNode(2, {10, 0, 100});
    mesh->SetNode(3, {0, 10, 100});
    mesh->SetTriangle(1, Poly_Triangle(1, 2, 3));
    TopoDS_Face face;
    BRep_Builder().MakeFace(face, mesh);
    return face;
}

// The definition of a product of the sample without surfaces, added to another STEP file.
std::string WithPlate(std::string step) {
    std::string plate = TessellatedPlate();
    plate = plate.substr(plate.find("DATA;") + 5);
    plate.erase(plate.find("ENDSEC;"));
    for (std::size_t at = 0; (at = plate.find('#', at)) != std::string::npos; at += 6)
        plate.insert(at + 1, "90000");
    return step.insert(step.rfind("ENDSEC;"), plate);
}

TEST(Mixed, SurfacesStayBesideFacets) {
    const ScratchFolder folder;
    // Both in one part.
    const TopoDS_Shape shape = Compound({BRepPrimAPI_MakeCylinder(5, 40).Shape(), Triangle()});
    ASSERT_TRUE(BRepTools::Write(shape, (folder / "one.brep").c_str()));
    // Parts of either kind.
    WriteWhole(folder / "two.step", WithPlate(ReadWhole(Sample("step/screw.step"))));
    const Facts screw = ReadBack(Sample("step/screw.step"));
    const double cylinder = std::numbers::pi * 25 * 40;
    const struct {
        const char* name;
        long solids, faces;
        double volume;
    } cases[] = {{"one.brep", 1, 4, cylinder}, {"two.step", screw.solids, screw.faces + 2, screw.volume}};
    for (const auto& [name, solids, faces, volume] : cases) {
        for (const char* output : {"out.step", "out.igs"}) {
            SCOPED_TRACE(name + std::string(" to ") + output);
            ASSERT_EQ(RunWorker({folder / name, folder / output}).code, 0);
            const Facts found = ReadBack(folder / output);
            EXPECT_EQ(found.solids, solids);
            EXPECT_EQ(found.faces, faces);
            // The surfaces beside the body add to it what they would bound with the origin.
            EXPECT_NEAR(found.volume, volume + (name == std::string("one.brep") ? 10. * 10 / 2 * 100 / 3 : 0),
                        std::abs(volume) * 0.02);
        }
    }
    ASSERT_EQ(
        RunWorker({"--set", "TRANSFORMATION ENTITES/BODY_TO_NURBS=1", folder / "two.step", folder / "b.step"})
            .code,
        0);
    const std::string splines = ReadWhole(folder / "b.step");
    EXPECT_NE(splines.find("B_SPLINE_SURFACE"), std::string::npos) << "the surfaces";
    EXPECT_NE(splines.find("PLANE("), std::string::npos) << "the facets";
    EXPECT_EQ(RunWorker({"--set", "TRANSFORMATION ENTITES/BODY_TO_NURBS=1", folder / "two.step",
                         folder / "out.brep"})
                  .code,
              0);
}

using Outline = std::vector<std::array<double, 2>>;

// The facets of a prism, inside out when it goes down. Its first corner sees all others.
std::string Prism(const Outline& outline, double from, double to) {
    std::string text;
    const auto facet = [&](const Corner& first, const Corner& second, const Corner& third) {
        text += "facet normal 0 0 0\nouter loop\n";
        for (const auto& [x, y, z] : {first, second, third})
            text += "vertex " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z) + "\n";
        text += "endloop\nendfacet\n";
    };
    for (std::size_t at = 0; at < outline.size(); ++at) {
        const auto& [x, y] = outline[at];
        const auto& [u, v] = outline[(at + 1) % outline.size()];
        facet({x, y, from}, {u, v, from}, {u, v, to});
        facet({x, y, from}, {u, v, to}, {x, y, to});
        if (at == 0 || at + 1 == outline.size()) continue;
        const auto& [a, b] = outline.front();
        facet({a, b, to}, {x, y, to}, {u, v, to});
        facet({a, b, from}, {u, v, from}, {x, y, from});
    }
    return text;
}

Outline Square(double at, double size) {
    return {{at, at}, {at + size, at}, {at + size, at + size}, {at, at + size}};
}

TEST(Facets, HollowsAreWhatLiesWithin) {
    const Outline angle{{10, 10}, {10, 30}, {0, 30}, {0, 0}, {30, 0}, {30, 10}};
    const struct {
        const char* name;
        std::string facets;
        long solids, hollows;
        double volume;
    } cases[] = {
        {"within", Prism(angle, 0, 10) + Prism(Square(2, 5), 7, 2), 1, 1, 5000 - 125},
        {"touching", Prism(angle, 0, 10) + Prism(Square(1, 5), 5, 0), 1, 1, 5000 - 125},
        {"in the notch", Prism(angle, 0, 10) + Prism(Square(15, 5), 7, 2), 2, 0, 5000 + 125},
        {"within what is within",
         Prism(Square(0, 30), 0, 30) + Prism(Square(2, 20), 22, 2) + Prism(Square(4, 10), 4, 14) +
             Prism(Square(5, 5), 10, 5),
         2, 2, 27000 - 8000 + 1000 - 125},
    };
    for (const auto& [name, facets, solids, hollows, volume] : cases) {
        SCOPED_TRACE(name);
        const ScratchFolder folder;
        WriteWhole(folder / "in.stl", "solid\n" + facets + "endsolid\n");
        ASSERT_EQ(RunWorker({folder / "in.stl", folder / "out.step"}).code, 0);
        // Readers take a hollow that lies outside for a body.
        const std::string step = ReadWhole(folder / "out.step");
        long written = 0;
        for (std::size_t at = 0; (at = step.find("ORIENTED_CLOSED_SHELL(", at)) != std::string::npos; ++at)
            ++written;
        EXPECT_EQ(written, hollows);
        const Facts found = ReadBack(folder / "out.step");
        EXPECT_EQ(found.solids, solids);
        EXPECT_NEAR(found.volume, volume, 1);
    }
}

// What is dropped of a part goes out of the assemblies around it too.
TEST(Wireframe, IsDroppedEverywhere) {
    Document document;
    gp_Trsf shift;
    shift.SetTranslation(gp_Vec(50, 0, 0));
    const TopoDS_Edge edge = BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 0), gp_Pnt(0, 0, 99));
    document.AddPart(Compound({BRepPrimAPI_MakeBox(10, 20, 30).Shape(), edge}).Moved(shift), "part");
    document.Shapes()->UpdateAssemblies();
    DropWireframe(document);
    const TopoDS_Shape whole = document.WholeShape();
    EXPECT_FALSE(TopExp_Explorer(whole, TopAbs_EDGE, TopAbs_FACE).More());
    EXPECT_TRUE(TopExp_Explorer(whole, TopAbs_SOLID).More());
}

}  // namespace
}  // namespace morvex::test
