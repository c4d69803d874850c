// The server of a run of many conversions: a process that has loaded the modules which the run's earlier ones
// needed, and forks one for each of those that follow. It serves the processes of its own user that know the
// run's name, and ends when none has come for a few seconds.
#pragma once

#include <string>

#include "engine/worker/conversion_end.h"

namespace morvex {

class RunServer {
  public:
    // Makes one, unless the name is empty, another serves under it already, or the system has no fork. Call
    // it before the process has a second thread.
    explicit RunServer(const std::string& run);
    RunServer(const RunServer&) = delete;
    RunServer& operator=(const RunServer&) = delete;
    ~RunServer();

    // Tells the new server of the conversion in this process.
    void Learn(const ConversionEnd& end) const;

  private:
    [[maybe_unused]] int socket_ = -1;  // to the server; none on systems without fork
};

}  // namespace morvex
