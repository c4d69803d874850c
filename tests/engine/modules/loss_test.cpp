// What a file announces and does not hold, or holds in an unusual way.
#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

#include "tests/engine/support/gltf_maker.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

// Without the line in which the text stands.
std::string WithoutLine(std::string text, const std::string& what) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    const std::size_t start = text.rfind('\n', at), end = text.find('\n', at);
    return text.erase(start, end - start);
}

struct Case {
    const char* name;
    std::string bytes;
    const char* expected;  // in the report; result 0 unless it begins with "<missing>"
};

void Check(const std::vector<Case>& cases) {
    for (const Case& file : cases) {
        SCOPED_TRACE(file.name + std::string(": ") + file.expected);
        const ScratchFolder folder;
        const std::string input = folder / file.name, output = folder / "out.stl",
                          report = output + "-zel.xml";
        WriteWhole(input, file.bytes);
        const bool lost = std::string_view(file.expected).starts_with("<missing>");
        const WorkerRun run = RunWorker({input, output});
        EXPECT_EQ(run.code, lost ? 5 : 0) << run.errors;
        EXPECT_NE(ReadWhole(report).find(file.expected), std::string::npos) << ReadWhole(report);
        if (!lost) continue;
        EXPECT_FALSE(std::filesystem::exists(output));
        EXPECT_EQ(RunWorker({"--keep-partial", input, output}).code, 0);
        const std::string partial = ReadWhole(report);
        EXPECT_EQ(partial.find("<warning>partial"), partial.find("<warning>")) << partial;
        EXPECT_NE(partial.find("<warning>"), std::string::npos);
    }
}

std::string BinaryStl(std::uint32_t facets) {
    std::string bytes(80, ' ');
    bytes.append(reinterpret_cast<const char*>(&facets), sizeof facets);
    for (std::uint32_t facet = 0; facet < facets; ++facet) {
        const auto z = static_cast<float>(facet);
        const float numbers[] = {0, 0, 1, 0, 0, z, 1, 0, z, 0, 1, z};
        bytes.append(reinterpret_cast<const char*>(numbers), sizeof numbers).append(2, '\0');
    }
    return bytes;
}

TEST(Loss, Stl) {
    const std::string facet =
        "facet normal 0 0 1\n outer loop\n  vertex 0 0 0\n  vertex 1 0 0\n  vertex 0 1 0\n"
        " endloop\nendfacet\n";
    const std::string
        one = "solid one\n" + facet + facet + "endsolid one\n",
        other =
            "\t SOLID two parts\r\n  FACET NORMAL 0 0 1\r\n OUTER LOOP\r\nVERTEX 2 0 0\r\nVertex +3. 0 "
            "0\r\nVERTEX 2 1e0 .0\r\nENDLOOP\r\nENDFACET\r\nENDSOLID\r\n";
    const std::string binary = BinaryStl(9);
    const std::string flat = Replaced(facet, "vertex 1 0 0", "vertex 0 0 0") +
                             Replaced(facet, "vertex 0 1 0", "vertex 1 0 0") +
                             Replaced(facet, "vertex 0 1 0", "vertex 0 0 0");
    Check({{"mark.stl", "\xef\xbb\xbf" + one, "faces=\"1\" triangles=\"2\""},
           {"two.stl", one + other,
            "<read parts=\"2\" instances=\"2\" solids=\"0\" faces=\"2\" triangles=\"3\""},
           {"quad.stl",
            "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\nvertex 2 1 0\nvertex 1 3 "
            "0\nendloop\nendfacet\nendsolid\n",
            "area=\"3.5\""},
           {"flat.stl", Replaced(one, "vertex 0 1 0", "vertex 1 0 0"), "<warning>1 facets without an area"},
           {"upper.stl", other, "triangles=\"1\""},
           {"flat.stl", "solid flat\n" + flat + facet + "endsolid flat\n", "3 facets without an area"},
           {"tail.stl", binary + "\r\n", "triangles=\"9\""},
           {"blank.stl", std::string(binary).replace(84 + 50 * 7, 100, 100, '\0'), "<missing>2 of 9 facets"},
           {"bit.stl", Replaced(one, "vertex 1 0 0", "vertex 1 0 p"), "<missing>1 of 2 facets"},
           {"word.stl", Replaced(one, "endloop", "endloot"), "<missing>1 of 2 facets"},
           {"solid.stl", Replaced(one + other, "endsolid", "endsoljd"), "<missing>endsolid in line 16"}});
    const ScratchFolder folder;
    WriteWhole(folder / "two.stl", one + other);
    EXPECT_EQ(RunWorker({folder / "two.stl", folder / "two.obj"}).code, 0);
    const std::string named = ReadWhole(folder / "two.obj");
    EXPECT_NE(named.find("g one\n"), std::string::npos);
    EXPECT_NE(named.find("g two_parts\n"), std::string::npos);
}

class StepLoss : public testing::Test {
  protected:
    void SetUp() override {
        const ScratchFolder folder;
        WriteAssembly(folder / "asm.step");
        step_ = ReadWhole(folder / "asm.step");
    }
    std::string step_;
};

TEST_F(StepLoss, WhatIsMissingIsNamed) {
    Check(
        {{"type.step", Replaced(step_, "ADVANCED_FACE", "ADVANCED_FACF"), "<missing>1 of 9 faces"},
         {"gone.step", WithoutLine(step_, "ADVANCED_FACE"), "<missing>1 of 9 faces"},
         {"solid.step", WithoutLine(step_, "MANIFOLD_SOLID_BREP"), "<missing>"},
         {"use.step", WithoutLine(step_, "NEXT_ASSEMBLY_USAGE_OCCURRENCE"), "<missing>1 of 4 placed parts"},
         {"place.step", WithoutLine(step_, "ITEM_DEFINED_TRANSFORMATION"), "<missing>the places of 1 parts"},
         {"curve.step", WithoutLine(step_, "CIRCLE("), "<missing>"},
         {"body.step",
          Replaced(step_, "ENDSEC;\nEND-ISO",
                   "#9001=BLOCK('',#11,1.,1.,1.);\n#9002=ADVANCED_BREP_SHAPE_"
                   "REPRESENTATION('',(#9001),#23);\nENDSEC;\nEND-ISO"),
          "<missing>1 of 1 bodies"}});
}

TEST_F(StepLoss, WhatCostsNothingIsNoFault) {
    const std::string whole = "faces=\"18\"";
    const std::size_t data = step_.find("DATA;"), middle = step_.find("\n#60 ");
    ASSERT_NE(middle, std::string::npos);
    std::string sections = step_;
    sections.insert(middle + 1, "ENDSEC;\nDATA('two',('AUTOMOTIVE_DESIGN'));\n");
    sections.replace(data, 5, "DATA('one',('AUTOMOTIVE_DESIGN'));");
    Check(
        {{"name.step", Replaced(step_, "VERTEX_POINT('',", "VERTEX_POINT(7,"), "are malformed</warning>"},
         {"junk.step", Replaced(step_, "ENDSEC;\nEND-ISO", "#9001=TYPO(;\nENDSEC;\nEND-ISO"), "faces=\"18\""},
         {"mark.step", "\xef\xbb\xbf" + step_, "faces=\"18\""},
         {"tail.step", step_ + std::string(100'000, '\n') + "appended\n", "faces=\"18\""},
         {"sections.step", sections, "instances=\"4\" solids=\"4\" faces=\"18\""}});
}

// A shell that the file itself leaves open is one; one that damage has opened is a loss.
TEST_F(StepLoss, SolidsWithGaps) {
    const std::size_t shell = step_.find("CLOSED_SHELL('',("), first = step_.find('#', shell),
                      next = step_.find('#', first + 1);
    const std::string face = step_.substr(first, next - first - 1);
    const std::string without =
        WithoutLine(std::string(step_).erase(first, next - first), face + " = ADVANCED_FACE");
    Check({{"gap.step", without, "have gaps"}});
    const std::size_t edge = step_.find("ORIENTED_EDGE("), use = step_.find('#', edge),
                      other = step_.find('#', step_.find("ORIENTED_EDGE(", use));
    std::string crossed = step_;
    crossed.replace(use, crossed.find(',', use) - use, step_.substr(other, step_.find(',', other) - other));
    Check({{"crossed.step", crossed, "<missing>"}});
}

// Where the operator is no map it is a loss.
TEST(MappedItems, ThatScaleOrMirror) {
    const std::string body = "#11 = ADVANCED_BREP_SHAPE_REPRESENTATION('',(#12),#1236);";
    const auto with = [&](const std::string& axis, const std::string& scale) {
        return Replaced(
            ReadWhole(Sample("step/screw.step")), body,
            "#11=SHAPE_REPRESENTATION('',(#90009,#90005),#1236);#90001=CARTESIAN_POINT('',(0.,0.,0.));"
            "#90002=DIRECTION('',(" +
                axis +
                ",0.,0.));#90003=DIRECTION('',(0.,1.,0.));"
                "#90004=DIRECTION('',(0.,0.,1.));#90005=AXIS2_PLACEMENT_3D('',#90001,$,$);"
                "#90006=SHAPE_REPRESENTATION('',(#12,#90005),#1236);#90007=REPRESENTATION_MAP(#90005,#90006);"
                "#90008=CARTESIAN_TRANSFORMATION_OPERATOR_3D('','','',#90002,#90003,#90001," +
                scale + ",#90004);#90009=MAPPED_ITEM('',#90007,#90008);");
    };
    Check({{"moved.step", with("1.", "1."), "mapped-items=\"1\""},
           {"scaled.step", with("1.", "2."), "mapped-items=\"1\""},
           {"flat.step", with("1.", "0."), "<missing>1 of 1 mapped items"}});
    const ScratchFolder folder;
    const Facts in = ReadBack(Sample("step/screw.step"));
    for (const auto& [axis, scale, factor] :
         {std::tuple("1.", "2.", 2.), {"-1.", "1.", 1.}, {"-1.", "0.5", 0.5}}) {
        SCOPED_TRACE(axis + std::string(" ") + scale);
        WriteWhole(folder / "in.step", with(axis, scale));
        ASSERT_EQ(RunWorker({folder / "in.step", folder / "out.stp"}).code, 0);
        const Facts out = ReadBack(folder / "out.stp");
        EXPECT_NEAR(out.volume, in.volume * std::pow(factor, 3), in.volume * 0.02) << "not inside out";
        const double left = *axis == '-' ? -in.high[0] : in.low[0];
        EXPECT_NEAR(out.low[0], left * factor, in.Diagonal() * 5e-3);
        EXPECT_NEAR(out.high[2], in.high[2] * factor, in.Diagonal() * 5e-3);
        EXPECT_EQ(out.colours, in.colours);
    }
}

TEST_F(StepLoss, NothingLeftIsDamage) {
    const ScratchFolder folder;
    std::string text = step_;
    while (text.find("ADVANCED_FACE(") != std::string::npos)
        text = Replaced(text, "ADVANCED_FACE(", "ADVANCED_FACF(");
    WriteWhole(folder / "in.step", text);
    for (const char* option : {"--keep-partial", "--jobs-beside"})
        EXPECT_EQ(RunWorker({option, folder / "in.step", folder / "out.stl"}).code, 5) << option;
}

// By the first two digits of an entity's status, in the first of its two lines of the directory.
TEST_F(StepLoss, HiddenEntitiesOfIges) {
    const ScratchFolder folder;
    WriteWhole(folder / "in.step", step_);
    ASSERT_EQ(RunWorker({folder / "in.step", folder / "in.igs"}).code, 0);
    std::string iges = ReadWhole(folder / "in.igs");
    iges.replace(iges.find("\n     186 ") + 65, 2, "01");
    Check({{"hidden.igs", iges, "7 hidden solids and faces were left out"},
           {"hidden.igs", iges, "solids=\"3\" faces=\"12\""}});
    WriteWhole(folder / "hidden.igs", iges);
    ASSERT_EQ(RunWorker({"--set", "MODIFICATION D'ATTRIBUT/VISIBILITY=0", folder / "hidden.igs",
                         folder / "out.stl"})
                  .code,
              0);
    EXPECT_NE(ReadWhole(folder / "out.stl-zel.xml").find("solids=\"4\" faces=\"18\""), std::string::npos);

    ASSERT_EQ(RunWorker({Sample("step/screw.step"), folder / "one.igs"}).code, 0);
    iges = ReadWhole(folder / "one.igs");
    WriteWhole(folder / "none.igs", iges.replace(iges.find("\n     186 ") + 65, 2, "01"));
    EXPECT_EQ(RunWorker({folder / "none.igs", folder / "none.stl"}).code, 32) << "nothing is in sight";
    // The faces and their shell hidden, and the solid, which is not, of a type that there is none.
    iges = ReadWhole(folder / "one.igs");
    for (std::size_t line = 0; iges.find('\n', line) != std::string::npos; line = iges.find('\n', line) + 1) {
        const std::string type = iges.substr(line, 8), digits = iges.substr(line + 73, 7);
        if (iges[line + 72] != 'D' || std::stoi(digits) % 2 == 0) continue;
        if (type == "     510" || type == "     514") iges.replace(line + 64, 4, "0100");
        if (type == "     186") iges.replace(line + 5, 3, "999");
    }
    WriteWhole(folder / "damaged.igs", iges);
    const WorkerRun damaged = RunWorker({folder / "damaged.igs", folder / "none.stl"});
    EXPECT_EQ(damaged.code, 5);
    EXPECT_NE(damaged.errors.find("Missing: 1 of 1 solids"), std::string::npos) << damaged.errors;
}

// What is left of a damaged mesh is converted on request only.
TEST(Partial, MeshFormats) {
    const std::string obj =
        "v 0 0 0\nv 9 0 0\nv 0 9 0\nv 9 9 x\nvn 0 0 0\nf 1//1 2//1 3//1\nf 2 4 3\nf 1 2 7\n";
    GltfMaker maker;
    const std::string points = std::to_string(maker.BoxPoints()),
                      corners = std::to_string(maker.BoxCorners()),
                      primitives = R"([{"attributes":{"POSITION":)" + points + "},\"indices\":" + corners +
                                   R"(},{"attributes":{"POSITION":9}}])";
    const struct {
        const char* name;
        std::string bytes;
        const char* left;
    } cases[] = {
        {"in.obj", obj, "triangles=\"1\""},
        {"in.gltf", maker.File(primitives, R"([{"mesh":0},{"mesh":5}])"), "triangles=\"12\""},
        {"in.dxf", Replaced(DxfBox(), " 20\n", " 20\nx"), "triangles=\"10\""},
        {"in.ifc",
         Replaced(Replaced(IfcBox(), "'SweptSolid',(#23)", "'SweptSolid',(#23,#99)"),
                  "#24=", "#99=IFCSPHERE(#22,5.);\n#24="),
         "triangles=\"12\""},
    };
    for (const auto& [name, bytes, left] : cases) {
        SCOPED_TRACE(name);
        const ScratchFolder folder;
        const std::string output = folder / "out.glb";
        WriteWhole(folder / name, bytes);
        EXPECT_EQ(RunWorker({folder / name, output}).code, 5);
        EXPECT_FALSE(std::filesystem::exists(output));
        const WorkerRun run = RunWorker({"--keep-partial", folder / name, output});
        EXPECT_EQ(run.code, 0) << run.errors;
        const std::string report = ReadWhole(output + "-zel.xml");
        EXPECT_NE(report.find(left), std::string::npos) << report;
        EXPECT_NE(report.find("<warning>partial"), std::string::npos) << report;
    }
}

// The plate in the top of an assembly, and once more far below it.
std::string DeepAssembly() {
    constexpr int kDepth = 102;
    const auto id = [](int level, int number) { return "#" + std::to_string(level * 1000 + number); };
    std::string text;
    const auto use = [&](int level, int at, const std::string& definition, const std::string& shape) {
        text += id(level, at) + "=NEXT_ASSEMBLY_USAGE_OCCURRENCE('','',''," + id(level, 3) + "," +
                definition + ",$);" + id(level, at + 1) + "=PRODUCT_DEFINITION_SHAPE('',''," + id(level, at) +
                ");" + id(level, at + 2) + "=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(" + id(level, at + 3) +
                "," + id(level, at + 1) + ");" + id(level, at + 3) + "=(REPRESENTATION_RELATIONSHIP('',''," +
                shape + "," + id(level, 6) +
                ")REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(#74)SHAPE_REPRESENTATION_RELATIONSHIP());";
    };
    for (int level = 1; level <= kDepth; ++level) {
        text += id(level, 1) + "=PRODUCT('p','p','',(#2));" + id(level, 2) +
                "=PRODUCT_DEFINITION_FORMATION('',''," + id(level, 1) + ");" + id(level, 3) +
                "=PRODUCT_DEFINITION('',''," + id(level, 2) + ",#5);" + id(level, 4) +
                "=PRODUCT_DEFINITION_SHAPE('',''," + id(level, 3) + ");" + id(level, 5) +
                "=SHAPE_DEFINITION_REPRESENTATION(" + id(level, 4) + "," + id(level, 6) + ");" +
                id(level, 6) + "=SHAPE_REPRESENTATION('',(#60),#10);";
        if (level == 1)
            use(level, 10, "#6", "#9");
        else
            use(level, 10, id(level - 1, 3), id(level - 1, 6));
    }
    use(kDepth, 20, "#6", "#9");
    return text +
           "\n#60=AXIS2_PLACEMENT3D('',#61,$,$);#61=CARTESIAN_POINT('',(0.,0.,0.));"
           "#74=ITEM_DEFINED_TRANSFORMATION('','',#60,#60);\nENDSEC;\nEND-ISO";
}

TEST(Tessellated, BodiesWithoutSurfaces) {
    const std::string text = TessellatedPlate(), bad = Replaced(text, "((1,2,3,4))", "((1,2,3,9))");
    const std::string assembly = R"(#50=PRODUCT('top','top','',(#2));
#51=PRODUCT_DEFINITION_FORMATION('','',#50);
#52=PRODUCT_DEFINITION('','',#51,#5);
#53=PRODUCT_DEFINITION_SHAPE('','',#52);
#54=SHAPE_DEFINITION_REPRESENTATION(#53,#55);
#55=SHAPE_REPRESENTATION('',(#60,#63),#10);
#60=AXIS2_PLACEMENT3D('',#61,$,$);
#61=CARTESIAN_POINT('',(0.,0.,0.));
#63=AXIS2_PLACEMENT3D('',#64,$,$);
#64=CARTESIAN_POINT('',(0.,0.,3.));
#70=NEXT_ASSEMBLY_USAGE_OCCURRENCE('1','','',#52,#6,$);
#71=PRODUCT_DEFINITION_SHAPE('','',#70);
#72=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(#73,#71);
#73=(REPRESENTATION_RELATIONSHIP('','',#9,#55)REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(#74)SHAPE_REPRESENTATION_RELATIONSHIP());
#74=ITEM_DEFINED_TRANSFORMATION('','',#60,#60);
#80=NEXT_ASSEMBLY_USAGE_OCCURRENCE('2','','',#52,#6,$);
#81=PRODUCT_DEFINITION_SHAPE('','',#80);
#82=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(#83,#81);
#83=(REPRESENTATION_RELATIONSHIP('','',#9,#55)REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(#84)SHAPE_REPRESENTATION_RELATIONSHIP());
#84=ITEM_DEFINED_TRANSFORMATION('','',#60,#63);
ENDSEC;
END-ISO)";
    Check({{"alone.step", text, "box=\"0 0 0 25.4 25.4 0\" area=\"645.16\""},
           {"unit.step", text, "<read unit=\"25.4\""},
           {"placed.step", Replaced(text, "ENDSEC;\nEND-ISO", assembly),
            "box=\"0 0 0 25.4 25.4 76.2\" area=\"1290.32\""},
           {"corner.step",
            Replaced(Replaced(text, "(#20),#10", "(#20,#25),#10"),
                     "#20=", "#25=TRIANGULATED_FACE('',#22,4,(),$,(),((1,2,7)));\n#20="),
            "<missing>1 of 2 tessellated faces"}});
    const ScratchFolder folder;
    WriteWhole(folder / "deep.step", Replaced(text, "ENDSEC;\nEND-ISO", DeepAssembly()));
    EXPECT_EQ(RunWorker({folder / "deep.step", folder / "deep.stl"}).code, 5);
    EXPECT_NE(ReadWhole(folder / "deep.stl-zel.xml").find("<missing>places of"), std::string::npos);
    WriteWhole(folder / "bad.step", bad);
    EXPECT_EQ(RunWorker({folder / "bad.step", folder / "bad.stl"}).code, 5);
    const std::string green = R"(#30=COLOUR_RGB('',0.,1.,0.);
#31=FILL_AREA_STYLE_COLOUR('',#30);
#32=FILL_AREA_STYLE('',(#31));
#33=SURFACE_STYLE_FILL_AREA(#32);
#34=SURFACE_SIDE_STYLE('',(#33));
#35=SURFACE_STYLE_USAGE(.BOTH.,#34);
#36=PRESENTATION_STYLE_ASSIGNMENT((#35));
#37=STYLED_ITEM('',(#36),#20);
ENDSEC;
END-ISO)";
    WriteWhole(folder / "green.step", Replaced(text, "ENDSEC;\nEND-ISO", green));
    ASSERT_EQ(RunWorker({folder / "green.step", folder / "green.obj"}).code, 0);
    EXPECT_EQ(ReadBack(folder / "green.obj").colours, std::set<std::string>{"00160016"});
}

}  // namespace
}  // namespace morvex::test
