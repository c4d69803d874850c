// How large a model of shared parts becomes when every instance is counted.
#pragma once

#include <Interface_InterfaceModel.hxx>
#include <cstdint>

namespace morvex {

constexpr std::int64_t kMostInstances = 1'000'000;

// The instances of all parts of a STEP model below its largest assembly, by assembly structure and by mapped
// items, counted up to a bit above kMostInstances; -1 when an assembly contains itself. Nested references
// multiply: forty levels with two each are a file of a few kilobytes and more than any reader gets through.
std::int64_t CountInstances(const Interface_InterfaceModel& model);

}  // namespace morvex
