#pragma once

#include "core/context.h"

namespace morvex {

// Fills a fresh context from its files: settings, the conversion pairs of the profiles, the language; repairs
// a saved pair of formats that no profile offers (and stores the repair) outside developer mode. Missing or
// damaged files give defaults; never fails.
void LoadState(AppContext& context);

}  // namespace morvex
