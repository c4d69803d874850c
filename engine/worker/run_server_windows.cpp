// Processes are not forked here; every conversion starts from nothing.
#include "engine/worker/run_server.h"

namespace morvex {

RunServer::RunServer(const std::string&) {}
RunServer::~RunServer() {}
void RunServer::Learn(const ConversionEnd&) const {}

}  // namespace morvex
