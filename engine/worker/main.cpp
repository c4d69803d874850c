// The worker: one conversion a process, started by the entry library or by hand.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "engine/worker/command_line.h"
#include "engine/worker/serve.h"

namespace {

// Files opened later must not land on the standard descriptors of a caller that closed them.
void FillStandardDescriptors() {
    for (int file = open("/dev/null", O_RDWR); file >= 0;) {
        if (file > STDERR_FILENO) {
            close(file);
            break;
        }
        file = open("/dev/null", O_RDWR);
    }
}

}  // namespace

int main(int count, char** arguments) {
    FillStandardDescriptors();
    try {
        if (count == 2 && std::strcmp(arguments[1], MORVEX_SERVE_OPTION) == 0) return morvex::Serve();
        return morvex::RunCommand({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "morvex-engine: %s\n", error.what());
        return ZEL_FAILED;
    }
}
