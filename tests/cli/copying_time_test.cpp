#include "copying_time.h"

#include <gtest/gtest.h>

namespace qvt::cli {
namespace {

using namespace std::chrono_literals;

TEST(CopyingTime, AWaitDoesNotCountAsCopying) {
    const auto t0 = CopyingTime::Clock::time_point{} + 100s;
    CopyingTime time;
    time.restart();
    EXPECT_EQ(time.seconds(t0), 0);
    time.note(true, t0);
    EXPECT_DOUBLE_EQ(time.seconds(t0 + 4s), 4);
    time.note(false, t0 + 4s);  // paused, or waiting for room
    time.note(false, t0 + 30s);
    EXPECT_DOUBLE_EQ(time.seconds(t0 + 60s), 4);
    time.note(true, t0 + 60s);
    time.note(true, t0 + 61s);  // still copying: the span goes on from where it began
    EXPECT_DOUBLE_EQ(time.seconds(t0 + 62s), 6);
}

TEST(CopyingTime, ARestartBeginsFromNothing) {
    const auto t0 = CopyingTime::Clock::time_point{} + 100s;
    CopyingTime time;
    time.note(true, t0);
    time.note(false, t0 + 5s);
    time.restart();
    EXPECT_EQ(time.seconds(t0 + 10s), 0);
    time.note(true, t0 + 10s);
    EXPECT_DOUBLE_EQ(time.seconds(t0 + 12s), 2);
}

}  // namespace
}  // namespace qvt::cli
