#include <windows.h>

#include <array>

#include "engine/worker/machine.h"

namespace morvex {

std::uint64_t MachineMemory() {
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    return GlobalMemoryStatusEx(&memory) ? memory.ullTotalPhys : 0;
}

std::string UserAndMachine() {
    std::array<char, 256> machine{}, user{};
    auto machineSize = static_cast<DWORD>(machine.size()), userSize = machineSize;
    GetComputerNameExA(ComputerNamePhysicalDnsHostname, machine.data(), &machineSize);
    GetUserNameA(user.data(), &userSize);
    return std::string("windows ") + user.data() + ' ' + machine.data();
}

}  // namespace morvex
