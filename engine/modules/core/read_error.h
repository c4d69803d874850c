// How a reader gives up from deep within its file.
#pragma once

#include <stdexcept>
#include <string>

#include "engine/common/outcome.h"

namespace morvex {

// The road of the conversion turns it into the outcome; the text is a sentence without a full stop.
struct ReadError : std::runtime_error {
    explicit ReadError(const std::string& why, int code = ZEL_CORRUPTED) : runtime_error(why), result(code) {}
    int result;
};

}  // namespace morvex
