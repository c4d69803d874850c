#include "tests/engine/support/worker_run.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

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
    rusage usage{};
    wait4(process, &status, 0, &usage);
    run.peakMemory = usage.ru_maxrss * 1024;
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    run.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
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

std::string ReadZipMember(const std::filesystem::path& path, const std::string& name) {
    const std::string zip = ReadWhole(path);
    const std::size_t at =
        zip.find(name);  // the first is that of the member, the second that of the directory
    constexpr std::size_t kHeader = 30, kPackedSize = 18, kUnpackedSize = 22;
    if (at == std::string::npos || at < kHeader) return {};
    const auto number = [&](std::size_t offset) {
        std::uint32_t value = 0;
        std::memcpy(&value, zip.data() + at - kHeader + offset, sizeof value);
        return value;
    };
    std::string contents(number(kUnpackedSize), '\0');
    z_stream stream{};
    inflateInit2(&stream, -MAX_WBITS);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zip.data() + at + name.size()));
    stream.avail_in = number(kPackedSize);
    stream.next_out = reinterpret_cast<Bytef*>(contents.data());
    stream.avail_out = static_cast<uInt>(contents.size());
    const bool done = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    inflateEnd(&stream);
    return done ? contents : "";
}

std::string Sample(const std::string& name) {
    return std::string(MORVEX_SAMPLES) + "/" + name;
}

}  // namespace morvex::test
