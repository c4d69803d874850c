#include "engine/worker/time_limits.h"

#include <algorithm>

namespace morvex {
namespace {

constexpr double kInputBytesPerSecond = 100e3, kUnlimited = 1e6;

}  // namespace

TimeLimits::TimeLimits(const TimeLimitOptions& options, std::uint64_t inputSize, Clock::time_point start)
    : start_(start),
      secondsAllowed_(options.secondsAllowed),
      stallAllowed_(options.stallSeconds + static_cast<double>(inputSize) / kInputBytesPerSecond) {}

double TimeLimits::TimeLeft(Clock::time_point now) const {
    if (secondsAllowed_ <= 0) return kUnlimited;
    return secondsAllowed_ - std::chrono::duration<double>(now - start_).count();
}

double TimeLimits::StallLeft(double processorSeconds) const {
    return stallAllowed_ - (processorSeconds - lastProgress_);
}

TimeLimits::Verdict TimeLimits::Judge(double processorSeconds, Clock::time_point now) const {
    if (StallLeft(processorSeconds) <= 0) return Verdict::Stalled;
    return TimeLeft(now) <= 0 ? Verdict::TimeOver : Verdict::GoOn;
}

double TimeLimits::SecondsToNextLook(double processorSeconds, Clock::time_point now) const {
    // Several threads use up processor time faster than the clock goes.
    constexpr double kThreads = 4, kLeast = 1;
    return std::max(0.0, std::min(TimeLeft(now), std::max(StallLeft(processorSeconds) / kThreads, kLeast)));
}

}  // namespace morvex
