#include "engine/worker/machine.h"

#include <cstdio>
#include <functional>

namespace morvex {

std::string ShortUserAndMachine() {
    char letters[9];
    std::snprintf(letters, sizeof letters, "%08x",
                  static_cast<unsigned>(std::hash<std::string>()(UserAndMachine())));
    return letters;
}

}  // namespace morvex
