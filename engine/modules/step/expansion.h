// How large a model of shared parts becomes when each part is counted in all its places.
#pragma once

#include <Interface_InterfaceModel.hxx>
#include <cstdint>

namespace morvex {

constexpr std::int64_t kMostPlaces = 1'000'000;

// The places of all parts of a STEP model below its largest assembly, by assembly structure and by mapped
// items, up to a bit above kMostPlaces; -1 when an assembly contains itself. Nested references multiply:
// forty levels with two each are a file of a few kilobytes and more places than any reader gets through.
std::int64_t CountPlaces(const Interface_InterfaceModel& model);

}  // namespace morvex
