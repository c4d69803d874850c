#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "engine/worker/standard_streams.h"

namespace morvex {

void PrepareStandardStreams() {
    int file = open("/dev/null", O_RDWR);
    while (file >= 0 && file <= STDERR_FILENO) file = open("/dev/null", O_RDWR);
    if (file >= 0) close(file);
    signal(SIGPIPE, SIG_IGN);
}

std::size_t ReadFromCaller(char* bytes, std::size_t size) {
    ssize_t got;
    do {
        got = read(STDIN_FILENO, bytes, size);
    } while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

void WriteToCaller(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace morvex
