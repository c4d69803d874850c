#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <signal.h>
#include <thread>

#include "tests/chain/geometry.h"
#include "tests/chain/morvex.h"

namespace morvex::chain {
namespace {

// How many files with changed bytes are made of each part; MORVEX_CHAIN_SEEDS asks for more than the usual
// few.
unsigned Seeds() {
    const char* text = std::getenv("MORVEX_CHAIN_SEEDS");
    return text ? static_cast<unsigned>(std::stoul(text)) : 3;
}

std::vector<std::string> Damaged(const std::string& whole) {
    std::vector<std::string> files;
    for (const double share : {0.001, 0.1, 0.5, 0.9, 0.999}) {
        files.push_back(whole.substr(0, static_cast<size_t>(static_cast<double>(whole.size()) * share)));
    }
    for (unsigned seed = 1; seed <= Seeds(); ++seed) {
        std::mt19937 random(seed);
        std::string bytes = whole;
        for (int i = 0; i < 40; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
        files.push_back(bytes);
    }
    std::string garbage(4096, '\0');
    std::mt19937 random(0);
    for (char& byte : garbage) byte = static_cast<char>(random());
    files.push_back(garbage);
    return files;
}

// A part in each format that can be read and made here.
std::vector<std::pair<std::string, std::string>> Parts(const Program& program) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"STEP", ReadBytes(kParts / "step/screw.step")},
        {"IGES 3D", ReadBytes(kParts / "iges/hammer.iges")},
        {"STL", ReadBytes(kParts / "stl/shape.stl")}};
    const Folder made;
    for (const char* format : {"OBJ", "glTF Binary", "FBX"}) {
        EXPECT_EQ(program.Convert("STEP", format, kParts / "step/screw.step", (made / format).string()), 0);
        parts.emplace_back(format, ReadBytes(made / format));
    }
    return parts;
}

TEST(Faults, DamagedInputsHarmNothing) {
    const Program program;
    for (const auto& [format, whole] : Parts(program)) {
        int refused = 0;
        for (const std::string& bytes : Damaged(whole)) {
            const Folder in, out;
            WriteBytes(in / "part.in", bytes);
            const int code = program.Convert(format, "STL", in / "part.in", (out / "part.stl").string());
            EXPECT_NE(code, -1000) << format;
            refused += code != 0;
            EXPECT_EQ(ReadBytes(in / "part.in"), bytes);
            for (const std::string& name : out.Names()) {
                const bool report = name == "part.stl-zel.xml", output = name == "part.stl";
                EXPECT_TRUE(report || (output && code == 0)) << name << " left behind by " << code;
            }
        }
        EXPECT_GE(refused, 2) << format;
    }
    EXPECT_TRUE(ProcessesWith("part.in").empty());
}

TEST(Faults, HaveTheirCodes) {
    const Program program;
    const Folder folder;
    const fs::path screw = kParts / "step/screw.step";
    WriteBytes(folder / "empty.step", "");
    fs::create_directory(folder / "folder.step");
    fs::create_directory(folder / "taken.stl");
    WriteBytes(folder / "plain", "x");
    WriteBytes(folder / "half.step", ReadBytes(screw).substr(0, 40000));
    const auto convert = [&](const fs::path& input, const std::string& output) {
        return program.Convert("STEP", "STL", input, output);
    };
    const std::string out = (folder / "out.stl").string();
    EXPECT_EQ(convert(folder / "empty.step", out), -32);
    EXPECT_EQ(convert(folder / "half.step", out), -5);
    EXPECT_EQ(convert(screw, (folder / "taken.stl").string() + "/x/y.stl"), -23);
    EXPECT_EQ(convert(screw, (folder / "plain").string() + "/x.stl"), -23);
    for (const fs::path& unreadable : {folder / "missing.step", folder / "folder.step"}) {
        const int code = convert(unreadable, out);
        EXPECT_TRUE(code == -22 || code == -28 || code == -2) << code;
    }
    EXPECT_FALSE(fs::exists(out));
    // A failure leaves the file that was there.
    WriteBytes(out, "precious");
    EXPECT_NE(convert(folder / "half.step", out), 0);
    EXPECT_EQ(ReadBytes(out), "precious");
    // The input as the output is refused, not eaten.
    fs::copy_file(screw, folder / "same.step");
    EXPECT_EQ(program.Convert("STEP", "STEP", folder / "same.step", (folder / "same.step").string()), -23);
    EXPECT_EQ(ReadBytes(folder / "same.step"), ReadBytes(screw));
}

TEST(Faults, AnEngineWithoutItsWorkerSaysSo) {
    const Program program;
    const fs::path plugins = program.Root() / "Plugins", built = fs::canonical(plugins);
    fs::remove(plugins);
    fs::create_directory(plugins);
    fs::copy_file(built / "Polyvane_x64.dll", plugins / "Polyvane_x64.dll");
    const auto reasonOfFailure = [&] {
        const Folder out;
        EXPECT_EQ(program.Convert("STEP", "STL", kParts / "step/screw.step", (out / "a.stl").string()), 1);
        EXPECT_EQ(out.Names(), std::vector<std::string>{"a.stl-zel.xml"});
        const std::string report = ReadBytes(out / "a.stl-zel.xml"), start = "<reason>The engine's worker ";
        const size_t at = report.find(start) + start.size();
        return report.substr(at, report.find("</reason>") - at);
    };
    EXPECT_EQ(reasonOfFailure(), "morvex-engine could not be started");
    WriteBytes(plugins / "morvex-engine", "#!/bin/sh\nexit 0\n");
    fs::permissions(plugins / "morvex-engine", fs::perms::owner_all);
    EXPECT_EQ(reasonOfFailure(), "morvex-engine ended without a result");
}

// A run over a saved list that starts by itself, as many files at once as there are processors.
void PrepareSelfStartingRun(const Program& program, const Folder& out, const std::string& from,
                            const std::string& to, const std::vector<fs::path>& inputs,
                            const std::string& more = "") {
    const std::string settings =
        "[General]\r\nDeveloperMode=1\r\nMultiprocess=1\r\nConvertAtStartup=1\r\nLoadLastState=1\r\n" + more;
    WriteBytes(program.Root() / "norwend_morvex.ini",
               settings + ReadBytes(program.Root() / "norwend_morvex.ini"));
    std::string list = "morvex_list\r\n" + from + "\r\n" + to + "\r\n";
    for (const fs::path& input : inputs) list += WindowsPath(input.string()) + "\r\n";
    WriteBytes(program.Root() / "user/zel_last_state.ini", Utf16(list));
    WriteBytes(program.Root() / "user/zel_morvex.ini",
               Utf16("[General]\r\nSameFolderAsInput=0\r\nOutput_folder=" + WindowsPath(out.Path().string()) +
                     "\r\nFormat_in=" + from + "\r\nFormat_out=" + to + "\r\n"));
}

constexpr char kStep[] = "STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
constexpr char kIges[] = "IGES 3D (*.igs;*.iges)";

std::vector<fs::path> PartsIn(const char* folder) {
    std::vector<fs::path> parts;
    for (const auto& entry : fs::directory_iterator(kParts / folder)) parts.push_back(entry.path());
    return parts;
}

TEST(Multiprocess, GivesTheSameFilesAsOneByOne) {
    const struct {
        const char *folder, *from, *fromName, *to, *toName, *suffix;
    } runs[] = {
        {"step", kStep, "STEP", "STL (*.stl)", "STL", ".stl"},
        {"iges", kIges, "IGES 3D", "glTF Binary (*.glb)", "glTF Binary", ".glb"},
        {"stl", "STL (*.stl)", "STL", "OBJ (*.obj)", "OBJ", ".obj"},
    };
    for (const auto& run : runs) {
        const Program program;
        const Folder one, many;
        const std::vector<fs::path> inputs = PartsIn(run.folder);
        for (const fs::path& input : inputs) {
            EXPECT_EQ(program.Convert(run.fromName, run.toName, input, one.Path().string() + "/"), 0);
        }
        PrepareSelfStartingRun(program, many, run.from, run.to, inputs);
        Process process(program.Start({}, {}));
        for (const fs::path& input : inputs) {
            const std::string output = input.stem().string() + run.suffix;
            ASSERT_TRUE(Eventually(60, [&] { return fs::exists(many / (output + "-zel.xml")); })) << output;
            EXPECT_EQ(ReadBytes(many / output), ReadBytes(one / output)) << output;
        }
    }
}

// The geometry is in a process beside the child.
TEST(Multiprocess, MegabytesPerFileHoldForTheEngine) {
    constexpr std::uint32_t kTriangles = 1'000'000;
    std::string stl(84 + std::size_t{50} * kTriangles, '\0');
    std::memcpy(stl.data() + 80, &kTriangles, sizeof kTriangles);
    for (std::size_t triangle = 0; triangle < kTriangles; ++triangle) {
        for (std::size_t corner = 0; corner < 9; ++corner) {
            const auto value = static_cast<float>(triangle * 9 + corner);
            std::memcpy(stl.data() + 84 + triangle * 50 + 12 + corner * 4, &value, sizeof value);
        }
    }
    const Folder in;
    WriteBytes(in / "large.stl", stl);
    fs::copy_file(kParts / "stl/shape.stl", in / "small.stl");
    const Program program;
    const Folder out;
    PrepareSelfStartingRun(program, out, "STL (*.stl)", "OBJ (*.obj)", {in / "large.stl", in / "small.stl"},
                           "MegabytesPerFile=250\r\n");
    Process process(program.Start({}, {}));
    for (const char* report : {"large.obj-zel.xml", "small.obj-zel.xml"})
        ASSERT_TRUE(Eventually(60, [&] { return fs::exists(out / report); })) << report;
    EXPECT_NE(ReadBytes(out / "large.obj-zel.xml").find("exceeded its memory limit"), std::string::npos);
    EXPECT_FALSE(fs::exists(out / "large.obj"));
    EXPECT_TRUE(fs::exists(out / "small.obj"));
}

TEST(Multiprocess, NothingOutlivesAKilledParent) {
    constexpr int kKills = 17;
    std::mt19937 random(17);
    const Folder in;
    std::vector<fs::path> inputs;
    for (int i = 0; i < 20; ++i) {
        inputs.push_back(in / (std::to_string(i) + ".step"));
        fs::copy_file(kParts / "step/linkrods.step", inputs.back());
    }
    const std::string mark = in.Path().filename().string();
    int caught = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        const Program program;
        const Folder out;
        PrepareSelfStartingRun(program, out, kStep, "STL (*.stl)", inputs);
        Process process(program.Start({}, {}));
        ASSERT_TRUE(Eventually(60, [&] { return !ProcessesWith(mark).empty(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 2000));
        caught += !ProcessesWith(mark).empty();
        process.Kill();
        EXPECT_TRUE(Eventually(20, [&] { return ProcessesWith(mark).empty(); }));
        // The worker outlives its caller for as long as tidying up takes.
        const auto tidy = [&] {
            const std::vector<std::string> names = out.Names();
            return std::all_of(names.begin(), names.end(), [](const std::string& name) {
                return name.ends_with(".stl") || name.ends_with("-zel.xml");
            });
        };
        EXPECT_TRUE(Eventually(20, tidy)) << testing::PrintToString(out.Names());
        for (const std::string& name : out.Names()) {
            if (!name.ends_with(".stl")) continue;
            EXPECT_GT(MeasureStl(out / name).triangles, 1000) << name;
        }
    }
    EXPECT_GT(caught, kKills / 2);
}

}  // namespace
}  // namespace morvex::chain
