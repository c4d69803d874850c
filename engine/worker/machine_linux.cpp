#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <unistd.h>

#include "engine/worker/machine.h"

namespace morvex {

std::uint64_t MachineMemory() {
    const auto pages = static_cast<std::uint64_t>(std::max(1L, sysconf(_SC_PHYS_PAGES)));
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

// Machines that nobody has named share a name; those copied from one image share the number of its file.
std::string UserAndMachine() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    std::string number;
    std::getline(std::ifstream("/etc/machine-id"), number);
    return "linux " + std::to_string(geteuid()) + ' ' + number + ' ' + name.data();
}

}  // namespace morvex
