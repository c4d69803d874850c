// The worker: one conversion a process, started by the entry library or by hand.
#include <cstdio>
#include <cstring>
#include <exception>

#include "engine/common/protocol.h"
#include "engine/common/result.h"
#include "engine/worker/command_line.h"
#include "engine/worker/serve.h"
#include "engine/worker/standard_streams.h"

int main(int count, char** arguments) {
    morvex::PrepareStandardStreams();
    try {
        if (count == 2 && std::strcmp(arguments[1], MORVEX_SERVE_OPTION) == 0) return morvex::Serve();
        return morvex::RunCommand({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", MORVEX_WORKER_NAME, error.what());
        return ZEL_FAILED;
    }
}
