#include <algorithm>
#include <unistd.h>

#include "engine/worker/machine.h"

namespace morvex {

std::uint64_t MachineMemory() {
    const auto pages = static_cast<std::uint64_t>(std::max(1L, sysconf(_SC_PHYS_PAGES)));
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace morvex
