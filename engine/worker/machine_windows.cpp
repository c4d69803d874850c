#include <windows.h>

#include "engine/worker/machine.h"

namespace morvex {

std::uint64_t MachineMemory() {
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    return GlobalMemoryStatusEx(&memory) ? memory.ullTotalPhys : 0;
}

}  // namespace morvex
