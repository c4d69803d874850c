// The worker at the service of the entry library: the protocol, and what becomes of it when its caller dies.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/protocol.h"
#include "tests/engine/support/piped_worker.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using namespace std::chrono_literals;

struct Service : PipedWorker {
    Service() : PipedWorker({MORVEX_SERVE_OPTION}) {}
};

TEST(Serve, ProgressThenResult) {
    const ScratchFolder folder;
    WriteWhole(folder / "c.zel", "[STL CONF]\nWRITE_ASCII=1\n");
    Service service;
    auto job = Job(Sample("step/screw.step"), 4, folder / "имя с пробелом.stl", 22);
    job.push_back(MORVEX_JOB_CONFIG + folder / "c.zel");
    job.emplace_back(MORVEX_JOB_PICTURE "1");
    service.SendJob(job);
    int percent = 0, lines = 0;
    std::string line;
    for (line = service.Line(); line.starts_with(MORVEX_LINE_PROGRESS); line = service.Line(), ++lines) {
        const int next = std::stoi(line.substr(1));
        EXPECT_GT(next, percent);
        percent = next;
    }
    EXPECT_GT(lines, 2);
    EXPECT_LE(percent, 100);
    EXPECT_EQ(line, "R 0 ");
    EXPECT_EQ(service.Line(), "");
    EXPECT_TRUE(ReadWhole(folder / "имя с пробелом.stl").starts_with("solid"));
    EXPECT_NE(ReadWhole(folder / "имя с пробелом.stl-zel.xml").find("<preview"), std::string::npos);
}

TEST(Serve, RefusalsHaveTheirNumbers) {
    const ScratchFolder folder;
    const std::string screw = Sample("step/screw.step");
    const struct {
        std::vector<std::string> job;
        const char* answer;
    } cases[] = {{Job(screw, 2, folder / "a.stl", 22), "R -29 "},
                 {Job(screw, 4, folder / "a.sat", 2), "R -29 "},
                 {Job(screw, 6, folder / "a.stl", 22), "R -29 "},
                 {Job(folder / "no.stp", 4, folder / "a.stl", 22), "R -28 "},
                 {Job(screw, 4, folder / "no/a.stl", 22), "R -23 "},
                 {{}, "R 1 "}};
    for (const auto& refused : cases) {
        Service service;
        service.SendJob(refused.job);
        EXPECT_TRUE(service.Line().starts_with(refused.answer)) << refused.answer;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.stl-zel.xml"});
}

// A caller that is killed takes the conversion with it, and so does whoever ends the worker; no file stays
// behind unless nobody was left to remove it.
TEST(Serve, NothingOutlivesTheCaller) {
    enum { kCallerGone, kTerminated, kKilled };
    for (const int end : {kCallerGone, kTerminated, kKilled}) {
        SCOPED_TRACE(end);
        const ScratchFolder folder;
        Service service;
        service.SendJob(Job(Sample("step/linkrods.step"), 4, folder / "a.3mf", 50));
        ASSERT_TRUE(service.Line().starts_with(MORVEX_LINE_PROGRESS));
        const pid_t job = ChildOf(service.Process());
        ASSERT_GT(job, 0);
        kill(job, SIGSTOP);  // it does not come to its end by itself
        if (end == kCallerGone) service.Leave();
        if (end == kTerminated) kill(service.Process(), SIGTERM);
        if (end == kKilled) kill(service.Process(), SIGKILL);
        EXPECT_TRUE(Within(20s, [&] { return !Exists(job); }));
        EXPECT_TRUE(Within(20s, [&] { return waitpid(service.Process(), nullptr, WNOHANG) != 0; }));
        EXPECT_TRUE(end == kKilled || folder.Names().empty());
    }
}

// Nobody knows what was read of it; when it is only taken away, that is known.
TEST(Serve, AnInputThatChangesMeanwhileIsNoSuccess) {
    for (const bool written : {true, false}) {
        SCOPED_TRACE(written);
        const ScratchFolder folder;
        const std::string input = folder / "rods.step";
        std::filesystem::copy_file(Sample("step/linkrods.step"), input);
        Service service;
        service.SendJob(Job(input, 4, folder / "a.3mf", 50));
        ASSERT_TRUE(service.Line().starts_with(MORVEX_LINE_PROGRESS));
        const pid_t job = ChildOf(service.Process());
        kill(job, SIGSTOP);
        if (written)
            std::ofstream(input, std::ios::app) << "\n";
        else
            std::filesystem::remove(input);
        kill(job, SIGCONT);
        const std::string end = service.LastLine();
        EXPECT_EQ(end, written ? "R -5 The input was changed while it was converted" : "R 0 ");
        EXPECT_EQ(std::filesystem::exists(folder / "a.3mf"), !written);
    }
}

// Alone a job has half of the machine's memory, beside others its share of three quarters, and never below 1
// GB.
TEST(Serve, MemoryOfAJobIsAShareOfTheMachines) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "address space cannot be limited under the address sanitizer";
#endif
    const auto machine =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    for (const int atOnce : {1, 3}) {
        SCOPED_TRACE(atOnce);
        const ScratchFolder folder;
        Service service;
        auto job = Job(Sample("stl/head.stl"), 22, folder / "a.3mf", 50);
        job.push_back(MORVEX_JOB_PARALLEL + std::to_string(atOnce));
        service.SendJob(job);
        ASSERT_TRUE(Within(20s, [&] { return ChildOf(service.Process()) != 0; }));
        const pid_t child = ChildOf(service.Process());
        const double wanted = std::max(1073741824.0, machine * (atOnce > 1 ? 0.75 / atOnce : 0.5));
        const auto limit = [&] {
            const std::string limits = ReadWhole("/proc/" + std::to_string(child) + "/limits");
            const std::string name = "Max address space";
            const auto at = limits.find(name);
            return at == std::string::npos ? 0 : std::atof(limits.c_str() + at + name.size());
        };
        EXPECT_TRUE(Within(20s, [&] { return std::abs(limit() - wanted) < wanted * 0.01; })) << limit();
    }
}

// Wine calls its drives "c:", and what stands before a colon is a drive to a writer of the geometry library.
TEST(Serve, FoldersWithAColonBehindALink) {
    const ScratchFolder folder;
    std::filesystem::create_directory(folder / "drive");
    std::filesystem::create_directory_symlink(folder / "drive", folder / "c:");
    Service service;
    service.SendJob(Job(Sample("step/screw.step"), 4, folder / "c:/a.obj", 45));
    std::string line = service.Line();
    while (line.starts_with(MORVEX_LINE_PROGRESS)) line = service.Line();
    EXPECT_EQ(line, "R 0 ");
    EXPECT_TRUE(std::filesystem::exists(folder / "drive/a.obj"));
}

TEST(Serve, ACallerThatLeavesBeforeTheJobIsNoHang) {
    Service service;
    service.Leave();
    EXPECT_EQ(service.Line(), "");
}

}  // namespace
}  // namespace morvex::test
