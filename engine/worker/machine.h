// The machine that the worker runs on.
#pragma once

#include <cstdint>

namespace morvex {

// Bytes of main memory.
std::uint64_t MachineMemory();

}  // namespace morvex
