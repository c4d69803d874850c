// The memory that the job process may have.
#pragma once

#include <cstdint>

namespace morvex {

// Lets the calling process have so many bytes more, up to the most that it was started with.
void AllowMemory(std::uint64_t bytes);

}  // namespace morvex
