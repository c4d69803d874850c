#include "engine/worker/worker.h"

#include <cstdio>
#include <exception>

#include "engine/common/protocol.h"
#include "engine/common/result.h"
#include "engine/worker/command_line.h"
#include "engine/worker/serve.h"
#include "engine/worker/standard_streams.h"

namespace morvex {

int RunWorker(const std::vector<std::string>& arguments) {
    PrepareStandardStreams();
    try {
        if (arguments.size() == 1 && arguments[0] == MORVEX_SERVE_OPTION) return Serve();
        return RunCommand(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", MORVEX_WORKER_NAME, error.what());
        return ZEL_FAILED;
    }
}

}  // namespace morvex
