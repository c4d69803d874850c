// What glTF files hold beyond plain lists of triangles.
#include <cmath>
#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <gtest/gtest.h>

#include "tests/engine/support/gltf_maker.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

constexpr char kOneNode[] = R"([{"mesh":0,"name":"node"}])";
constexpr double kBoxVolume = 10 * 20 * 30, kBoxArea = 2 * (200 + 300 + 600);

std::string Primitive(int points, int corners, const std::string& more = {}) {
    return R"([{"attributes":{"POSITION":)" + std::to_string(points) +
           "},\"indices\":" + std::to_string(corners) + more + "}]";
}

std::string BoxWith(const std::string& nodes, const std::string& more = {}) {
    GltfMaker maker;
    const int points = maker.BoxPoints();
    return maker.File(Primitive(points, maker.BoxCorners()), nodes, more);
}

// The points in thousandths of a metre, as integers that are no longer normalised nor metres.
std::string Quantised() {
    GltfMaker maker;
    std::vector<std::int16_t> points;
    for (const auto& [x, y, z] : BoxCorners())
        for (const double value : {x, z, -y}) points.push_back(static_cast<std::int16_t>(value));
    const int at = maker.Accessor(points, "VEC3");
    return maker.File(Primitive(at, maker.BoxCorners()), R"([{"mesh":0,"scale":[0.001,0.001,0.001]}])",
                      R"("extensionsRequired":["KHR_mesh_quantization"])");
}

// All points are 0 but for those that the sparse part says.
std::string Sparse() {
    GltfMaker maker;
    const int whole = maker.BoxPoints(), corners = maker.BoxCorners();
    static_cast<void>(whole);
    const int places = maker.View(std::string("\0\1\2\3\4\5\6\7", 8));
    const int points = maker.Raw(
        R"({"componentType":5126,"count":8,"type":"VEC3","sparse":{"count":8,"indices":{"bufferView":)" +
        std::to_string(places) + R"(,"componentType":5121},"values":{"bufferView":0}}})");
    return maker.File(Primitive(points, corners), kOneNode);
}

// A side of 10 x 10 mm by four points, as a strip (5) or a fan (6); the strip repeats a point as strips do
// that join others.
std::string Square(int mode) {
    GltfMaker maker;
    const int points = maker.Accessor(
        std::vector<float>{0, 0, .01f, .01f, 0, .01f, 0, .01f, .01f, .01f, .01f, .01f}, "VEC3");
    const int corners = maker.Accessor(
        mode == 5 ? std::vector<std::uint8_t>{0, 1, 2, 3, 3} : std::vector<std::uint8_t>{0, 1, 3, 2},
        "SCALAR");
    return maker.File(Primitive(points, corners, ",\"mode\":" + std::to_string(mode)), kOneNode);
}

std::string Draco() {
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(12);
    const int positions = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
    const std::vector<Corner> corners = BoxCorners(1000);
    std::uint32_t face = 0;
    for (const auto& side : kBoxSides) {
        for (const int second : {1, 2}) {
            float points[3][3];
            for (int at = 0; at < 3; ++at) {
                const auto& [x, y, z] =
                    corners[static_cast<std::size_t>(side[at == 0 ? 0 : second + at - 1])];
                points[at][0] = static_cast<float>(x);
                points[at][1] = static_cast<float>(z);
                points[at][2] = static_cast<float>(-y);
            }
            builder.SetAttributeValuesForFace(positions, draco::FaceIndex(face++), points[0], points[1],
                                              points[2]);
        }
    }
    draco::EncoderBuffer packed;
    draco::Encoder encoder;
    EXPECT_TRUE(encoder.EncodeMeshToBuffer(*builder.Finalize(), &packed).ok());
    GltfMaker maker;
    const int view = maker.View({packed.data(), packed.size()});
    return maker.File(
        R"([{"attributes":{"POSITION":0},"extensions":{"KHR_draco_mesh_compression":{"bufferView":)" +
            std::to_string(view) + R"(,"attributes":{"POSITION":0}}}}])",
        kOneNode, R"("extensionsRequired":["KHR_draco_mesh_compression"])");
}

std::string Instanced() {
    GltfMaker maker;
    const int points = maker.BoxPoints(), corners = maker.BoxCorners();
    const int shifts = maker.Accessor(std::vector<float>{0, 0, 0, 1, 0, 0, 2, 0, 0}, "VEC3");
    return maker.File(Primitive(points, corners),
                      R"([{"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":)" +
                          std::to_string(shifts) + "}}}}]");
}

TEST(Gltf, ReadsWhatTheFormatHolds) {
    const struct {
        const char* name;
        std::string file;
        double area, volume;  // of what comes out, in square and cubic millimetres; volume 0: not looked at
        double width;         // along x
    } cases[] = {
        {"plain", BoxWith(kOneNode), kBoxArea, kBoxVolume, 10},
        {"non-uniform scale", BoxWith(R"([{"mesh":0,"scale":[2,3,-1]}])"), 0, 6 * kBoxVolume, 20},
        {"shear", BoxWith(R"([{"mesh":0,"matrix":[1,0,0,0, 1,1,0,0, 0,0,1,0, 0,0,0,1]}])"), 0, kBoxVolume,
         40},
        {"turn", BoxWith(R"([{"mesh":0,"rotation":[0,0.70710678,0,0.70710678]}])"), kBoxArea, kBoxVolume, 20},
        {"scale above a turn",
         BoxWith(R"([{"scale":[2,1,1],"children":[1]},{"mesh":0,"rotation":[0,0,0.70710678,0.70710678]}])"),
         0, 2 * kBoxVolume, 60},
        {"scene with one of two", BoxWith(R"([{"mesh":0},{"mesh":0}])", R"("scenes":[{"nodes":[1]}])"),
         kBoxArea, kBoxVolume, 10},
        {"two without a scene", BoxWith(R"([{"mesh":0},{"mesh":0,"translation":[1,0,0]}])"), 2 * kBoxArea,
         2 * kBoxVolume, 1010},
        {"no nodes", BoxWith("[]"), kBoxArea, kBoxVolume, 10},
        {"quantised", Quantised(), kBoxArea, kBoxVolume, 10},
        {"sparse", Sparse(), kBoxArea, kBoxVolume, 10},
        {"strip", Square(5), 100, 1000. / 3, 10},  // what it spans with the origin tells its direction
        {"fan", Square(6), 100, 1000. / 3, 10},
        {"Draco", Draco(), kBoxArea, kBoxVolume, 10},
        {"instances", Instanced(), 3 * kBoxArea, 3 * kBoxVolume, 2010},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, area, volume, width] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.gltf", file);
        const WorkerRun run = RunWorker({folder / "in.gltf", folder / "out.stl"});
        ASSERT_EQ(run.code, 0) << run.errors;
        const Facts facts = ReadBack(folder / "out.stl");
        if (area > 0) {
            EXPECT_NEAR(facts.area, area, area * 1e-3);
        }
        if (volume > 0) {
            EXPECT_NEAR(facts.volume, volume, volume * 1e-3);
        }
        EXPECT_NEAR(facts.high[0] - facts.low[0], width, width * 1e-3);
    }
}

TEST(Gltf, ColoursAtTheVertices) {
    GltfMaker maker;
    const int points =
        maker.Accessor(std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0}, "VEC3");
    const int colours = maker.Accessor(
        std::vector<std::uint8_t>{255, 0, 0, 255, 0, 0, 255, 0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0}, "VEC3",
        R"("normalized":true)");
    const ScratchFolder folder;
    WriteWhole(folder / "in.gltf", maker.File(R"([{"attributes":{"POSITION":)" + std::to_string(points) +
                                                  ",\"COLOR_0\":" + std::to_string(colours) + "}}]",
                                              kOneNode));
    ASSERT_EQ(RunWorker({folder / "in.gltf", folder / "out.obj"}).code, 0);
    EXPECT_EQ(ReadBack(folder / "out.obj").colours, (std::set<std::string>{"16000016", "00160016"}));
}

TEST(Gltf, SideFilesHaveEncodedNames) {
    GltfMaker maker;
    const int points = maker.BoxPoints();
    const std::string file =
        maker.File(Primitive(points, maker.BoxCorners()), kOneNode, {}, "b%C3%BC%20f/a%25.bin");
    const ScratchFolder folder;
    std::filesystem::create_directory(folder / "bü f");
    WriteWhole(folder / "bü f/a%.bin", maker.Bytes());
    WriteWhole(folder / "in.gltf", file);
    EXPECT_EQ(RunWorker({folder / "in.gltf", folder / "out.stl"}).code, 0);
}

TEST(Gltf, ContradictionsAreDamage) {
    const auto with = [](const std::string& points, const std::string& corners) {
        GltfMaker maker;
        const int good = maker.BoxPoints(), goodCorners = maker.BoxCorners();
        const int badPoints = points.empty() ? good : maker.Raw(points);
        const int badCorners = corners.empty() ? goodCorners : maker.Raw(corners);
        return maker.File(Primitive(badPoints, badCorners), kOneNode);
    };
    const struct {
        const char* name;
        std::string file;
        int code;
    } cases[] = {
        {"more points than bytes",
         with(R"({"bufferView":0,"componentType":5126,"count":500000000,"type":"VEC3"})", ""), 5},
        {"points of no bytes", with(R"({"componentType":5126,"count":500000000,"type":"VEC3"})", ""), 5},
        {"count that overflows",
         with(R"({"bufferView":0,"componentType":5126,"count":6148914691236517206,"type":"VEC3"})", ""), 5},
        {"corner that is not there",
         with(R"({"bufferView":0,"componentType":5126,"count":7,"type":"VEC3"})", ""), 5},
        {"incomplete triangle",
         with("", R"({"bufferView":1,"componentType":5123,"count":35,"type":"SCALAR"})"), 5},
        {"type of the corners",
         with("", R"({"bufferView":1,"componentType":5126,"count":3,"type":"SCALAR"})"), 5},
        {"node in itself", BoxWith(R"([{"mesh":0,"children":[0]}])", R"("scenes":[{"nodes":[0]}])"), 5},
        {"circle of nodes",
         BoxWith(R"([{"children":[1]},{"mesh":0,"children":[2]},{"children":[1]}])",
                 R"("scenes":[{"nodes":[0]}])"),
         5},
        {"missing node", BoxWith(R"([{"mesh":0,"children":[7]}])"), 5},
        {"unknown extension", BoxWith(kOneNode, R"("extensionsRequired":["EXT_of_tomorrow"])"), 27},
        {"later version", R"({"asset":{"version":"3.0"}})", 27},
        {"brackets", std::string(900'000, '[') + "}", 29},
        {"brackets inside", "{\"a\":" + std::string(900'000, '[') + "}", 5},
        {"nothing", R"({"asset":{"version":"2.0"}})", 32},
    };
    const ScratchFolder folder;
    for (const auto& [name, file, code] : cases) {
        SCOPED_TRACE(name);
        WriteWhole(folder / "in.gltf", file);
        const WorkerRun run = RunWorker({folder / "in.gltf", folder / "out.stl"});
        EXPECT_EQ(run.code, code) << run.errors;
    }
}

}  // namespace
}  // namespace morvex::test
