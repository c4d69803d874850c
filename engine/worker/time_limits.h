// When a conversion has taken too long.
#pragma once

#include <chrono>
#include <cstdint>

namespace morvex {

struct TimeLimitOptions {
    double secondsAllowed = 0;  // 0: as long as it takes
    // Processor time that the percentage may stand still, in seconds, plus one for each 100 KB of the input.
    // Damaged numbers send the libraries into loops without end; a whole file moves on many times faster.
    // As long by the clock may the job wait for something without using the processor at all.
    double stallSeconds = 40;
};

class TimeLimits {
  public:
    using Clock = std::chrono::steady_clock;
    enum class Verdict { GoOn, TimeOver, Stalled };

    // Starts the clock. `inputSize` in bytes.
    TimeLimits(const TimeLimitOptions& options, std::uint64_t inputSize,
               Clock::time_point start = Clock::now());

    // The percentage or the phase has changed; `processorSeconds` is what the job has used so far.
    void NoteProgress(double processorSeconds) {
        lastProgress_ = processorSeconds;
        waited_ = 0;
    }

    // To be asked at least every second or two, since it notes for how long the job has been waiting.
    Verdict Judge(double processorSeconds, Clock::time_point now = Clock::now());
    // The longest wait until it is worth judging again.
    double SecondsToNextLook(double processorSeconds, Clock::time_point now = Clock::now()) const;

  private:
    double TimeLeft(Clock::time_point now) const;
    double StallLeft(double processorSeconds) const;

    Clock::time_point start_, lastLook_;
    double secondsAllowed_, stallAllowed_, lastProgress_ = 0;
    double lastUsed_ = 0, waited_ = 0;  // seconds of the processor; of the clock
};

}  // namespace morvex
