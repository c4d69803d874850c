// What survives besides the geometry: names, colours, tree, solids, annotations; and the settings that change
// it.
#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using Strings = std::vector<std::string>;

std::size_t CountOf(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) ++count;
    return count;
}

class Fidelity : public testing::Test {
  protected:
    void SetUp() override { WriteAssembly(assembly_); }

    // Converts with the settings given as "SECTION/KEY=VALUE" and answers the output's path.
    std::string Convert(const std::string& input, const std::string& name, const Strings& settings = {}) {
        Strings arguments{input, folder_ / name};
        for (const std::string& setting : settings) arguments.insert(arguments.end(), {"--set", setting});
        const WorkerRun run = RunWorker(arguments);
        EXPECT_EQ(run.code, 0) << run.errors;
        return folder_ / name;
    }
    std::string Report(const std::string& name) { return ReadWhole(folder_ / (name + "-zel.xml")); }

    const ScratchFolder folder_;
    const std::string assembly_ = folder_ / "asm.step";
};

TEST_F(Fidelity, NamesAndColours) {
    const Facts in = ReadBack(assembly_);
    ASSERT_EQ(in.colours.size(), 3u);
    const Strings partNames{kBoxName, kCylinderName}, treeNames{kPairName, kTopName};
    const struct {
        const char* suffix;
        bool parts, tree, transparency;
    } cases[] = {{"stp", true, true, true},   {"glb", true, true, true}, {"gltf", true, true, true},
                 {"fbx", true, true, true},   {"dae", true, true, true}, {"obj", false, false, true},
                 {"igs", false, false, false}};
    for (const auto& format : cases) {
        SCOPED_TRACE(format.suffix);
        const Facts out = ReadBack(Convert(assembly_, std::string("out.") + format.suffix));
        if (format.transparency) {
            EXPECT_EQ(out.colours, in.colours);
        } else {
            EXPECT_EQ(out.colours.size(), 3u);
        }
        for (const std::string& name : partNames) EXPECT_EQ(out.names.contains(name), format.parts) << name;
        for (const std::string& name : treeNames) EXPECT_EQ(out.names.contains(name), format.tree) << name;
    }
}

// The second reader takes one colour a mesh and no names, so this looks into the package.
TEST_F(Fidelity, NamesAndColoursOf3mf) {
    const std::string model = ReadZipMember(Convert(assembly_, "out.3mf"), "3D/3dmodel.model");
    for (const char* colour : {"#CC1919FF", "#1933E5FF", "#19B33380"})
        EXPECT_EQ(CountOf(model, colour), 1u) << colour;
    for (const char* name : {"Коробка &lt;1&gt; &amp; &quot;2&quot;", kCylinderName, kPairName, kTopName}) {
        EXPECT_GE(CountOf(model, std::string("name=\"") + name), 1u) << name;
    }
    EXPECT_EQ(CountOf(model, "<mesh>"), 2u);
    EXPECT_EQ(CountOf(model, "<component "), 6u);
}

TEST_F(Fidelity, ColoursOfMeshesReachBrepFormats) {
    const Facts in = ReadBack(assembly_);
    for (const char* mesh : {"mid.glb", "mid.fbx", "mid.obj"}) {
        SCOPED_TRACE(mesh);
        EXPECT_EQ(ReadBack(Convert(Convert(assembly_, mesh), "back.stp")).colours, in.colours);
    }
}

TEST_F(Fidelity, SolidsStaySolids) {
    const Facts in = ReadBack(assembly_);
    ASSERT_EQ(in.solids, 4);
    for (const char* name : {"out.stp", "out.igs", "out.brep"}) {
        SCOPED_TRACE(name);
        const Facts out = ReadBack(Convert(assembly_, name));
        EXPECT_EQ(out.solids, 4);
        EXPECT_EQ(out.faces, in.faces);
    }
    // A closed mesh becomes a solid, unless that is not wanted.
    const std::string mesh = Convert(assembly_, "mid.stl");
    EXPECT_EQ(ReadBack(Convert(mesh, "mesh.stp")).solids, 4);
    EXPECT_EQ(ReadBack(Convert(Convert(assembly_, "mid.glb"), "coloured.stp")).solids, 4);
    EXPECT_EQ(ReadBack(Convert(mesh, "shell.stp", {"FILTRAGE DE DOMAINE/CONSTRUCT_SOLIDS=0"})).solids, 0);
    const Facts bearing = ReadBack(Sample("iges/bearing.iges"));
    EXPECT_EQ(ReadBack(Convert(Sample("iges/bearing.iges"), "bearing.stp")).faces, bearing.faces);
}

TEST_F(Fidelity, InstancesAreShared) {
    const Facts in = ReadBack(assembly_);
    const std::string step = ReadWhole(Convert(assembly_, "out.stp"));
    EXPECT_TRUE(std::ranges::all_of(step, [](char c) { return c >= 0; })) << "letters are to be escaped";
    EXPECT_EQ(CountOf(step, "MANIFOLD_SOLID_BREP("), 2u);
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "out.dae")), "<geometry "), 2u);
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "out.wrl")), "USE mesh"), 2u);
    EXPECT_EQ(ReadBack(Convert(Convert(assembly_, "out.fbx"), "back.stp")).solids, in.solids);
}

TEST_F(Fidelity, Annotations) {
    const auto dimensions = [&](const Strings& settings) {
        return CountOf(ReadWhole(Convert(assembly_, "out.stp", settings)), "DIMENSIONAL_SIZE");
    };
    EXPECT_EQ(dimensions({}), 0u);
    EXPECT_GT(dimensions({"STEP CONF/WRITE_VERSION=242"}), 0u);
    EXPECT_GT(dimensions({"FILTRAGE DE DOMAINE/FDT=1"}), 0u);
    EXPECT_EQ(dimensions({"STEP CONF/WRITE_VERSION=242", "STEP CONF/WRITE_FDT=0"}), 0u);
    EXPECT_NE(ReadWhole(folder_ / "out.stp").find("AP242"), std::string::npos);
    Convert(assembly_, "old.stp", {"STEP CONF/WRITE_VERSION=203"});
    EXPECT_NE(ReadWhole(folder_ / "old.stp").find("CONFIG_CONTROL_DESIGN"), std::string::npos);
    EXPECT_NE(ReadWhole(folder_ / "old.stp").find("PERSON('IP0.0.0,"), std::string::npos)
        << "no true address";
}

TEST_F(Fidelity, LayersOfStepAndUnitsOfIges) {
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "out.stp")), "PRESENTATION_LAYER_ASSIGNMENT("), 1u);
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "out.igs")), ",2HMM,"), 1u);
}

TEST_F(Fidelity, Tessellation) {
    const std::string screw = Sample("step/screw.step");
    const auto triangles = [&](const Strings& settings) {
        return ReadBack(Convert(screw, "out.stl", settings)).triangles;
    };
    const long usual = triangles({});
    EXPECT_GT(triangles({"STL CONF/LINEAR_DIS=0", "STL CONF/LINEAR_TOL=0.001"}), usual);
    EXPECT_GT(triangles({"STL CONF/ANGULAR_DIS=0", "STL CONF/ANGULAR_TOL=0.05"}), usual);
    EXPECT_EQ(triangles({"STL CONF/LINEAR_TOL=0.001"}), usual) << "the tolerance is switched off";
    EXPECT_LT(triangles({"STL CONF/MINSIZE=20"}), usual);
    const std::string meshed = folder_ / "meshed.brep";
    WriteMeshedCylinder(meshed);
    EXPECT_LT(2 * ReadBack(Convert(meshed, "old.stl")).triangles,
              ReadBack(Convert(meshed, "new.stl", {"STL CONF/USE_TESSEL=0"})).triangles);
    EXPECT_TRUE(ReadWhole(Convert(screw, "text.stl", {"STL CONF/WRITE_ASCII=1"})).starts_with("solid"));
}

TEST_F(Fidelity, SettingsOfTheTextFormats) {
    const auto text = [&](const char* name, const Strings& settings) {
        return ReadWhole(Convert(assembly_, name, settings));
    };
    for (const char* name : {"a.wrl", "a.dae"}) {
        SCOPED_TRACE(name);
        const std::string mark = name == std::string("a.wrl") ? "Normal {" : "-normals-array\"";
        EXPECT_GT(CountOf(text(name, {}), mark), 0u);
        EXPECT_EQ(CountOf(text(name, {"STL CONF/COMPUTE_NORMALES_FROM_SURFACE=0"}), mark), 0u);
        EXPECT_LT(text(name, {"TOLERANCE/NB_DECIMALE=2"}).size(), text(name, {}).size());
    }
    for (const bool ascii : {false, true})
        EXPECT_EQ(text("a.stl", {ascii ? "STL CONF/WRITE_ASCII=1" : "STL CONF/WRITE_ASCII=0"})
                          .find("facet normal") != std::string::npos,
                  ascii);
    EXPECT_EQ(CountOf(text("a.dae", {}), "<float>1</float>"), 2u) << "opaque";
    EXPECT_EQ(CountOf(text("a.dae", {"COLLADA CONF/REVERSE_TRANSPARENCY=1"}), "<float>0</float>"), 2u);
    EXPECT_EQ(CountOf(text("a.dae", {}), "semantic=\"COLOR\""), 0u);
    EXPECT_EQ(CountOf(text("a.dae", {"COLLADA CONF/USE_VERTEX_COLOR=1"}), "semantic=\"COLOR\""), 3u);
    // The second pair stands turned by one radian about X.
    EXPECT_EQ(CountOf(text("a.wrl", {}), "translation 5 100 7\n rotation 1 0 0 1\n"), 1u);
    EXPECT_EQ(CountOf(text("a.wrl", {}), "transparency 0.5"), 1u);
}

TEST_F(Fidelity, SettingsThatChangeTheModel) {
    const Facts in = ReadBack(assembly_);
    const Facts flat = ReadBack(Convert(assembly_, "flat.stp", {"TRANSFORMATION ENTITES/KEEP_ASSEMBLY=0"}));
    EXPECT_EQ(flat.solids, in.solids);
    EXPECT_EQ(flat.colours, in.colours);
    EXPECT_FALSE(flat.names.contains(kPairName));
    EXPECT_NEAR(flat.volume, in.volume, in.volume * 1e-3);

    const std::string nurbs = Convert(assembly_, "nurbs.stp", {"TRANSFORMATION ENTITES/BODY_TO_NURBS=1"});
    EXPECT_EQ(CountOf(ReadWhole(nurbs), "CYLINDRICAL_SURFACE("), 0u);
    EXPECT_EQ(ReadBack(nurbs).colours, in.colours);
    EXPECT_EQ(ReadBack(nurbs).solids, in.solids);

    EXPECT_TRUE(
        ReadBack(Convert(assembly_, "grey.glb", {"FILTRAGE DE DOMAINE/RENDER_INFOS=0"})).colours.empty());
    EXPECT_NE(
        ReadWhole(Convert(assembly_, "new.dae", {"COLLADA CONF/VERSION=150"})).find("version=\"1.5.0\""),
        std::string::npos);
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "lib.dae", {"COLLADA CONF/NO_INSTANCE_NODE=0"})),
                      "<instance_node"),
              4u);
    EXPECT_EQ(CountOf(ReadWhole(Convert(assembly_, "list.dae", {"COLLADA CONF/KEEP_ZEL_TREE=0"})), "<node "),
              4u);
    for (const char* name : {"lib.dae", "list.dae"}) {
        EXPECT_NEAR(ReadBack(folder_ / name).volume, in.volume, in.volume * 0.03) << name;
    }
}

TEST_F(Fidelity, HiddenPartsAndCurves) {
    const std::string input = folder_ / "hidden.step";
    WriteHiddenAndWire(input);
    const std::string keepHidden = "MODIFICATION D'ATTRIBUT/VISIBILITY=0";
    struct {
        const char* setting;
        double width;  // of both boxes, or of the one in sight
        std::size_t hidden;
    } const cases[] = {{"MODIFICATION D'ATTRIBUT/VISIBILITY=-1", 10, 0},
                       {keepHidden.c_str(), 110, 1},
                       {"MODIFICATION D'ATTRIBUT/VISIBILITY=1", 110, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.setting);
        EXPECT_NEAR(ReadBack(Convert(input, "a.stl", {c.setting})).high[0], c.width, 1e-3);
        EXPECT_EQ(CountOf(Report("a.stl"), "format cannot hide them"), c.hidden);
        const std::string flat = "TRANSFORMATION ENTITES/KEEP_ASSEMBLY=0";
        for (const std::vector<std::string>& settings :
             {std::vector<std::string>{c.setting}, {c.setting, flat}}) {
            const std::string step = Convert(input, "a.stp", settings);
            EXPECT_NEAR(ReadBack(step).high[0], c.width, 1e-3);
            EXPECT_EQ(CountOf(ReadWhole(step), "INVISIBILITY("), c.hidden);
            const std::string back = Convert(Convert(input, "a.igs", settings), "back.stp", {keepHidden});
            EXPECT_NEAR(ReadBack(back).high[0], c.width, 1e-3);
            EXPECT_EQ(CountOf(ReadWhole(back), "INVISIBILITY("), c.hidden);
        }
    }

    EXPECT_EQ(CountOf(Report("a.stp"), "free-edges=\"1\""), 1u) << "read, but not written";
    Convert(input, "wire.stp", {"FILTRAGE DE DOMAINE/FILAIRE=1"});
    EXPECT_EQ(CountOf(Report("wire.stp"), "free-edges=\"1\""), 2u);
    const std::string curves = Sample("occ/edge.brep"), keep = "FILTRAGE DE DOMAINE/FILAIRE=1";
    EXPECT_EQ(RunWorker({curves, folder_ / "edge.igs"}).code, 32);
    EXPECT_EQ(RunWorker({"--set", keep, curves, folder_ / "edge.igs"}).code, 0);
    EXPECT_EQ(RunWorker({"--set", keep, curves, folder_ / "edge.stl"}).code, 32);
}

TEST_F(Fidelity, ReportTellsWhatHappened) {
    Convert(assembly_, "a&b.glb", {"STL CONF/LINEAR_TOL=much", "STL CONF/WRITE_ASCII=2"});
    const std::string report = Report("a&b.glb");
    EXPECT_NE(report.find("a&amp;b.glb</output>"), std::string::npos);
    EXPECT_NE(report.find("LINEAR_TOL"), std::string::npos);
    EXPECT_NE(report.find("WRITE_ASCII"), std::string::npos);
    EXPECT_NE(report.find("<read unit=\"1\" parts=\"2\" instances=\"4\" solids=\"4\" faces=\"18\""),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("peak=\""), std::string::npos);
    Convert(assembly_, "none.glb", {"FILE CONF/WRITE_LOG_FILE=0"});
    EXPECT_FALSE(std::filesystem::exists(folder_ / "none.glb-zel.xml"));
}

TEST_F(Fidelity, MeshesTooLargeForFacesAreRefusedWithAReason) {
    const WorkerRun run = RunWorker({Sample("stl/head.stl"), folder_ / "head.stp"});
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.errors.find("triangles"), std::string::npos);
    EXPECT_NE(Report("head.stp").find("<reason>"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "head.stp"));
}

}  // namespace
}  // namespace morvex::test
