// The server that the first conversion of a run leaves behind for the others, as the entry library meets it.
#include <csignal>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/protocol.h"
#include "tests/engine/support/piped_worker.h"
#include "tests/engine/support/worker_run.h"

extern "C" {
#include "engine/entry/connect_wine.h"
}

namespace morvex::test {
namespace {

using namespace std::chrono_literals;

constexpr int kStep = 4, kStl = 22, k3mf = 50;

class RunServer : public testing::Test {
  protected:
    // Orphans become children of this process, by which it knows the server.
    RunServer() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~RunServer() override {
        for (const pid_t server : ChildrenOf(getpid())) kill(server, SIGKILL), waitpid(server, nullptr, 0);
    }

    // Converts by a worker of its own, which leaves the server behind.
    void ConvertFirst() {
        PipedWorker first({MORVEX_SERVE_OPTION});
        auto job = Job(Sample("step/screw.step"), kStep, folder_ / "first.stl", kStl);
        job.push_back(MORVEX_JOB_RUN + name_);
        first.SendJob(job);
        EXPECT_EQ(first.LastLine(), "R 0 ");
        EXPECT_EQ(first.End(), 0);
        server_ = ChildOf(getpid());
        ASSERT_GT(server_, 0);
    }
    int Connect() const { return ConnectToServer(name_.c_str()); }
    std::string ConvertAgain(const std::string& output) const {
        const int file = Connect();
        const Caller caller(file, file);
        caller.SendJob(Job(Sample("step/screw.step"), kStep, output, kStl));
        return caller.LastLine();
    }
    bool HasLoaded(const char* module) const {
        const std::string maps = ReadWhole("/proc/" + std::to_string(server_) + "/maps");
        return maps.find(std::string("/") + module + ".so") != std::string::npos;
    }

    const ScratchFolder folder_;
    const std::string name_ =
        "morvex-test-" + std::to_string(getpid()) + "-" + folder_.Path().filename().string();
    pid_t server_ = 0;
};

TEST_F(RunServer, HasWhatIsNeededLoadedAndGoesByItself) {
    ConvertFirst();
    EXPECT_TRUE(Within(20s, [&] { return HasLoaded("step") && HasLoaded("stl"); }));
    EXPECT_FALSE(HasLoaded("iges"));
    EXPECT_EQ(ConvertAgain(folder_ / "second.stl"), "R 0 ");
    EXPECT_EQ(ReadWhole(folder_ / "second.stl"), ReadWhole(folder_ / "first.stl"));
    // The next run's first conversion, or one of this run that was as quick: no second server.
    ConvertFirst();
    EXPECT_EQ(ChildrenOf(getpid()), std::vector<pid_t>{server_});
    int status = -1;
    EXPECT_TRUE(Within(15s, [&] { return waitpid(server_, &status, WNOHANG) == server_; }));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Connect(), -1);
}

TEST_F(RunServer, IsNotNeededToTheEndOfAConversion) {
    enum { kServerKilled, kSupervisorKilled, kCallerGone };
    ConvertFirst();
    for (const int end : {kCallerGone, kSupervisorKilled, kServerKilled}) {
        SCOPED_TRACE(end);
        EXPECT_TRUE(Within(20s, [&] { return ChildrenOf(server_).empty(); }));
        const int file = Connect();
        ASSERT_GE(file, 0);
        Caller caller(file, file);
        const pid_t supervisor = ChildOf(server_);
        caller.SendJob(Job(Sample("step/linkrods.step"), kStep, folder_ / "rods.3mf", k3mf));
        ASSERT_TRUE(caller.Line().starts_with(MORVEX_LINE_PROGRESS));
        const pid_t job = ChildOf(supervisor);
        if (end == kServerKilled) kill(server_, SIGKILL);
        if (end == kSupervisorKilled) kill(supervisor, SIGKILL);
        if (end == kCallerGone) {
            caller.Leave();
        } else {
            EXPECT_EQ(caller.LastLine(), end == kServerKilled ? "R 0 " : "");
        }
        EXPECT_TRUE(Within(20s, [&] { return !Exists(supervisor) && !Exists(job); }));
        EXPECT_EQ(std::filesystem::exists(folder_ / "rods.3mf"), end == kServerKilled);
        if (end == kServerKilled) break;
        EXPECT_EQ(ConvertAgain(folder_ / "again.stl"), "R 0 ");
    }
    EXPECT_EQ(Connect(), -1);
}

// Refused by it, or by us: whoever is somebody else.
TEST_F(RunServer, IsForItsOwnUserOnly) {
    if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
    const auto asNobody = [](auto act) {
        const pid_t process = fork();
        if (process == 0) _exit(setuid(65534) == 0 && act() ? 0 : 1);
        int status = -1;
        waitpid(process, &status, 0);
        return status;
    };
    ConvertFirst();
    sockaddr_un address{AF_UNIX, {}};
    std::copy(name_.begin(), name_.end(), address.sun_path + 1);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name_.size());
    const auto* const place = reinterpret_cast<const sockaddr*>(&address);
    EXPECT_EQ(asNobody([&] {
                  char byte;
                  const int file = socket(AF_UNIX, SOCK_STREAM, 0);
                  return connect(file, place, size) == 0 && read(file, &byte, 1) == 0;
              }),
              0);
    kill(server_, SIGKILL);
    EXPECT_TRUE(Within(20s, [&] { return !Exists(server_); }));
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t impostor = fork();
    if (impostor == 0) {
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        if (setuid(65534) != 0 || bind(listener, place, size) != 0 || listen(listener, 5) != 0) _exit(1);
        if (write(ready[1], "", 1) != 1) _exit(1);
        const int connection = accept(listener, nullptr, nullptr);
        if (write(connection, "S\n", 2) != 2) _exit(1);
        pause();
    }
    char byte;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(Connect(), -1);
    kill(impostor, SIGKILL);
    waitpid(impostor, nullptr, 0);
    close(ready[0]), close(ready[1]);
}

// It hangs, or does not speak as it should: a few seconds, then the caller does without.
TEST_F(RunServer, ThatHangsCostsSeconds) {
    ConvertFirst();
    kill(server_, SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Connect(), -1);
    EXPECT_GT(std::chrono::steady_clock::now() - start, 1s);
    kill(server_, SIGCONT);
    EXPECT_EQ(ConvertAgain(folder_ / "a.stl"), "R 0 ");
}

}  // namespace
}  // namespace morvex::test
