#include "engine/worker/time_limits.h"

#include <algorithm>

namespace morvex {
namespace {

constexpr double kInputBytesPerSecond = 100e3, kUnlimited = 1e6;
constexpr double kLeastLook = 1, kMostLook = 2;  // seconds from one look to the next

}  // namespace

TimeLimits::TimeLimits(const TimeLimitOptions& options, std::uint64_t inputSize, Clock::time_point start)
    : start_(start),
      lastLook_(start),
      secondsAllowed_(options.secondsAllowed),
      stallAllowed_(options.stallSeconds + static_cast<double>(inputSize) / kInputBytesPerSecond) {}

double TimeLimits::TimeLeft(Clock::time_point now) const {
    if (secondsAllowed_ <= 0) return kUnlimited;
    return secondsAllowed_ - std::chrono::duration<double>(now - start_).count();
}

double TimeLimits::StallLeft(double processorSeconds) const {
    return stallAllowed_ - (processorSeconds - lastProgress_);
}

TimeLimits::Verdict TimeLimits::Judge(double processorSeconds, Clock::time_point now) {
    constexpr double kIdle = 0.5e-3, kLeastBooked = 0.5;
    const double passed = std::chrono::duration<double>(now - lastLook_).count();
    if (passed >= kLeastBooked) {
        // At most the usual: when both processes are stopped, or the machine sleeps, the clock goes on.
        waited_ = processorSeconds - lastUsed_ < kIdle ? waited_ + std::min(passed, kMostLook) : 0;
        lastUsed_ = processorSeconds;
        lastLook_ = now;
    }
    if (StallLeft(processorSeconds) <= 0 || waited_ >= stallAllowed_) return Verdict::Stalled;
    return TimeLeft(now) <= 0 ? Verdict::TimeOver : Verdict::GoOn;
}

double TimeLimits::SecondsToNextLook(double processorSeconds, Clock::time_point now) const {
    // Several threads use up processor time faster than the clock goes.
    constexpr double kThreads = 4;
    const double look = std::clamp(StallLeft(processorSeconds) / kThreads, kLeastLook, kMostLook);
    return std::max(0.0, std::min(TimeLeft(now), look));
}

}  // namespace morvex
