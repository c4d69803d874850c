// How a conversion, or a step of it, ended.
#pragma once

#include <string>
#include <utility>

#include "engine/common/result.h"

namespace morvex {

// A result of the table and, for all but ZEL_OK, the reason in one English sentence without a full stop.
struct Outcome {
    int result = ZEL_OK;
    std::string reason;

    static Outcome Ok() { return {}; }
    static Outcome Fail(int result, std::string reason) { return {result, std::move(reason)}; }
    bool IsOk() const { return result == ZEL_OK; }
};

inline Outcome OutOfMemory() {
    return Outcome::Fail(ZEL_FAILED, "The conversion exceeded its memory limit");
}

}  // namespace morvex
