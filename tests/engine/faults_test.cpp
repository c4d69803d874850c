// Whatever goes wrong: the right code, the old output intact, nothing left behind.
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/engine/worker_run.h"

namespace morvex::test {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

struct BadInput {
    const char* name;
    std::string bytes;
    int code;
};

std::string Truncated(const std::string& sample, double share) {
    const std::string whole = ReadWhole(Sample(sample));
    return whole.substr(0, static_cast<std::size_t>(static_cast<double>(whole.size()) * share));
}

TEST(Faults, BadInputs) {
    std::string falseCount(84 + 50 * 12, '\1');
    falseCount.replace(80, 4, "\xff\xff\xff\x0f");
    const std::string garbage(4096, '\xa7');
    const BadInput cases[] = {
        {"empty.step", "", 32},
        {"blank.igs", "   \n\n  ", 32},
        {"garbage.step", garbage, 29},
        {"garbage.iges", garbage, 29},
        {"garbage.obj", garbage, 29},
        {"garbage.glb", garbage, 29},
        {"garbage.stl", garbage, 29},
        {"text.stl", "this is no solid", 29},
        {"zip.stpz", std::string("PK\3\4") + garbage, 27},
        {"old.glb", std::string("glTF\1\0\0\0\x14\0\0\0", 12) + garbage, 27},
        {"count.stl", falseCount, 5},
        {"none.stl", std::string(84, '\0'), 32},
        {"cut1.step", Truncated("step/screw.step", 0.3), 5},
        {"cut2.step", Truncated("step/screw.step", 0.999), 5},
        {"cut1.iges", Truncated("iges/bearing.iges", 0.5), 5},
        {"cut2.iges", Truncated("iges/bearing.iges", 0.999), 5},
        {"cut.stl", Truncated("stl/shape.stl", 0.7), 5},
    };
    for (const BadInput& bad : cases) {
        SCOPED_TRACE(bad.name);
        const ScratchFolder folder;
        WriteWhole(folder / bad.name, bad.bytes);
        WriteWhole(folder / "out.obj", "old");
        const WorkerRun run = RunWorker({folder / bad.name, folder / "out.obj"});
        EXPECT_EQ(run.code, bad.code) << run.errors;
        EXPECT_FALSE(run.errors.empty());
        EXPECT_EQ(ReadWhole(folder / "out.obj"), "old");
        EXPECT_EQ(folder.Names().size(), 2u);
    }
}

TEST(Faults, PlacesThatCannotBeReadOrWritten) {
    const ScratchFolder folder;
    const std::string screw = Sample("step/screw.step");
    fs::create_directory(folder / "taken.stl");
    fs::create_directory(folder / "side.mtl");
    fs::copy_file(screw, folder / "self.step");
    fs::create_hard_link(folder / "self.step", folder / "twin.step");
    const Strings before = folder.Names();
    EXPECT_EQ(RunWorker({folder / "missing.step", folder / "a.stl"}).code, 28);
    EXPECT_EQ(RunWorker({folder / "taken.stl", folder / "a.obj"}).code, 22);
    EXPECT_EQ(RunWorker({screw, folder / "taken.stl"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "side.obj"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "nowhere/a.stl"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "self.step/a.stl"}).code, 23);
    EXPECT_EQ(RunWorker({folder / "self.step", folder / "self.step"}).code, 23);
    EXPECT_EQ(RunWorker({folder / "self.step", folder / "twin.step"}).code, 23);
    EXPECT_EQ(ReadWhole(folder / "self.step"), ReadWhole(screw));
    EXPECT_EQ(folder.Names(), before);
}

// A limit on the size of files stands for the full disk.
TEST(Faults, FullDisk) {
    const BeforeExec limit = [] {
        const rlimit size{8192, 8192};
        setrlimit(RLIMIT_FSIZE, &size);
        signal(SIGXFSZ, SIG_IGN);
    };
    for (const char* suffix : {"stl", "stp", "igs", "brep", "obj", "gltf", "glb"}) {
        SCOPED_TRACE(suffix);
        const ScratchFolder folder;
        const std::string output = folder / (std::string("out.") + suffix);
        WriteWhole(output, "old");
        EXPECT_EQ(RunWorker({Sample("step/screw.step"), output}, limit).code, 23);
        EXPECT_EQ(ReadWhole(output), "old");
        EXPECT_EQ(folder.Names().size(), 1u);
    }
}

}  // namespace
}  // namespace morvex::test
