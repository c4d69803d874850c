#include <algorithm>
#include <sys/resource.h>

#include "engine/common/memory_limit.h"

namespace morvex {

void AllowMemory(std::uint64_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_DATA, &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_cur + bytes, limit.rlim_max);
    setrlimit(RLIMIT_DATA, &limit);
}

}  // namespace morvex
