#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "engine/worker/end_signals_linux.h"
#include "engine/worker/job_nursery_linux.h"
#include "engine/worker/run_server.h"
#include "engine/worker/serve.h"

namespace morvex {
namespace {

constexpr int kIdleMilliseconds = 2000;
constexpr std::size_t kMostAtOnce = 64;  // who comes on top of those does without

// A socket of the abstract kind: no file, so none is left behind, and the first who takes the name has it. -1
// when it is taken.
int Listen(const std::string& run) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (run.size() >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path + 1, run.data(), run.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + run.size());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener >= 0 && bind(listener, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
        listen(listener, SOMAXCONN) == 0)
        return listener;
    close(listener);
    return -1;
}

bool IsOurUsers(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

void ServeRun(int listener, JobNursery& nursery, const EndSignals& signals) {
    for (;;) {
        pollfd files[] = {{listener, POLLIN, 0}, {signals.Get().file, POLLIN, 0}};
        const bool any = nursery.Wait(files, nursery.Running() == 0 ? kIdleMilliseconds : -1);
        if (!any || files[1].revents != 0) return;
        if (files[0].revents == 0) continue;
        const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        // Where no process is to be had, or many run, the caller sees the connection end and starts one
        // itself.
        if (nursery.Running() < kMostAtOnce && IsOurUsers(connection))
            nursery.Start(connection, ServeWarm, {});
        close(connection);
    }
}

// Whoever started this process neither waits for it nor for the end of a pipe that it holds.
void LetGo(int listener, int socket) {
    setsid();
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, stream);
    const int low = std::min(listener, socket), high = std::max(listener, socket);
    for (int file = STDERR_FILENO + 1; file < high; ++file) {
        if (file != low) close(file);
    }
    closefrom(high + 1);
}

[[noreturn]] void BeTheServer(int listener, int socket) {
    LetGo(listener, socket);
    if (chdir("/") == 0) {
        const EndSignals signals;
        JobNursery nursery(signals);
        nursery.Adopt(socket);
        ServeRun(listener, nursery, signals);
    }
    _exit(EXIT_SUCCESS);
}

}  // namespace

RunServer::RunServer(const std::string& run) {
    int ends[2];
    const int listener = run.empty() ? -1 : Listen(run);
    if (listener < 0) return;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0) {
        const pid_t process = fork();
        if (process == 0) BeTheServer(listener, ends[1]);
        close(ends[1]);
        socket_ = ends[0];
    }
    close(listener);
}

RunServer::~RunServer() {
    if (socket_ >= 0) close(socket_);
}

void RunServer::Learn(const ConversionEnd& end) const {
    if (socket_ >= 0) JobNursery::TellEnd(socket_, end);
}

}  // namespace morvex
