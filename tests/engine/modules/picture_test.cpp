// The picture of the model.
#include <algorithm>
#include <gtest/gtest.h>
#include <png.h>

#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

struct Image {
    unsigned width = 0, height = 0;
    std::vector<unsigned char> pixels;

    // How many pixels have about that colour.
    long Count(int red, int green, int blue, int slack) const {
        long count = 0;
        for (std::size_t at = 0; at + 2 < pixels.size(); at += 3) {
            count += std::abs(pixels[at] - red) <= slack && std::abs(pixels[at + 1] - green) <= slack &&
                     std::abs(pixels[at + 2] - blue) <= slack;
        }
        return count;
    }
};

Image ReadPng(const std::string& bytes) {
    Image result;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) return result;
    image.format = PNG_FORMAT_RGB;
    result.width = image.width, result.height = image.height;
    result.pixels.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, result.pixels.data(), 0, nullptr);
    return result;
}

class Picture : public testing::Test {
  protected:
    Image Draw(const std::string& input, const std::string& output) {
        const WorkerRun run = RunWorker({"--preview", folder_ / "view.png", input, folder_ / output});
        EXPECT_EQ(run.code, 0) << run.errors;
        return ReadPng(ReadWhole(folder_ / "view.png"));
    }
    const ScratchFolder folder_;
};

// Triangles of no size at all take for ever: that ends the picture and not the conversion.
TEST_F(Picture, CostsNoConversion) {
    const WorkerRun run =
        RunWorker({"--preview", folder_ / "view.png", "--seconds", "4", "--set", "STL CONF/LINEAR_DIS=0",
                   "--set", "STL CONF/LINEAR_TOL=0.000001", Sample("step/screw.step"), folder_ / "out.brep"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(folder_.Names(), (std::vector<std::string>{"out.brep", "out.brep-zel.xml"}));
    EXPECT_NE(ReadWhole(folder_ / "out.brep-zel.xml").find("No picture: "), std::string::npos);
}

// A red box and a half transparent green cylinder on white, the same whether triangles or surfaces are
// written.
TEST_F(Picture, ShowsColoursAndEdges) {
    WriteAssembly(folder_ / "in.step");
    for (const char* output : {"out.glb", "out.stp"}) {
        SCOPED_TRACE(output);
        const Image image = Draw(folder_ / "in.step", output);
        ASSERT_EQ(image.width, 320u);
        ASSERT_EQ(image.height, 240u);
        const auto all = static_cast<long>(image.width * image.height);
        EXPECT_GT(image.Count(255, 255, 255, 1), all / 2) << "there is a background";
        EXPECT_GT(image.Count(190, 20, 20, 20) + image.Count(90, 10, 10, 20), all / 50) << "the boxes";
        EXPECT_GT(image.Count(80, 160, 100, 40), all / 80) << "the cylinders";
        EXPECT_EQ(image.Count(20, 120, 30, 10), 0) << "which one sees through";
        EXPECT_GT(image.Count(60, 20, 20, 25), 100) << "lines along the edges";
    }
}

TEST_F(Picture, FillsItsFrameAndStandsUpright) {
    const Image image = Draw(Sample("step/screw.step"), "out.stl");
    unsigned top = image.height, bottom = 0;
    long upper = 0, lower = 0;
    for (unsigned y = 0; y < image.height; ++y) {
        long inRow = 0;
        for (unsigned x = 0; x < image.width; ++x) inRow += image.pixels[(y * image.width + x) * 3] < 250;
        if (inRow == 0) continue;
        top = std::min(top, y), bottom = std::max(bottom, y);
        upper = y < 70 ? std::max(upper, inRow) : upper;
        lower = y > 170 ? std::max(lower, inRow) : lower;
    }
    EXPECT_LE(top, 15u);
    EXPECT_GE(bottom, 224u);
    EXPECT_GT(upper, lower) << "the head is wider than the shaft";
}

TEST_F(Picture, ReachesTheReportOnRequest) {
    const std::string input = Sample("stl/shape.stl"), report = folder_ / "out.obj-zel.xml";
    const auto inReport = [&] {
        return ReadWhole(report).find("<preview type=\"image/png\"") != std::string::npos;
    };
    RunWorker({input, folder_ / "out.obj"});
    EXPECT_FALSE(inReport());
    RunWorker({"--set", "FILE CONF/PREVIEW=1", input, folder_ / "out.obj"});
    EXPECT_TRUE(inReport());
    RunWorker({input, folder_ / "out.obj"}, [] { setenv("MORVEX_PREVIEW", "1", 1); });
    EXPECT_TRUE(inReport());
    EXPECT_EQ(RunWorker({"--preview", folder_ / "out.obj", input, folder_ / "out.obj"}).code, 64);
    EXPECT_EQ(RunWorker({"--preview", folder_ / "none/view.png", input, folder_ / "out.obj"}).code, 0);
    EXPECT_NE(ReadWhole(report).find("The picture could not be written"), std::string::npos);
}

}  // namespace
}  // namespace morvex::test
