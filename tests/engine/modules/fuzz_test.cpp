// Damaged files, made with fixed seeds: a code, no hang, no process and no file left.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <random>
#include <regex>
#include <set>
#include <thread>

#include "tests/engine/support/mesh_samples.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using Random = std::mt19937;

std::size_t Below(Random& random, std::size_t limit) {
    return limit == 0 ? 0 : random() % limit;
}

std::string Mutated(std::string bytes, unsigned seed) {
    Random random(seed);
    const auto run = [&] { return 1 + Below(random, bytes.size() / 10 + 1); };
    const auto place = [&] { return Below(random, bytes.size()); };
    switch (seed % 8) {
        case 0:
            bytes.resize(place());
            break;
        case 1:
            for (int count = 0; count < 3; ++count)
                bytes[place()] ^= static_cast<char>(1 << Below(random, 8));
            break;
        case 2:
            for (int count = 0; count < 20; ++count) bytes[place()] = static_cast<char>(Below(random, 256));
            break;
        case 3:
            bytes.erase(place(), run());
            break;
        case 4: {
            const std::string copy = bytes.substr(place(), run());
            bytes.insert(place(), copy);
            break;
        }
        case 5: {
            const std::size_t at = place(), size = std::min(run(), bytes.size() - at);
            bytes.replace(at, size, size, '\0');
            break;
        }
        case 6:  // digits, where text formats keep references and counts
            for (int count = 0; count < 10; ++count) {
                const std::size_t at = bytes.find_first_of("0123456789", place());
                if (at != std::string::npos) bytes[at] = static_cast<char>('0' + Below(random, 10));
            }
            break;
        default: {
            static constexpr const char* kNumbers[] = {"nan", "1e308", "-1", "99999999999", "#0", ""};
            const std::size_t at = bytes.find_first_of("0123456789", place());
            if (at != std::string::npos) bytes.replace(at, 3, kNumbers[Below(random, 6)]);
        }
    }
    return bytes;
}

// What the report says was read; empty when there is no report.
using Counts = std::map<std::string, long>;
Counts CountsRead(const std::string& report) {
    static const std::regex element("<read ([^/]*)/>"), attribute("([a-z-]+)=\"([0-9]+)\"");
    Counts counts;
    std::smatch read;
    if (!std::regex_search(report, read, element)) return counts;
    const std::string attributes = read[1];
    for (std::sregex_iterator at(attributes.begin(), attributes.end(), attribute), end; at != end; ++at)
        counts[(*at)[1]] = std::stol((*at)[2]);
    return counts;
}

struct Seed {
    std::string name, bytes;
    Counts whole;  // of the intact file; empty for formats in which a loss cannot be told
};

// A file that says less than the intact one does is no success, unless the loss cannot be told from the file:
// whole facets cut out of a text STL file, or copied over by others of their like.
void ExpectNoLess(const Seed& seed, const std::string& report) {
    const Counts counts = CountsRead(report);
    for (const char* what : {"instances", "solids", "faces"}) {
        EXPECT_GE(counts.at(what), seed.whole.at(what)) << what;
    }
}

// A case is the seed file, the number of its mutation, and an output that goes round.
void RunCase(const Seed& seed, unsigned number, std::mutex& mutex, std::map<int, int>& codes) {
    static constexpr const char* kOutputs[] = {"stl", "stp", "glb", "fbx", "brep",
                                               "obj", "pdf", "dxf", "xml"};
    const std::string output = std::string("out.") + kOutputs[number % std::size(kOutputs)];
    const ScratchFolder folder;
    const std::string input = folder / seed.name;
    WriteWhole(input, Mutated(seed.bytes, number));
    const std::string before = ReadWhole(input);
    const WorkerRun run = RunWorker({"--patience", "10", input, folder / output});

    const std::string report = run.code == 0 ? ReadWhole(folder / (output + "-zel.xml")) : "";
    const std::lock_guard lock(mutex);
    SCOPED_TRACE(seed.name + ", mutation " + std::to_string(number) + ": " + run.errors);
    EXPECT_TRUE(std::set({0, 1, 5, 22, 27, 29, 32}).contains(run.code)) << run.code;
    EXPECT_LT(run.seconds, 60);
    if (run.code == 0 && !seed.whole.empty()) ExpectNoLess(seed, report);
    EXPECT_EQ(ReadWhole(input), before);
    for (const std::string& name : folder.Names()) {
        const bool ours =
            name == seed.name || (run.code == 0 && name.starts_with("out.")) || name.ends_with("-zel.xml");
        EXPECT_TRUE(ours) << name << " was left behind";
    }
    ++codes[run.code];
}

// Whether a sanitizer's report is about the engine's own code, not about a library that it called.
bool IsOurs(const std::string& report) {
    const std::size_t library = std::min(report.find("/libTK"), report.find("/libassimp"));
    return report.find("/engine/") < library;
}

// MORVEX_FUZZ_ROUNDS sets the mutations for each seed file, MORVEX_FUZZ_FIRST the number of the first one;
// the usual ones give more than 500.
TEST(Fuzz, DamagedFiles) {
    const ScratchFolder made;
    WriteAssembly(made / "asm.step");
    for (const char* name : {"asm.igs", "asm.stl", "asm.obj", "asm.glb", "asm.gltf", "asm.fbx"}) {
        ASSERT_EQ(RunWorker({made / "asm.step", made / name}).code, 0);
    }
    // Sanitizers, when built in, write their findings here; faults of the libraries are not theirs to catch.
    const ScratchFolder findings;
    setenv("ASAN_OPTIONS",
           ("handle_segv=0:handle_abort=0:handle_sigfpe=0:handle_sigbus=0:allocator_may_return_null=1:"
            "detect_leaks=0:log_path=" +
            findings / "asan")
               .c_str(),
           1);
    setenv("UBSAN_OPTIONS", ("print_stacktrace=1:log_path=" + findings / "ubsan").c_str(), 1);

    std::vector<Seed> seeds{{"box.fbx", FbxBox(), {}}, {"box.ifc", IfcBox(), {}}, {"box.dxf", DxfBox(), {}}};
    for (const char* name : {"asm.step", "asm.igs", "asm.stl", "asm.obj", "asm.glb", "asm.gltf", "asm.fbx"}) {
        seeds.push_back({name, ReadWhole(made / name), {}});
    }
    WriteMeshBoxes(made.Path());
    for (const char* suffix : {"dae", "3mf", "amf", "x3d", "3ds", "wrl", "ply", "off"}) {
        const std::string name = std::string("box.") + suffix;
        seeds.push_back({name, ReadWhole(made / name), {}});
    }
    seeds.push_back({"binary.ply", BinaryPlyBox(false), {}});
    for (const char* name : {"step/screw.step", "stl/shape.stl", "occ/bottle.brep"}) {
        seeds.push_back({std::filesystem::path(name).filename(), ReadWhole(Sample(name)), {}});
    }
    for (Seed& seed : seeds) {
        const std::string suffix = std::filesystem::path(seed.name).extension();
        if (!std::set<std::string>{".step", ".igs", ".stl", ".brep"}.contains(suffix)) continue;
        WriteWhole(made / seed.name, seed.bytes);
        ASSERT_EQ(RunWorker({made / seed.name, made / "whole.brep"}).code, 0);
        seed.whole = CountsRead(ReadWhole(made / "whole.brep-zel.xml"));
        ASSERT_FALSE(seed.whole.empty());
    }
    const char* const wanted = std::getenv("MORVEX_FUZZ_ROUNDS");
    const unsigned rounds = wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : 40;
    const char* const first = std::getenv("MORVEX_FUZZ_FIRST");
    const unsigned offset = first != nullptr ? static_cast<unsigned>(std::atoi(first)) : 0;
    std::mutex mutex;
    std::map<int, int> codes;
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t at; (at = next++) < seeds.size() * rounds;) {
            RunCase(seeds[at % seeds.size()], offset + static_cast<unsigned>(at / seeds.size()), mutex,
                    codes);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned count = std::max(1u, std::thread::hardware_concurrency()); count > 0; --count)
        threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
    for (const auto& [code, count] : codes) std::printf("code %d: %d\n", code, count);
    EXPECT_GT(codes[5], 0);
    for (const std::string& name : findings.Names()) {
        const std::string report = ReadWhole(findings / name);
        EXPECT_FALSE(IsOurs(report)) << report;
    }
}

}  // namespace
}  // namespace morvex::test
