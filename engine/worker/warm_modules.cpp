#include "engine/worker/warm_modules.h"

#include <stdexcept>

#include "engine/common/formats.h"
#include "engine/worker/modules.h"

namespace morvex {

void WarmModules::Load(const Format& from, const Format& to) {
    if (!loaded_.emplace(&from, &to).second) return;
    try {
        FindFunction("core", "RunJob");
        FindFunction(from.readModule, from.readFunction);
        FindFunction(to.writeModule, to.writeFunction);
    } catch (const std::runtime_error&) {
        // The conversions find out themselves.
    }
}

}  // namespace morvex
