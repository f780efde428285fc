// The estimate's arithmetic and the wording table, row by row.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "engine/remaining_time_text.h"

using namespace qvt::engine;

namespace {

const TimeUnitTexts kUnits{"%@ second",  "%@ seconds", "%@ minute",
                           "%@ minutes", "%@ hour",    "%@ hours"};

std::string text(std::uint64_t r) {
    return remainingTimeText(r, kUnits);
}

}  // namespace

TEST(RemainingTimeText, UnderOneMinuteCountsSeconds) {
    EXPECT_EQ(text(1), "1 second");
    EXPECT_EQ(text(2), "2 seconds");
    EXPECT_EQ(text(30), "30 seconds");
    EXPECT_EQ(text(59), "59 seconds");
}

TEST(RemainingTimeText, OneMinuteIsNeverRoundedUp) {
    EXPECT_EQ(text(60), "1 minute");
    EXPECT_EQ(text(61), "1 minute");
    EXPECT_EQ(text(91), "1 minute");
    EXPECT_EQ(text(119), "1 minute");
}

TEST(RemainingTimeText, MinutesRoundUpFromThirtyOneSeconds) {
    EXPECT_EQ(text(120), "2 minutes");
    EXPECT_EQ(text(150), "2 minutes");
    EXPECT_EQ(text(151), "3 minutes");
    EXPECT_EQ(text(59 * 60 + 30), "59 minutes");
    // 59 minutes 31 seconds rounds to the unit's plural with 60, not to an hour.
    EXPECT_EQ(text(59 * 60 + 31), "60 minutes");
}

TEST(RemainingTimeText, HoursRoundUpFromThirtyOneMinutes) {
    EXPECT_EQ(text(3600), "1 hour");
    EXPECT_EQ(text(5401), "1 hour");  // 1 h 30 min 1 s
    EXPECT_EQ(text(5460), "2 hours");
    EXPECT_EQ(text(5461), "2 hours");  // 1 h 31 min 1 s
    EXPECT_EQ(text(7201), "2 hours");
    EXPECT_EQ(text(2 * 3600 + 30 * 60 + 59), "2 hours");
    EXPECT_EQ(text(2 * 3600 + 31 * 60), "3 hours");
}

TEST(RemainingTimeText, DaysAreNeverUsed) {
    EXPECT_EQ(text(100 * 3600 + 1), "100 hours");
    EXPECT_EQ(text(1000 * 3600 + 45 * 60), "1001 hours");
}

TEST(RemainingTimeText, WholeMinutesDoNotRefreshTheText) {
    EXPECT_TRUE(remainingTimeRefreshesText(59));
    EXPECT_FALSE(remainingTimeRefreshesText(60));
    EXPECT_TRUE(remainingTimeRefreshesText(119));
    EXPECT_FALSE(remainingTimeRefreshesText(120));
    EXPECT_TRUE(remainingTimeRefreshesText(5401));
    EXPECT_FALSE(remainingTimeRefreshesText(5460));
    EXPECT_TRUE(remainingTimeRefreshesText(5461));
    EXPECT_FALSE(remainingTimeRefreshesText(0));
}

TEST(RemainingTimeText, SplitIntoMinutesAndSeconds) {
    EXPECT_EQ(splitRemainingSeconds(59).minutes, 0u);
    EXPECT_EQ(splitRemainingSeconds(59).seconds, 59u);
    EXPECT_EQ(splitRemainingSeconds(60).minutes, 1u);
    EXPECT_EQ(splitRemainingSeconds(60).seconds, 0u);
    EXPECT_EQ(splitRemainingSeconds(5461).minutes, 91u);
    EXPECT_EQ(splitRemainingSeconds(5461).seconds, 1u);
}

TEST(RemainingTimeEstimate, AverageRateSinceTheStart) {
    // 1000 of 4000 bytes in 10 s: 3000 more bytes take 30 s.
    EXPECT_EQ(estimateRemainingSeconds(4000, 1000, 10), 30u);
    // Integer division truncates.
    EXPECT_EQ(estimateRemainingSeconds(10, 3, 1), 2u);
    EXPECT_EQ(estimateRemainingSeconds(100, 100, 50), 0u);
}

TEST(RemainingTimeEstimate, NothingDoneGivesZeroWithoutDividing) {
    EXPECT_EQ(estimateRemainingSeconds(4000, 0, 10), 0u);
    EXPECT_EQ(estimateRemainingSeconds(0, 0, 0), 0u);
}

TEST(RemainingTimeEstimate, MoreDoneThanTotalWrapsToAnAbsurdEstimate) {
    const std::uint64_t r = estimateRemainingSeconds(10, 20, 1);
    EXPECT_EQ(r, (std::numeric_limits<std::uint64_t>::max() - 9) / 20);
    // Still worded, in hours.
    EXPECT_NE(text(r).find("hours"), std::string::npos);
}

TEST(RemainingTimeEstimate, LargeProductsWrapInsteadOfTrapping) {
    const std::uint64_t big = std::uint64_t{1} << 40;
    // (2^40 - 1) * 2^30 = 2^70 - 2^30 overflows 64 bits; modulo 2^64 it is 2^64 - 2^30.
    const std::uint64_t expected =
        std::numeric_limits<std::uint64_t>::max() - (std::uint64_t{1} << 30) + 1;
    EXPECT_EQ(estimateRemainingSeconds(big, 1, std::uint64_t{1} << 30), expected);
}
