#include "engine/modules/core/helpers.h"

namespace morvex {

// A process cannot be copied here.
class Helpers::Group {};

bool HasHelpers() {
    return false;
}

Helpers::Helpers(std::size_t, const Work&) {}
Helpers::~Helpers() = default;

bool Helpers::Listen(const Hear&) {
    return false;
}

}  // namespace morvex
