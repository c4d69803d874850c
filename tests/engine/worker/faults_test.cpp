// Whatever goes wrong: the right code, the old output intact, nothing left behind.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

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

// The sample with one place of it changed.
std::string SampleWith(const std::string& sample, const std::string& old, const std::string& text) {
    std::string whole = ReadWhole(Sample(sample));
    const std::size_t at = whole.find(old);
    EXPECT_NE(at, std::string::npos) << old;
    return whole.replace(std::min(at, whole.size()), old.size(), text);
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
        {"face.step", SampleWith("step/screw.step", "(#15),#49,", "(#15),#15,"), 5},
        {"cut1.iges", Truncated("iges/bearing.iges", 0.5), 5},
        {"cut2.iges", Truncated("iges/bearing.iges", 0.999), 5},
        {"index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 2 9\n", 5},
        {"nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", 5},
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
        EXPECT_EQ(folder.Names().size(), 3u);
        EXPECT_NE(ReadWhole(folder / "out.obj-zel.xml").find("<reason>"), std::string::npos);
    }
}

TEST(Faults, PlacesThatCannotBeReadOrWritten) {
    const ScratchFolder folder;
    const std::string screw = Sample("step/screw.step");
    fs::create_directory(folder / "taken.stl");
    fs::create_directory(folder / "side.mtl");
    fs::copy_file(screw, folder / "self.step");
    fs::create_hard_link(folder / "self.step", folder / "twin.step");
    Strings expected = folder.Names();
    EXPECT_EQ(RunWorker({folder / "missing.step", folder / "a.stl"}).code, 28);
    EXPECT_EQ(RunWorker({folder / "taken.stl", folder / "a.obj"}).code, 22);
    EXPECT_EQ(RunWorker({screw, folder / "taken.stl"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "side.obj"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "nowhere/a.stl"}).code, 23);
    EXPECT_EQ(RunWorker({screw, folder / "self.step/a.stl"}).code, 23);
    EXPECT_EQ(RunWorker({folder / "self.step", folder / "self.step"}).code, 23);
    EXPECT_EQ(RunWorker({folder / "self.step", folder / "twin.step"}).code, 23);
    EXPECT_EQ(RunWorker({"--preview", folder / "twin.step", folder / "self.step", folder / "a.stl"}).code,
              64);
    EXPECT_EQ(ReadWhole(folder / "self.step"), ReadWhole(screw));
    for (const char* output : {"a.obj", "taken.stl", "side.obj", "self.step", "twin.step"})
        expected.push_back(std::string(output) + "-zel.xml");
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(folder.Names(), expected);
}

TEST(Faults, SideFilesOfGltf) {
    const ScratchFolder folder;
    ASSERT_EQ(RunWorker({Sample("step/screw.step"), folder / "a.gltf"}).code, 0);
    const std::string whole = ReadWhole(folder / "a.bin");
    EXPECT_EQ(RunWorker({folder / "a.gltf", folder / "o.stl"}).code, 0);
    WriteWhole(folder / "a.bin", whole.substr(0, whole.size() / 4));
    EXPECT_EQ(RunWorker({folder / "a.gltf", folder / "o.stl"}).code, 5);
    std::filesystem::remove(folder / "a.bin");
    EXPECT_EQ(RunWorker({folder / "a.gltf", folder / "o.stl"}).code, 5);
}

// Puts more levels on top of an assembly, each with two instances of what is below.
std::string Doubled(std::string step, int levels) {
    // The top of the assembly as the writer numbers it: its definition, its representation, two axes and the
    // context.
    const std::string top = "#10 = SHAPE_REPRESENTATION('',(#11,#15,#19),#23);";
    EXPECT_NE(step.find(top), std::string::npos);
    std::string added, definition = "#5", representation = "#10";
    for (int level = 0; level < levels; ++level) {
        const auto id = [level](int at) { return "#" + std::to_string(100000 + level * 20 + at); };
        const auto entity = [&](int at, const std::string& text) { added += id(at) + "=" + text + ";\n"; };
        entity(1, "SHAPE_DEFINITION_REPRESENTATION(" + id(2) + "," + id(6) + ")");
        entity(2, "PRODUCT_DEFINITION_SHAPE('',''," + id(3) + ")");
        entity(3, "PRODUCT_DEFINITION('',''," + id(4) + ",#9)");
        entity(4, "PRODUCT_DEFINITION_FORMATION('',''," + id(5) + ")");
        entity(5, "PRODUCT('level','level','',(#8))");
        entity(6, "SHAPE_REPRESENTATION('',(#11,#15,#19),#23)");
        for (int at : {7, 12}) {
            entity(at, "CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(" + id(at + 1) + "," + id(at + 3) + ")");
            entity(at + 1, "(REPRESENTATION_RELATIONSHIP('',''," + representation + "," + id(6) +
                               ")REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(" + id(at + 2) +
                               ")SHAPE_REPRESENTATION_RELATIONSHIP())");
            entity(at + 2,
                   std::string("ITEM_DEFINED_TRANSFORMATION('','',#11,") + (at == 7 ? "#15)" : "#19)"));
            entity(at + 3, "PRODUCT_DEFINITION_SHAPE('',''," + id(at + 4) + ")");
            entity(at + 4, "NEXT_ASSEMBLY_USAGE_OCCURRENCE('" + std::to_string(at) + "','x',''," + id(3) +
                               "," + definition + ",$)");
        }
        definition = id(3), representation = id(6);
    }
    return step.insert(step.rfind("ENDSEC;"), added);
}

TEST(Faults, NestedReferencesMultiplyInVain) {
    const ScratchFolder folder;
    WriteAssembly(folder / "asm.step");
    const std::string step = ReadWhole(folder / "asm.step");
    WriteWhole(folder / "few.step", Doubled(step, 3));
    EXPECT_EQ(RunWorker({folder / "few.step", folder / "few.glb"}).code, 0);
    EXPECT_NE(ReadWhole(folder / "few.glb-zel.xml").find("instances=\"32\""), std::string::npos);
    WriteWhole(folder / "many.step", Doubled(step, 60));
    const WorkerRun run = RunWorker({folder / "many.step", folder / "many.stl"});
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.errors.find("too many"), std::string::npos) << run.errors;
}

TEST(Faults, MemoryAndTimeAreLimited) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "address space cannot be limited under the address sanitizer";
#endif
    const ScratchFolder folder;
    const std::string head = Sample("stl/head.stl");
    constexpr std::uint32_t kTriangles = 1'000'000;
    std::string large(84 + 50 * std::size_t{kTriangles}, '\0');
    std::memcpy(large.data() + 80, &kTriangles, sizeof kTriangles);
    for (std::size_t triangle = 0; triangle < kTriangles; ++triangle) {
        for (std::size_t corner = 0; corner < 9; ++corner) {
            const auto value = static_cast<float>(triangle * 9 + corner);
            std::memcpy(large.data() + 84 + triangle * 50 + 12 + corner * 4, &value, sizeof value);
        }
    }
    WriteWhole(folder / "large.stl", large);
    const WorkerRun small = RunWorker({"--memory", "200", folder / "large.stl", folder / "a.obj"});
    EXPECT_EQ(small.code, 1);
    EXPECT_NE(small.errors.find("memory limit"), std::string::npos) << small.errors;
    EXPECT_EQ(RunWorker({folder / "large.stl", folder / "b.stl"}).code, 0);
    for (const char* name : {"large.stl", "b.stl"}) std::filesystem::remove(folder / name);
    const WorkerRun slow = RunWorker({"--seconds", "0.05", head, folder / "a.3mf"});
    EXPECT_EQ(slow.code, 1);
    EXPECT_NE(slow.errors.find("time limit"), std::string::npos);
    for (const std::string& name : folder.Names()) EXPECT_TRUE(name.ends_with("-zel.xml")) << name;
}

// A number far out of range, which sends the reader of curves into a loop.
TEST(Faults, ALoopWithoutEndIsEnded) {
    const ScratchFolder folder;
    WriteAssembly(folder / "asm.step");
    ASSERT_EQ(RunWorker({folder / "asm.step", folder / "asm.igs"}).code, 0);
    std::string iges = ReadWhole(folder / "asm.igs");
    const std::string line = "\n110,5.,110.806046117,";
    const std::size_t at = iges.find(line);
    ASSERT_NE(at, std::string::npos);
    iges.replace(at, line.size(), "\n110,5.,11e308806046117,");
    WriteWhole(folder / "wild.igs", iges);
    const WorkerRun run = RunWorker({"--patience", "2", folder / "wild.igs", folder / "out.stl"});
    EXPECT_EQ(run.code, 5);
    EXPECT_NE(run.errors.find("no progress"), std::string::npos) << run.errors;
}

// A limit on the size of files stands for the full disk: there is room for a part, or for all but the last
// bytes.
TEST(Faults, FullDisk) {
    static rlim_t room;
    const BeforeExec limit = [] {
        const rlimit size{room, room};
        setrlimit(RLIMIT_FSIZE, &size);
        signal(SIGXFSZ, SIG_IGN);
    };
    for (const char* suffix : {"stl", "stp", "igs", "brep", "obj", "gltf", "glb", "wrl", "dae", "fbx", "3mf",
                               "dxf", "pdf", "emf"}) {
        SCOPED_TRACE(suffix);
        const ScratchFolder folder;
        const std::string output = folder / (std::string("out.") + suffix);
        ASSERT_EQ(RunWorker({Sample("step/screw.step"), output}).code, 0);
        const std::vector<std::string> names = folder.Names();
        for (const rlim_t size : {rlim_t(8192), rlim_t(std::filesystem::file_size(output) - 60)}) {
            room = size;
            WriteWhole(output, "old");
            EXPECT_EQ(RunWorker({Sample("step/screw.step"), output}, limit).code, 23) << size;
            EXPECT_EQ(ReadWhole(output), "old");
        }
        EXPECT_EQ(folder.Names(), names);
    }
}

TEST(Faults, AConfigurationThatCannotBeReadIsTold) {
    const ScratchFolder folder;
    EXPECT_EQ(RunWorker({"--config", folder.Path(), Sample("step/screw.step"), folder / "out.stl"}).code, 0);
    EXPECT_NE(ReadWhole(folder / "out.stl-zel.xml").find("configuration file could not be read"),
              std::string::npos);
}

// What an earlier conversion has said would be said of this one.
TEST(Faults, AReportThatCannotBeWrittenLeavesNone) {
    const BeforeExec limit = [] {
        const rlimit size{64, 64};
        setrlimit(RLIMIT_FSIZE, &size);
        signal(SIGXFSZ, SIG_IGN);
    };
    const ScratchFolder folder;
    ASSERT_EQ(RunWorker({Sample("step/screw.step"), folder / "out.stl"}).code, 0);
    EXPECT_EQ(RunWorker({Sample("step/screw.step"), folder / "out.stl"}, limit).code, 23);
    EXPECT_EQ(folder.Names(), Strings{"out.stl"});
}

}  // namespace
}  // namespace morvex::test
