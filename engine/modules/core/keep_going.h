// What is left of a damaged input, where that is asked for.
#pragma once

#include "engine/modules/core/context.h"
#include "engine/modules/core/read_error.h"

namespace morvex {

// Does a step of reading. One that fails is lost and the rest goes on, if parts of damaged inputs are wanted;
// otherwise the error passes. `lost` takes the reason.
template <class Step, class Lost>
void KeepGoing(bool keepPartial, Step step, Lost lost) {
    try {
        step();
    } catch (const ReadError& error) {
        if (!keepPartial || error.result != ZEL_CORRUPTED) throw;
        lost(error.what());
    }
}

template <class Step>
void KeepGoing(const JobContext& context, Step step) {
    KeepGoing(context.settings.keepPartial, step, [&](const char* why) { context.journal.Lose(why); });
}

}  // namespace morvex
