#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

#include "tests/chain/geometry.h"
#include "tests/chain/morvex.h"

namespace morvex::chain {
namespace {

void ExpectSameBox(const Measure& a, const Measure& b, double tolerance) {
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(a.box[i], b.box[i], tolerance) << i;
}

TEST(Conversion, StlIsTheMeshThatOpenCascadeMakes) {
    const Program program;
    const Folder out;
    for (const char* part : {"screw", "linkrods"}) {
        const fs::path input = kParts / "step" / (std::string(part) + ".step");
        const fs::path output = out / (std::string(part) + ".stl");
        ASSERT_EQ(program.Convert("STEP", "STL", input, out.Path().string() + "/",
                                  "[STL CONF]\nUSE_TESSEL=0\nLINEAR_DIS=0\nLINEAR_TOL=0.05\nANGULAR_DIS=0\n"
                                  "ANGULAR_TOL=0.3\n"),
                  0);
        const TopoDS_Shape shape = ReadShape(input);
        const Measure exact = MeasureShape(shape), expected = MeasureMesh(shape, 0.05, 0.3),
                      found = MeasureStl(output);
        EXPECT_EQ(found.triangles, expected.triangles);
        ExpectSameBox(found, expected, 1e-3);
        EXPECT_NEAR(found.volume, expected.volume, std::abs(expected.volume) * 1e-4);
        EXPECT_NEAR(found.volume, exact.volume, std::abs(exact.volume) * 0.02);
    }
}

TEST(Conversion, StepFromIgesKeepsTheFaces) {
    const Program program;
    const Folder out;
    const fs::path input = kParts / "iges/bearing.iges";
    ASSERT_EQ(program.Convert("IGES 3D", "STEP", input, (out / "b.stp").string()), 0);
    const Measure before = MeasureShape(ReadShape(input)), after = MeasureShape(ReadShape(out / "b.stp"));
    EXPECT_GT(after.faces, 0);
    EXPECT_EQ(after.faces, before.faces);
    ExpectSameBox(after, before, 1e-2);
}

TEST(Conversion, GlbOpensInAnotherProgram) {
    const Program program;
    const Folder out;
    ASSERT_EQ(program.Convert("STEP", "glTF Binary", kParts / "step/linkrods.step", (out / "l.glb").string()),
              0);
    EXPECT_EQ(
        std::system(("assimp info " + (out / "l.glb").string() + " > " + (out / "info").string()).c_str()),
        0);
    EXPECT_NE(ReadBytes(out / "info").find("Meshes:"), std::string::npos);
}

TEST(Conversion, SettingsReachTheOutput) {
    const Program program;
    const Folder out;
    const fs::path screw = kParts / "step/screw.step";
    const auto convert = [&](const std::string& to, const std::string& name, const std::string& config) {
        EXPECT_EQ(program.Convert("STEP", to, screw, (out / name).string(), config), 0);
        return ReadBytes(out / name);
    };
    EXPECT_EQ(convert("STL", "text.stl", "[STL CONF]\nWRITE_ASCII=1\n").substr(0, 5), "solid");
    const std::string mesh =
        "[STL CONF]\nUSE_TESSEL=0\nANGULAR_DIS=0\nANGULAR_TOL=1.5\nLINEAR_DIS=0\nLINEAR_TOL=";
    convert("STL", "fine.stl", mesh + "0.01\n");
    convert("STL", "coarse.stl", mesh + "1\n");
    EXPECT_LT(MeasureStl(out / "coarse.stl").triangles, MeasureStl(out / "fine.stl").triangles / 2);
    EXPECT_NE(convert("STEP", "plain.stp", "[X]\n").find("CYLINDRICAL_SURFACE"), std::string::npos);
    const std::string nurbs = convert("STEP", "nurbs.stp", "[TRANSFORMATION ENTITES]\nBODY_TO_NURBS=1\n");
    EXPECT_EQ(nurbs.find("CYLINDRICAL_SURFACE"), std::string::npos);
    EXPECT_NE(nurbs.find("B_SPLINE_SURFACE"), std::string::npos);
    EXPECT_NE(convert("STEP", "ap242.stp", "[STEP CONF]\nWRITE_VERSION=242\n").find("AP242"),
              std::string::npos);
}

// Wine keeps its drives in folders with a colon in their names.
TEST(Conversion, ReachesTheSystemDrive) {
    const Program program;
    const std::string output = "C:\\morvex-chain-test";
    const char* prefix = std::getenv("WINEPREFIX");
    const fs::path drive =
        fs::path(prefix ? prefix : std::string(std::getenv("HOME")) + "/.wine") / "drive_c";
    for (const auto& [format, suffix] :
         {std::pair{"STL", ".stl"}, {"STEP", ".stp"}, {"OBJ", ".obj"}, {"FBX", ".fbx"}}) {
        const fs::path made = drive / (std::string("morvex-chain-test") + suffix);
        EXPECT_EQ(program.Convert("STEP", format, kParts / "step/screw.step", output + suffix), 0) << suffix;
        EXPECT_TRUE(fs::exists(made)) << suffix;
        for (const char* extra : {"", "-zel.xml"}) fs::remove(made.string() + extra);
        fs::remove(drive / "morvex-chain-test.mtl");
    }
}

TEST(Conversion, NamesOfAllKindsArrive) {
    const Program program;
    const Folder folder;
    const std::string longName(120, 'n');
    const fs::path deep = folder.Path() / longName / longName / longName;
    fs::create_directories(deep);
    const fs::path cases[] = {
        folder / "two  blanks .step",
        folder / "%41#&^';=-@.step",
        folder / "-leading.step",
        folder / "\xE9\x83\xA8\xE5\x93\x81 \xD1\x87\xD0\xB0\xD1\x81\xD1\x82\xD1\x8C.step",
        folder / "\xF0\x9F\x98\x80.step",
        folder / "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.step",
        folder / "e\xCC\x81.step",
        deep / "deep.step",
        deep / (std::string(30, 'x') + ".step"),
    };
    for (const fs::path& input : cases) {
        fs::copy_file(kParts / "step/screw.step", input);
        EXPECT_EQ(program.Convert("STEP", "STL", input, ""), 0) << input;
        EXPECT_GT(MeasureStl(fs::path(input).replace_extension(".stl")).triangles, 1000) << input;
    }
}

}  // namespace
}  // namespace morvex::chain
