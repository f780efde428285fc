#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "manual_clock.h"
#include "platform/clock.h"

namespace qvt::platform {
namespace {

double realSecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(SystemClock, ScaledSleepIsShorterByTheScale) {
    SystemClock clock(1000);
    EXPECT_DOUBLE_EQ(clock.scale(), 1000);
    const Date before = clock.now();
    const auto start = std::chrono::steady_clock::now();
    clock.sleepFor(3);
    const double real = realSecondsSince(start);
    const Date after = clock.now();
    // Three product seconds at scale 1000 are 3 ms of real time (a loaded machine may add some,
    // never take any away).
    EXPECT_GE(real, 0.003);
    EXPECT_LT(real, 0.5);
    // The product's "now" moved by at least the three seconds slept.
    EXPECT_GE(Clock::secondsBetween(before, after), 3.0 - 1e-6);
    EXPECT_LT(Clock::secondsBetween(before, after), 500.0);
}

TEST(SystemClock, UnscaledClockIsWallTime) {
    SystemClock clock;
    EXPECT_DOUBLE_EQ(clock.scale(), 1.0);
    const Date wall = std::chrono::system_clock::now();
    EXPECT_LT(std::fabs(Clock::secondsBetween(wall, clock.now())), 1.0);
}

TEST(SystemClock, NonsenseScalesAndSleepsAreHarmless) {
    EXPECT_DOUBLE_EQ(SystemClock(0).scale(), 1.0);
    EXPECT_DOUBLE_EQ(SystemClock(-5).scale(), 1.0);
    EXPECT_DOUBLE_EQ(SystemClock(std::nan("")).scale(), 1.0);
    SystemClock clock(1);
    const auto start = std::chrono::steady_clock::now();
    clock.sleepFor(-10);
    clock.sleepFor(std::nan(""));
    clock.sleepFor(0);
    EXPECT_LT(realSecondsSince(start), 0.5);
}

TEST(ManualClock, MovesOnlyWhenTold) {
    const Date start = Date{} + std::chrono::hours(1000);
    ManualClock clock(start);
    EXPECT_EQ(clock.now(), start);
    EXPECT_EQ(clock.now(), start);
    clock.advance(2.5);
    EXPECT_DOUBLE_EQ(Clock::secondsBetween(start, clock.now()), 2.5);
    const Date later = start + std::chrono::hours(5);
    clock.set(later);
    EXPECT_EQ(clock.now(), later);
}

TEST(ManualClock, SleepCallsHookThenAdvances) {
    ManualClock clock;
    const Date start = clock.now();
    std::vector<double> requested;
    std::vector<double> seenAt;
    clock.setSleepHook([&](double seconds) {
        requested.push_back(seconds);
        seenAt.push_back(Clock::secondsBetween(start, clock.now()));
    });
    clock.sleepFor(3);
    clock.sleepFor(30);
    EXPECT_EQ(requested, (std::vector<double>{3, 30}));
    // The hook runs before the clock moves.
    EXPECT_EQ(seenAt, (std::vector<double>{0, 3}));
    EXPECT_DOUBLE_EQ(Clock::secondsBetween(start, clock.now()), 33);
    clock.setSleepHook(nullptr);
    clock.sleepFor(1);
    EXPECT_EQ(requested.size(), 2u);
    EXPECT_DOUBLE_EQ(Clock::secondsBetween(start, clock.now()), 34);
}

TEST(ManualClock, ConcurrentAdvancesAllCount) {
    ManualClock clock;
    const Date start = clock.now();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) clock.sleepFor(0.001);
        });
    for (auto& t : threads) t.join();
    EXPECT_NEAR(Clock::secondsBetween(start, clock.now()), 4.0, 1e-6);
}

TEST(Clock, SecondsToDurationClampsNonsense) {
    EXPECT_EQ(secondsToDuration(1.5), std::chrono::milliseconds(1500));
    EXPECT_EQ(secondsToDuration(std::nan("")).count(), 0);
    EXPECT_GT(secondsToDuration(1e300).count(), 0);
    EXPECT_LT(secondsToDuration(-1e300).count(), 0);
}

}  // namespace
}  // namespace qvt::platform
