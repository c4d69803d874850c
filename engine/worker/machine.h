// The machine that the worker runs on.
#pragma once

#include <cstdint>
#include <string>

namespace morvex {

// Bytes of main memory.
std::uint64_t MachineMemory();

// This user on this machine under this system: another text for others, as far as machines differ in name.
std::string UserAndMachine();

// Eight letters in its place, which may stand in a file's name.
std::string ShortUserAndMachine();

}  // namespace morvex
