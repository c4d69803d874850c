// When a conversion is ended: by the clock, or because it stands still.
#include "engine/worker/time_limits.h"

#include <gtest/gtest.h>

namespace morvex::test {
namespace {

using Verdict = TimeLimits::Verdict;
using std::chrono::seconds;

TEST(TimeLimits, OfAllAndOfStandingStill) {
    const TimeLimits::Clock::time_point start{};
    TimeLimits limits({100, 10}, 500'000, start);  // 10 s, and 5 for the size
    EXPECT_EQ(limits.Judge(14.9, start), Verdict::GoOn);
    EXPECT_EQ(limits.Judge(15.1, start), Verdict::Stalled);
    limits.NoteProgress(12);
    EXPECT_EQ(limits.Judge(26.9, start), Verdict::GoOn);
    EXPECT_EQ(limits.Judge(27.1, start), Verdict::Stalled);
    EXPECT_EQ(limits.Judge(13, start + seconds(99)), Verdict::GoOn);
    EXPECT_EQ(limits.Judge(13, start + seconds(101)), Verdict::TimeOver);
    EXPECT_EQ(TimeLimits({0, 10}, 0, start).Judge(0, start + seconds(1'000'000)), Verdict::GoOn);
}

TEST(TimeLimits, TheNextLookComesInTime) {
    const TimeLimits::Clock::time_point start{};
    const TimeLimits limits({100, 20}, 0, start);
    EXPECT_LE(limits.SecondsToNextLook(0, start), 20) << "a loop on one thread";
    EXPECT_LE(limits.SecondsToNextLook(0, start + seconds(98)), 2);
    EXPECT_GE(limits.SecondsToNextLook(19.99, start), 0.5) << "as often as not, but no busy loop";
    EXPECT_GE(limits.SecondsToNextLook(0, start + seconds(200)), 0);
}

// A job that waits for something and never uses the processor has stalled too; one that was stopped has not.
TEST(TimeLimits, WaitingIsStandingStill) {
    const auto start = TimeLimits::Clock::now();
    const auto verdictAfter = [&](int step, double usedAStep) {
        TimeLimits limits({0, 10}, 0, start);
        for (int second = step;; second += step) {
            const bool over = second > 60 || limits.Judge(usedAStep * second, start + seconds(second)) ==
                                                 TimeLimits::Verdict::Stalled;
            if (over) return second;
        }
    };
    EXPECT_EQ(verdictAfter(1, 0), 10);
    EXPECT_EQ(verdictAfter(1, 0.01), 61);
    EXPECT_EQ(verdictAfter(30, 0), 90) << "of a step of 30 seconds, most was sleep";
}

}  // namespace
}  // namespace morvex::test
