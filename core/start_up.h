#pragma once

#include "core/context.h"

namespace morvex {

// Fills a fresh context from its files: settings, the conversion pairs of the profiles, the language; repairs
// a saved pair of formats that no profile offers (and stores the repair) outside developer mode, unless it
// is to be left alone. Missing or damaged files give defaults; never fails.
enum class SavedPair { Repair, Leave };
void LoadState(AppContext& context, SavedPair pair = SavedPair::Repair);

}  // namespace morvex
