// Files made to get something out of the machine, or to bring it down: what they refer to, what they claim,
// and what stands in the way of their outputs.
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/engine/support/gltf_maker.h"
#include "tests/engine/support/piped_worker.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr char kTexturedObj[] =
    "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nusemtl m\nf 1/1 2/2 3/3\n";

std::string Image(char filling) {
    return "\x89PNG\r\n\x1a\n" + std::string(200, filling);
}

// A folder for the input, with files inside and outside of it that the input may refer to.
class Surroundings {
  public:
    Surroundings() {
        fs::create_directories(folder_ / "in/sub");
        for (const char* name : {"secret.png", "in/sub/inside.png"}) WriteWhole(folder_ / name, Image(*name));
        WriteWhole(folder_ / "in/text.png", std::string(200, 'x'));
        mkfifo((folder_ / "in/pipe").c_str(), 0600);
        fs::create_symlink("../secret.png", folder_ / "in/out.png");
        fs::create_symlink("sub/inside.png", folder_ / "in/link.png");
        fs::create_directory_symlink("..", folder_ / "in/up");
    }
    std::string operator/(const std::string& name) const { return folder_ / name; }
    const fs::path& Path() const { return folder_.Path(); }

  private:
    ScratchFolder folder_;
};

std::vector<std::string> References(const Surroundings& at) {
    return {"../secret.png", at / "secret.png", "out.png", "up/secret.png", "pipe",
            "text.png",      "missing.png",     "sub",     "/dev/zero",     "/etc/hostname"};
}

TEST(Hostile, TexturesComeFromTheFolderOfTheInput) {
    const Surroundings at;
    WriteWhole(at / "in/a.obj", kTexturedObj);
    const auto picture = [&](const std::string& reference) {
        WriteWhole(at / "in/m.mtl", "newmtl m\nKd 1 0 0\nmap_Kd " + reference + "\n");
        fs::remove_all(at / "out");
        fs::create_directory(at / "out");
        const WorkerRun run = RunWorker({at / "in/a.obj", at / "out/a.obj"});
        EXPECT_EQ(run.code, 0) << run.errors;
        for (const auto& entry : fs::recursive_directory_iterator(at / "out"))
            if (entry.path().extension() == ".png") return ReadWhole(entry.path());
        return std::string();
    };
    for (const std::string& reference : References(at)) {
        SCOPED_TRACE(reference);
        EXPECT_EQ(picture(reference), "");
        EXPECT_NE(ReadWhole(at / "out/a.obj-zel.xml").find("A texture was left out"), std::string::npos);
    }
    EXPECT_EQ(picture("sub\\inside.png"), Image('i'));
    EXPECT_EQ(picture(at / "in/sub/../sub/inside.png"), Image('i'));
    EXPECT_EQ(picture("-s 1 1 1 -clamp on link.png"), Image('i'));
}

TEST(Hostile, SideFilesComeFromTheFolderOfTheInput) {
    const Surroundings at;
    GltfMaker maker;
    const int points = maker.BoxPoints(), corners = maker.BoxCorners();
    const auto code = [&](const std::string& reference) {
        WriteWhole(at / "in/a.gltf", maker.File(R"([{"attributes":{"POSITION":)" + std::to_string(points) +
                                                    "},\"indices\":" + std::to_string(corners) + "}]",
                                                R"([{"mesh":0}])", {}, reference));
        return RunWorker({at / "in/a.gltf", at / "a.stl"}).code;
    };
    WriteWhole(at / "secret.png", maker.Bytes());
    WriteWhole(at / "in/sub/inside.png", maker.Bytes());
    for (const std::string& reference : References(at)) {
        SCOPED_TRACE(reference);
        EXPECT_EQ(code(reference), 5);
        WriteWhole(at / "in/a.obj", "mtllib " + reference + "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
        EXPECT_EQ(RunWorker({at / "in/a.obj", at / "a.stl"}).code, 0);
    }
    EXPECT_EQ(code("link.png"), 0);
}

TEST(Hostile, SmallFilesTakeLittleMemory) {
    const std::string name(900'000, 'n');
    const auto gltf = [](const std::string& accessor, const std::string& nodes) {
        GltfMaker maker;
        maker.BoxPoints();
        const int points = maker.Raw(accessor);
        return maker.File(R"([{"attributes":{"POSITION":)" + std::to_string(points) + "}}]", nodes);
    };
    std::string chain, polygon, fbx = FbxBox(),
                                bomb = "<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY a \"aaaaaaaaaa\">";
    for (int at = 0; at < 20'000; ++at) {
        chain +=
            (at == 0 ? "[" : ",") + std::string("{\"mesh\":0,\"children\":[") + std::to_string(at + 1) + "]}";
        polygon += "v " + std::to_string(at % 173) + " " + std::to_string(at % 91) + " 0\n";
    }
    polygon += "f";
    for (int at = 1; at <= 20'000; ++at) polygon += " " + std::to_string(at);
    for (char at = 'b'; at <= 'z'; ++at) {
        bomb += std::string("<!ENTITY ") + at + " \"";
        for (int times = 0; times < 10; ++times) bomb += std::string("&") + static_cast<char>(at - 1) + ";";
        bomb += "\">";
    }
    fbx.replace(fbx.find("*24"), 3, "*900000000");
    const struct {
        const char* file;
        std::string bytes;
        std::vector<int> codes;
    } cases[] = {
        {"count.gltf",
         gltf(R"({"bufferView":0,"componentType":5126,"count":500000000,"type":"VEC3"})", R"([{"mesh":0}])"),
         {5}},
        {"zeros.gltf",
         gltf(R"({"componentType":5126,"count":500000000,"type":"VEC3"})", R"([{"mesh":0}])"),
         {5}},
        {"deep.gltf", gltf("{}", chain + ",{}]"), {1, 5}},
        {"name.gltf",
         gltf(R"({"bufferView":0,"componentType":5126,"count":6,"type":"VEC3"})",
              R"([{"mesh":0,"name":")" + name + "\"}]"),
         {0}},
        {"name.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\ng " + name + "\nf 1 2 3\n", {0}},
        {"polygon.obj", polygon + "\n", {0}},
        {"claim.fbx", fbx, {5}},
        {"bomb.ifcxml", bomb + "]><a>&z;</a>", {27, 29}},
        {"bomb.ifc", bomb + "]><a>&z;</a>", {27, 29}},
    };
    const ScratchFolder folder;
    for (const auto& [file, bytes, codes] : cases) {
        SCOPED_TRACE(file);
        WriteWhole(folder / file, bytes);
        const WorkerRun run = RunWorker({folder / file, folder / "out.glb"});
        EXPECT_TRUE(std::ranges::count(codes, run.code)) << run.code << " " << run.errors;
        EXPECT_LT(run.peakMemory, 1l << 30);
        EXPECT_LT(run.seconds, 40);
    }
}

TEST(Hostile, SetsOfFilesAreReplacedWhole) {
    const Surroundings at;
    WriteWhole(at / "in/a.obj", kTexturedObj);
    WriteWhole(at / "in/m.mtl", "newmtl m\nKd 1 0 0\nmap_Kd link.png\n");
    for (int time = 0; time < 2; ++time) {
        WriteWhole(at / "in/sub/inside.png", Image(static_cast<char>('a' + time)));
        ASSERT_EQ(RunWorker({at / "in/a.obj", at / "a.obj"}).code, 0);
        EXPECT_EQ(ReadWhole(at / "a.texture1.png"), Image(static_cast<char>('a' + time)));
    }
    // The set would take the name of the material file that the input has.
    const std::string materials = ReadWhole(at / "in/m.mtl");
    WriteWhole(at / "in/m.obj", "old");
    EXPECT_EQ(RunWorker({at / "in/a.obj", at / "in/m.obj"}).code, 23);
    EXPECT_EQ(ReadWhole(at / "in/m.mtl"), materials);
    EXPECT_EQ(ReadWhole(at / "in/m.obj"), "old");
}

// The folder in which this user's workers on this machine make their temporary ones, with one in it that a
// killed worker has left.
std::string LeaveNest(const ScratchFolder& folder) {
    const PipedWorker killed({Sample("stl/head.stl"), folder / "killed.3mf"});
    EXPECT_TRUE(Within(20s, [&] { return !folder.Names().empty() && ChildOf(killed.Process()) != 0; }));
    const pid_t job = ChildOf(killed.Process());
    kill(killed.Process(), SIGKILL);
    EXPECT_TRUE(Within(20s, [&] { return !Exists(job); }));
    return folder.Names().front() + "/";
}

// What conversions leave behind that were killed, or that could not finish, while they replaced a set.
TEST(Hostile, TheNextRunCleansUpAfterAKilledOne) {
    const ScratchFolder folder;
    const auto convert = [&] { EXPECT_EQ(RunWorker({Sample("step/screw.step"), folder / "b.stl"}).code, 0); };
    const std::string nest = LeaveNest(folder), rest = nest + "abcdef", alive = nest + "ghijkl";
    EXPECT_TRUE(fs::exists(folder / nest));
    convert();
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"b.stl", "b.stl-zel.xml"}));

    const auto abandon = [&](const std::string& name, bool finished) {
        fs::create_directories(folder / name + "/new");
        fs::create_directories(folder / name + "/old");
        if (!finished) WriteWhole(folder / name + "/new/a.gltf", "new");
        WriteWhole(folder / name + "/old/a.gltf", "old");
        WriteWhole(folder / name + "/old/a.bin", "old");
        WriteWhole(folder / "a.bin", "new");
    };
    const auto set = [&] { return ReadWhole(folder / "a.gltf") + ReadWhole(folder / "a.bin"); };
    abandon(rest, false);
    convert();
    EXPECT_EQ(set(), "oldold");

    // Somebody has written the set since.
    abandon(rest, false);
    convert();
    EXPECT_EQ(set(), "oldnew");
    EXPECT_FALSE(fs::exists(folder / rest));

    // A file of it cannot be put back for a while: all stays until it can.
    fs::remove(folder / "a.gltf");
    abandon(rest, false);
    fs::remove(folder / "a.bin");
    fs::create_directory(folder / "a.bin");
    convert();
    EXPECT_FALSE(fs::exists(folder / "a.gltf"));
    fs::remove(folder / "a.bin");
    convert();
    EXPECT_EQ(set(), "oldold");

    // Those of a living worker and of another machine are not touched.
    fs::remove(folder / "a.gltf");
    abandon(rest, true);
    fs::create_directories(folder / alive);
    fs::create_directories(folder / ".morvex-01234567/abcdef/new");
    const int lock = open((folder / alive).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    convert();
    EXPECT_EQ(folder.Names().size(), 5u);
    EXPECT_TRUE(fs::exists(folder / alive));
    EXPECT_FALSE(fs::exists(folder / rest));
    EXPECT_TRUE(fs::exists(folder / ".morvex-01234567/abcdef/new"));
    EXPECT_EQ(ReadWhole(folder / "a.bin"), "new");
    close(lock);
}

}  // namespace
}  // namespace morvex::test
