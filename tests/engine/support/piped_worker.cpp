#include "tests/engine/support/piped_worker.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/protocol.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {

Caller::~Caller() {
    Leave();
    LeaveAnswers();
}

void Caller::Send(const std::string& bytes) const {
    ASSERT_EQ(write(to_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

void Caller::SendJob(const std::vector<std::string>& fields) const {
    std::string job;
    for (const std::string& field : fields) job += field + '\0';
    Send(job + '\0');
}

std::string Caller::Line() const {
    std::string line;
    for (char c; read(from_, &c, 1) == 1 && c != '\n';) line += c;
    return line;
}

std::string Caller::LastLine() const {
    std::string line = Line();
    while (line.starts_with(MORVEX_LINE_PROGRESS)) line = Line();
    return line;
}

void Caller::Leave() {
    if (to_ >= 0 && to_ != from_) close(to_);
    if (to_ == from_) LeaveAnswers();
    to_ = -1;
}

void Caller::LeaveAnswers() {
    if (from_ >= 0) close(from_);
    from_ = -1;
}

PipedWorker::PipedWorker(const std::vector<std::string>& arguments) : Caller(-1, -1) {
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
    process_ = fork();
    if (process_ == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        std::vector<char*> argv{const_cast<char*>(MORVEX_WORKER)};
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(MORVEX_WORKER, argv.data());
        _exit(127);
    }
    close(in[0]), close(out[1]);
    to_ = in[1], from_ = out[0];
}

PipedWorker::~PipedWorker() {
    Leave();
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

int PipedWorker::End(std::chrono::seconds limit) {
    int status = 0;
    if (!Within(limit, [&] { return waitpid(process_, &status, WNOHANG) != 0; })) return -1000;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::vector<std::string> Job(const std::string& input, int from, const std::string& output, int to) {
    return {MORVEX_JOB_INPUT + input, MORVEX_JOB_OUTPUT + output,
            MORVEX_JOB_INPUT_FORMAT + std::to_string(from), MORVEX_JOB_OUTPUT_FORMAT + std::to_string(to)};
}

bool Exists(pid_t process) {
    const std::string status = ReadWhole("/proc/" + std::to_string(process) + "/status");
    return !status.empty() && status.find("State:\tZ") == std::string::npos;
}

std::vector<pid_t> ChildrenOf(pid_t process) {
    const std::string number = std::to_string(process);
    std::istringstream text(ReadWhole("/proc/" + number + "/task/" + number + "/children"));
    std::vector<pid_t> children;
    for (pid_t child; text >> child;) children.push_back(child);
    return children;
}

pid_t ChildOf(pid_t process) {
    const std::vector<pid_t> children = ChildrenOf(process);
    return children.empty() ? 0 : children.front();
}

}  // namespace morvex::test
