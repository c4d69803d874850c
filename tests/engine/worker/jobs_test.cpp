// Many conversions by one command: each has its answer and harms no other, and nothing is left of any.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>

#include "tests/engine/support/piped_worker.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using namespace std::chrono_literals;

std::string Line(const std::string& input, const std::string& output, const std::string& options = "") {
    return options + " \"" + input + "\" '" + output + "'\n";
}

// One process a triangle: the smallest conversion there is.
std::string Triangle(const ScratchFolder& folder) {
    WriteWhole(folder / "t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    return folder / "t.obj";
}

// A conversion that takes much longer than it takes to kill it.
std::string LongLine(const std::string& output) {
    return Line(Sample("step/linkrods.step"), output,
                "--set 'STL CONF/LINEAR_DIS=0' --set 'STL CONF/LINEAR_TOL=1e-5'");
}

std::size_t FilesOf(pid_t process) {
    const std::filesystem::directory_iterator files("/proc/" + std::to_string(process) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(Jobs, EachLineHasItsAnswerAndNothingOfTheOneBefore) {
    const ScratchFolder folder;
    const std::string screw = Sample("step/screw.step");
    const struct {
        std::string line;
        const char* answer;
    } jobs[] = {
        {Line(screw, folder / "a b.stl", "--set 'STL CONF/WRITE_ASCII=1'"), "1\t0\t"},
        {Line(screw, folder / "c.stl"), "2\t0\t"},
        {" \r\n" + Line(folder / "none.step", folder / "d.stl"), "4\t28\tThere is no such input file"},
        {"'" + screw + " x.stl\n", "5\t64\ta quote is not closed"},
        {Line(screw, folder / "d.stl", "--jobs x"), "6\t64\tunknown option --jobs"},
        {Line(screw, folder / "nowhere/d.stl"), "7\t23\t"},
        {Line(screw, folder / "e.stl", "--seconds 0.001"), "8\t1\tThe conversion exceeded its time limit"},
        {Line(screw, folder / "f.stl", "--memory 90"), "9\t1\t"},
        {screw + " " + (folder / "g.stl"), "10\t0\t"}};
    PipedWorker worker({"--jobs", "-"});
    for (const auto& job : jobs) {
        worker.Send(job.line);
        if (!job.line.ends_with('\n')) worker.Leave();
        const std::string answer = worker.Line();
        EXPECT_TRUE(answer.starts_with(job.answer)) << answer << " instead of " << job.answer;
    }
    EXPECT_EQ(worker.End(), 1);
    ASSERT_EQ(RunWorker({screw, folder / "alone.stl"}).code, 0);
    EXPECT_TRUE(ReadWhole(folder / "a b.stl").starts_with("solid"));
    EXPECT_EQ(ReadWhole(folder / "c.stl"), ReadWhole(folder / "alone.stl"));
    EXPECT_EQ(ReadWhole(folder / "g.stl"), ReadWhole(folder / "alone.stl"));
}

TEST(Jobs, OptionsOfTheCommandHoldForAll) {
    const ScratchFolder folder;
    WriteWhole(folder / "jobs", Line(Triangle(folder), folder / "a") + Line(Triangle(folder), folder / "b"));
    EXPECT_EQ(RunWorker({"--jobs", folder / "jobs", "-j", "2", "--to", "STL"}).code, 0);
    EXPECT_EQ(ReadWhole(folder / "a").size(), 134u);
    EXPECT_EQ(ReadWhole(folder / "b"), ReadWhole(folder / "a"));
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"--jobs"},
                                                  {"--jobs", folder / "no"},
                                                  {"--jobs", "-", "-j", "0"},
                                                  {"-j", "2"}})
        EXPECT_EQ(RunWorker(wrong).code, 64);
    EXPECT_EQ(RunWorker({"--jobs", folder / ""}).code, 1);  // a folder opens, and cannot be read
}

// Whatever of a conversion is killed, it alone fails, and the process that all come from stays as it was.
TEST(Jobs, AKilledConversionIsOneAnswer) {
    const ScratchFolder folder;
    const std::string triangle = Triangle(folder);
    PipedWorker worker({"--jobs", "-", "-j", "2"});
    int number = 0;
    while (number < 2) {  // when the second has ended all modules are loaded
        worker.Send(Line(triangle, folder / "a.stl"));
        ASSERT_EQ(worker.Line(), std::to_string(++number) + "\t0\t");
    }
    const std::size_t files = FilesOf(worker.Process());
    for (const bool supervisor : {true, false}) {
        worker.Send(LongLine(folder / "r.stl"));
        pid_t job = 0;
        ASSERT_TRUE(Within(20s, [&] { return (job = ChildOf(ChildOf(worker.Process()))) != 0; }));
        worker.Send(Line(triangle, folder / "b.stl"));
        kill(supervisor ? ChildOf(worker.Process()) : job, SIGKILL);
        std::set<std::string> answers{worker.Line(), worker.Line()};
        const std::string at = std::to_string(++number);
        EXPECT_EQ(answers.count(std::to_string(++number) + "\t0\t"), 1u) << testing::PrintToString(answers);
        EXPECT_TRUE(answers.lower_bound(at + "\t1\t") != answers.end() &&
                    answers.lower_bound(at + "\t1\t")->starts_with(at + "\t1\tThe conversion process "))
            << testing::PrintToString(answers);
        EXPECT_TRUE(Within(20s, [&] { return !Exists(job); }));
    }
    for (int more = 0; more < 60; ++more) {
        worker.Send(Line(triangle, folder / "c.stl"));
        EXPECT_EQ(worker.Line(), std::to_string(++number) + "\t0\t");
    }
    EXPECT_EQ(FilesOf(worker.Process()), files);
    EXPECT_TRUE(Within(20s, [&] { return ChildrenOf(worker.Process()).empty(); }));
    worker.Leave();
    EXPECT_EQ(worker.End(), 1);
}

// The caller dies, the command is asked to end, or killed: its conversions stop and tidy up.
TEST(Jobs, NothingOutlivesTheCaller) {
    enum { kCallerGone, kTerminated, kKilled };
    for (const int end : {kCallerGone, kTerminated, kKilled}) {
        SCOPED_TRACE(end);
        const ScratchFolder folder;
        PipedWorker worker({"--jobs", "-", "-j", "2"});
        worker.Send(LongLine(folder / "a.3mf") + LongLine(folder / "b.3mf"));
        std::vector<pid_t> jobs;
        ASSERT_TRUE(Within(20s, [&] {
            jobs.clear();
            for (const pid_t supervisor : ChildrenOf(worker.Process())) {
                if (const pid_t job = ChildOf(supervisor)) jobs.push_back(job);
            }
            return jobs.size() == 2;
        }));
        for (const pid_t job : jobs) kill(job, SIGSTOP);  // they do not come to their end by themselves
        if (end == kCallerGone) worker.LeaveAnswers();
        if (end == kTerminated) kill(worker.Process(), SIGTERM);
        if (end == kKilled) kill(worker.Process(), SIGKILL);
        EXPECT_EQ(worker.End(), end == kCallerGone ? 1 : end == kTerminated ? -SIGTERM : -SIGKILL);
        for (const pid_t job : jobs) EXPECT_TRUE(Within(20s, [&] { return !Exists(job); }));
        EXPECT_TRUE(Within(20s, [&] { return folder.Names().empty(); }))
            << testing::PrintToString(folder.Names());
    }
}

}  // namespace
}  // namespace morvex::test
