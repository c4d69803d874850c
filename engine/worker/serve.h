// The worker at the service of the entry library.
#pragma once

namespace morvex {

// Takes one job from standard input and answers on standard output, as protocol.h says. The process's exit
// code.
int Serve();

}  // namespace morvex
