// What the writers of mesh formats make of colours, names, normals, images and instances.
#include <cmath>
#include <gtest/gtest.h>

#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

class Writers : public testing::Test {
  protected:
    std::string Convert(const std::string& input, const std::string& name,
                        const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{input, folder_ / name};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const WorkerRun run = RunWorker(arguments);
        EXPECT_EQ(run.code, 0) << name << ": " << run.errors;
        return folder_ / name;
    }
    std::string Write(const std::string& name, const std::string& contents) {
        WriteWhole(folder_ / name, contents);
        return folder_ / name;
    }
    const ScratchFolder folder_;
};

// A grey part twice, one instance blue, and beside it a red one; and a red one alone that is turned and
// scaled.
TEST_F(Writers, ColoursOfRootsAndInstances) {
    WriteColouredPlaces(folder_ / "in.step");
    const std::string turned =
        Write("in.gltf", GltfBox(R"([{"mesh":0,"scale":[2,2,2],"rotation":[1,0,0,0]}])"));
    const Facts in = ReadBack(folder_ / "in.step");
    ASSERT_EQ(in.colours.size(), 3u);
    for (const char* suffix : {"stp", "glb", "gltf", "obj", "dae", "fbx", "3mf"}) {
        SCOPED_TRACE(suffix);
        const Facts out = ReadBack(Convert(folder_ / "in.step", std::string("out.") + suffix));
        EXPECT_EQ(out.colours, in.colours);
        EXPECT_NEAR(out.volume, in.volume, in.volume * 0.01);
        EXPECT_EQ(ReadBack(Convert(turned, std::string("turned.") + suffix)).colours.size(), 1u);
    }
    const auto materials = [](const std::string& vrml) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = vrml.find("DEF material", at)) != std::string::npos; ++at) ++count;
        return count;
    };
    EXPECT_EQ(materials(ReadWhole(Convert(folder_ / "in.step", "out.wrl"))), 3u);
    EXPECT_EQ(materials(ReadWhole(Convert(turned, "turned.wrl"))), 1u);
}

TEST_F(Writers, NamesOfInstances) {
    const std::string input = Write("in.gltf", GltfBox(R"([{"name":"top","children":[1,2]},
        {"name":"left one","mesh":0},{"name":"right","mesh":0,"translation":[0,0,0.1]}])"));
    for (const char* suffix : {"glb", "dae", "fbx", "stp"}) {
        const std::string output = Convert(input, std::string("out.") + suffix);
        const Facts out = suffix == std::string("glb") ? ReadByAssimp(output) : ReadBack(output);
        for (const char* name : {"left one", "right", "top"})
            EXPECT_TRUE(out.names.contains(name) || suffix == std::string("stp")) << suffix << " " << name;
    }
    const Facts obj = ReadBack(Convert(input, "out.obj"));
    EXPECT_TRUE(obj.names.contains("top/left_one"));
    const std::string model = ReadZipMember(Convert(input, "out.3mf"), "3D/3dmodel.model");
    for (const char* name : {"top", "left one", "right"})
        EXPECT_NE(model.find(std::string("name=\"") + name + "\""), std::string::npos) << name;
}

// Normals lead away from the middle of a box, in the place where the reader puts them.
TEST_F(Writers, NormalsArrive) {
    WriteAssembly(folder_ / "in.step");
    for (const char* suffix : {"glb", "gltf", "obj", "dae", "fbx"}) {
        SCOPED_TRACE(suffix);
        const Facts out = ReadByAssimp(Convert(folder_ / "in.step", std::string("out.") + suffix));
        EXPECT_EQ(out.trianglesWithNormals, out.triangles);
    }
}

TEST_F(Writers, ThreeMfIsStrictlyValid) {
    WriteAssembly(folder_ / "asm.step");
    WriteColouredPlaces(folder_ / "places.step");
    const std::string inputs[] = {folder_ / "asm.step", folder_ / "places.step", Sample("stl/shape.stl"),
                                  Write("mixed.obj",
                                        "mtllib mixed.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                        "f 1 2 3\nusemtl red\nf 1 4 2\nf 2 2 3\nf 2 3 4\n")};
    Write("mixed.mtl", "newmtl red\nKd 1 0 0\n");
    for (const std::string& input : inputs)
        EXPECT_EQ(ThreeMfComplaint(Convert(input, "out.3mf")), "") << input;
}

TEST_F(Writers, InstancesShareTheirMesh) {
    WriteAssembly(folder_ / "in.step");
    const std::string text = ReadWhole(Convert(folder_ / "in.step", "out.gltf"));
    std::size_t primitives = 0;
    for (std::size_t at = 0; (at = text.find("\"POSITION\"", at)) != std::string::npos; ++at) ++primitives;
    EXPECT_EQ(primitives, 3u) << "a box of two colours and a cylinder, each used twice";
}

TEST_F(Writers, FileNamesInReferences) {
    const std::string input = Write("in.gltf", GltfBox(R"([{"mesh":0}])"));
    const std::string output = Convert(input, "ä b#1%41.gltf");
    EXPECT_NE(ReadWhole(output).find("\"uri\":\"%C3%A4%20b%231%2541.bin\""), std::string::npos);
    EXPECT_EQ(ReadBack(Convert(input, "ä b.obj")).colours.size(), 1u);
}

TEST_F(Writers, ImagesGoAlong) {
    const std::string image = ReadWhole(Sample("images/marker_kr.png"));
    Write("skin 1.png", image);
    Write("in.mtl", "newmtl skin\nKd 1 1 1\nmap_Kd skin 1.png\n");
    const std::string input = Write("in.obj",
                                    "mtllib in.mtl\nv 0 0 0\nv 9 0 0\nv 0 9 0\nvt 0 0\nvt 1 0\nvt 0 1\n"
                                    "usemtl skin\nf 1/1 2/2 3/3\n");
    const std::string binary = Convert(input, "out.glb");
    EXPECT_NE(ReadWhole(binary).find(image), std::string::npos);
    Convert(binary, "back.obj");
    EXPECT_EQ(ReadWhole(folder_ / "back.texture1.png"), image);
    EXPECT_NE(ReadWhole(folder_ / "back.obj").find("vt 0 1"), std::string::npos) << "turned over twice";
    EXPECT_NE(ReadWhole(folder_ / "back.mtl").find("map_Kd back.texture1.png"), std::string::npos);
}

TEST_F(Writers, PartsWithoutAnyArea) {
    const std::string mixed =
        Write("mixed.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 2 0 0\ng flat\nf 1 2 4\ng good\nf 1 2 3\n");
    const std::string flat = Write("flat.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n");
    for (const char* suffix : {"stp", "igs"}) {
        EXPECT_EQ(ReadBack(Convert(mixed, std::string("out.") + suffix)).faces, 1) << suffix;
        EXPECT_EQ(RunWorker({flat, folder_ / (std::string("none.") + suffix)}).code, 32) << suffix;
    }
}

TEST_F(Writers, LooseFacesAreSewnOnRequest) {
    const std::string input = Sample("iges/hammer.iges");
    EXPECT_EQ(ReadBack(Convert(input, "loose.stp")).solids, 0);
    const Facts sewn = ReadBack(Convert(input, "sewn.stp", {"--set", "TRANSFORMATION ENTITES/SEW=1"}));
    EXPECT_EQ(sewn.solids, 1);
    EXPECT_EQ(sewn.faces, ReadBack(input).faces);
}

// Signs that mean something to some libraries' paths.
TEST(WrittenNames, WithSignsOfPaths) {
    const ScratchFolder folder;
    for (const char* name : {"rev^2", "a|b", "x:", "%s", "..c"}) {
        SCOPED_TRACE(name);
        std::filesystem::create_directory(folder / name);
        for (const char* suffix : {"stl", "stp", "igs", "brep", "obj", "glb", "3mf"}) {
            const std::string output = folder / name + "/" + name + "." + suffix;
            EXPECT_EQ(RunWorker({Sample("step/screw.step"), output}).code, 0) << suffix;
            EXPECT_TRUE(std::filesystem::exists(output)) << suffix;
        }
    }
}

}  // namespace
}  // namespace morvex::test
