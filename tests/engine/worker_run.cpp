#include "tests/engine/worker_run.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace morvex::test {
namespace {

constexpr int kSecondsAllowed = 60;

[[noreturn]] void BecomeWorker(const std::vector<std::string>& arguments, int errors, BeforeExec before) {
    std::vector<char*> argv{const_cast<char*>(MORVEX_WORKER)};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    dup2(errors, STDERR_FILENO);
    if (before != nullptr) before();
    alarm(kSecondsAllowed);  // outlives exec; a hang ends in SIGALRM
    execv(MORVEX_WORKER, argv.data());
    _exit(127);
}

}  // namespace

WorkerRun RunWorker(const std::vector<std::string>& arguments, BeforeExec before) {
    WorkerRun run;
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return run;
    const auto start = std::chrono::steady_clock::now();
    const pid_t process = fork();
    if (process == 0) BecomeWorker(arguments, pipe[1], before);
    close(pipe[1]);
    char bytes[4096];
    for (ssize_t got; (got = read(pipe[0], bytes, sizeof bytes)) > 0;) {
        run.errors.append(bytes, static_cast<std::size_t>(got));
    }
    close(pipe[0]);
    int status = 0;
    waitpid(process, &status, 0);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    EXPECT_NE(run.code, -SIGALRM) << "the worker hung";
    return run;
}

ScratchFolder::ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "engine-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
}

ScratchFolder::~ScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

std::vector<std::string> ScratchFolder::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

std::string ReadWhole(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteWhole(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Sample(const std::string& name) {
    return std::string(MORVEX_SAMPLES) + "/" + name;
}

}  // namespace morvex::test
