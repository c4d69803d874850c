// The look at what was written finds what is not as it should be, and says nothing of what is.
#include "engine/modules/core/verify.h"

#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <gtest/gtest.h>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

std::string Attribute(const std::string& report, const std::string& element, const std::string& name) {
    const std::size_t start = report.find("<" + element + " "), end = report.find("/>", start);
    const std::string text = report.substr(start, end - start), key = " " + name + "=\"";
    const std::size_t at = text.find(key);
    return at == std::string::npos
               ? ""
               : text.substr(at + key.size(), text.find('"', at + key.size()) - at - key.size());
}

// A file of twelve triangles, written by hand with one fault, held against a box of 10 x 20 x 30.
class Verify : public testing::Test {
  protected:
    void SetUp() override {
        const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
        const BRepMesh_IncrementalMesh mesher(box, 1);
        document_.AddPart(box, "box");
        request_.to = FindFormatByName("STL");
        settings_.asciiStl = true;
    }
    std::string Text() {
        std::string text = "solid\n";
        const int sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        const auto vertex = [](int at) {
            return "vertex " + std::to_string((at & 1) * 10) + " " + std::to_string((at >> 1 & 1) * 20) +
                   " " + std::to_string((at >> 2) * 30) + "\n";
        };
        for (const auto& side : sides) {
            for (const int second : {1, 2}) {
                text += "facet normal 0 0 0\nouter loop\n" + vertex(side[0]) + vertex(side[second]) +
                        vertex(side[second + 1]) + "endloop\nendfacet\n";
            }
        }
        return text + "endsolid\n";
    }
    Outcome Check(const std::string& text) {
        WriteWhole(folder_ / "out", text);
        warnings_ = 0;
        said_.clear();
        Journal journal([this](std::string_view line) {
            warnings_ += line.starts_with('W');
            said_ += line;
        });
        JobContext context{request_, settings_, journal, document_, folder_ / "out", {}};
        return VerifyWritten(context, SendMeasures(context), nullptr);
    }

    const ScratchFolder folder_;
    Document document_;
    Request request_;
    Settings settings_;
    int warnings_ = 0;
    std::string said_;
};

std::string AllReplaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

TEST_F(Verify, DifferencesWarnAndGapsFail) {
    const std::string text = Text();
    EXPECT_TRUE(Check(text).IsOk());
    EXPECT_EQ(warnings_, 0);
    EXPECT_NE(said_.find("written centre\t5 10 15"), std::string::npos) << said_;
    const std::size_t facet = text.find("facet"), next = text.find("facet normal", facet + 5);
    EXPECT_EQ(Check(std::string(text).erase(facet, next - facet)).result, ZEL_FAILED) << "a triangle is gone";
    EXPECT_EQ(Check(AllReplaced(text, "vertex 10 ", "vertex 12 ")).result, ZEL_FAILED) << "larger by a fifth";
    EXPECT_TRUE(Check(AllReplaced(text, "vertex 10 ", "vertex 10.02 ")).IsOk());
    EXPECT_GT(warnings_, 0) << "another size, but nothing gone";
    std::string twice = text;
    EXPECT_TRUE(Check(twice.insert(next, text.substr(facet, next - facet))).IsOk());
    EXPECT_GT(warnings_, 0) << "a triangle too many";
    settings_.verify = 0;
    EXPECT_TRUE(Check("solid\nendsolid\n").IsOk());
}

std::string Times(int count, const std::string& text) {
    std::string all;
    for (; count > 0; --count) all += text;
    return all;
}

TEST_F(Verify, NoSolidMayBeMissing) {
    for (int part = 1; part < 150; ++part) document_.AddPart(BRepPrimAPI_MakeBox(10, 20, 30).Shape(), "box");
    request_.to = FindFormatByName("BREP");
    const auto file = [](int solids) {
        return "\nTShapes 1\n" + Times(solids, "\nSo\n") + Times(900, "\nFa\n");
    };
    EXPECT_TRUE(Check(file(150)).IsOk());
    EXPECT_EQ(Check(file(149)).result, ZEL_FAILED);
}

template <class... Numbers>
std::string Bytes(Numbers... numbers) {
    std::string bytes;
    const auto add = [&](auto number) {
        bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
    (add(numbers), ...);
    return bytes;
}

// As much of a file as is looked at: the counts of the box, and two of its corners, (0, 0, 0) and (10, 20,
// z).
std::string FileWith(const std::string& format, int z) {
    const std::string up = std::to_string(z), points = "0 0 0 10 20 " + up + " ";
    if (format == "VRML")
        return "translation 0 0 -1\nCoordinate { point [" + points + "] coordIndex [" + Times(12, " -1\n") +
               "]";
    if (format == "Collada")
        return "-points-array\" count=\"6\">" + points + "</float_array><triangles count=\"12\"";
    if (format == "FBX")
        return "PolygonVertexIndexi" + Bytes(36u) + "\x08Verticesd" + Bytes(6u, 0u, 48u) +
               Bytes(0., 0., 0., 10., 20., double(z));
    if (format == "glb") {
        const std::string json =
            R"([{"buffer":0,"byteOffset":0,"byteLength":24},{"bufferView":0,"min":[]},{"count":36,"type":"SCALAR"}])";
        return "glTF" + Bytes(2u, 0u, unsigned(json.size()), 0u) + json +
               Bytes(24u, 0u, 0.f, 0.f, 0.f, .01f, float(z) / 1000, -.02f);
    }
    const std::string faces =
        "\nAcDbFace\n10\n0\n20\n0\n30\n0\n11\n10\n21\n20\n31\n" + up + "\n12\n0\n22\n0\n32\n0";
    if (format == "DXF 3D") return Times(12, faces) + "\n";
    const auto view = [](const std::string& name, const std::string& far) {
        return "\nAcDbBlockBegin\n2\n" + name + "\n100\nAcDbPolyline\n90\n2\n70\n0\n10\n0\n20\n0\n10\n" +
               far + "\n0\nENDBLK\n100\nAcDbBlockEnd\n";
    };
    if (format == "DXF") return view("FRONT", "10\n20\n" + up) + view("TOP", "10\n20\n20");
    if (format == "BREP")
        return "\nTShapes 15\n\nSo\n" + Times(6, "\nFa\n") + "\nVe\n1e-07\n0 0 0\n*" +
               Times(7, "\nVe\n1e-07\n10 20 " + up + "\n*");
    std::string step = "ISO-10303-21;DATA;#1=CARTESIAN_POINT('',(0.,0.,0.));#2=CARTESIAN_POINT('',(10.,20.," +
                       up + ".));#3=MANIFOLD_SOLID_BREP('',#9);#4=VERTEX_POINT('',#1);";
    for (int id = 5; id < 18; ++id)
        step +=
            "#" + std::to_string(id) + (id < 12 ? "=VERTEX_POINT('',#2);" : "=ADVANCED_FACE('',(),#1,.T.);");
    return step;
}

TEST_F(Verify, PointsOfEveryKindOfFormat) {
    for (const char* format : {"VRML", "Collada", "FBX", "glb", "BREP", "STEP", "DXF 3D", "DXF"}) {
        SCOPED_TRACE(format);
        request_.to = FindFormatByName(format);
        EXPECT_TRUE(Check(FileWith(format, 30)).IsOk());
        EXPECT_EQ(warnings_, 0);
        const bool fails = request_.to->WritesTriangles();
        EXPECT_EQ(Check(FileWith(format, 20)).IsOk(), !fails);
        EXPECT_GT(warnings_, 0) << "lower than the model";
    }
    request_.to = FindFormatByName("VRML");
    const std::string whole = FileWith("VRML", 30);
    EXPECT_FALSE(Check(whole.substr(0, whole.rfind(" -1"))).IsOk()) << "a triangle less";
}

// What the report says of each format is what another program finds in the file.
TEST(Report, WhatWasWrittenComesFromTheFile) {
    const ScratchFolder folder;
    WriteAssembly(folder / "asm.step");
    for (const char* suffix :
         {"stl", "obj", "glb", "gltf", "fbx", "dae", "3mf", "wrl", "stp", "igs", "brep"}) {
        SCOPED_TRACE(suffix);
        const std::string output = folder / (std::string("out.") + suffix);
        const WorkerRun run = RunWorker({"--verify", "2", folder / "asm.step", output});
        ASSERT_EQ(run.code, 0) << run.errors;
        const std::string report = ReadWhole(output + "-zel.xml");
        EXPECT_EQ(report.find("<warning>"), std::string::npos) << report;
        EXPECT_FALSE(Attribute(report, "read", "box").empty()) << report;
        const std::string area = Attribute(report, "written", "area"),
                          triangles = Attribute(report, "written", "triangles");
        EXPECT_NE(Attribute(report, "written", "box"), Attribute(report, "written", "extent")) << report;
        if (suffix == std::string("wrl")) continue;
        const Facts facts = ReadBack(output);
        if (!area.empty()) {
            EXPECT_NEAR(std::stod(area), facts.area, facts.area * 0.02);
            EXPECT_NEAR(std::stod(Attribute(report, "written", "volume")), facts.volume, facts.volume * 0.03);
        }
        if (!triangles.empty() && facts.triangles > 0) {
            const long stored = std::stol(triangles);
            EXPECT_TRUE(stored == facts.triangles || stored * 2 == facts.triangles)
                << stored << " " << facts.triangles;
        } else {
            EXPECT_GE(std::stol(Attribute(report, "written", "faces")), 9);
        }
    }
}

}  // namespace
}  // namespace morvex::test
