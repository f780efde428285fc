// The console's progress line texts.
#include <gtest/gtest.h>

#include "progress_text.h"

using qvt::cli::progressBytesText;

TEST(ProgressBytesText, WholeBytesBelowAKilobyte) {
    EXPECT_EQ(progressBytesText(0), "0 bytes");
    EXPECT_EQ(progressBytesText(1), "1 bytes");
    EXPECT_EQ(progressBytesText(999), "999 bytes");
}

TEST(ProgressBytesText, OneDecimalInDecimalUnits) {
    EXPECT_EQ(progressBytesText(1000), "1.0 KB");
    EXPECT_EQ(progressBytesText(12345678), "12.3 MB");
    EXPECT_EQ(progressBytesText(1073741824), "1.1 GB");
    EXPECT_EQ(progressBytesText(5'000'000'000'000ull), "5.0 TB");
}

TEST(ProgressBytesText, NeverShowsAThousandOfAUnit) {
    EXPECT_EQ(progressBytesText(999'949), "999.9 KB");
    EXPECT_EQ(progressBytesText(999'960), "1.0 MB");
    EXPECT_EQ(progressBytesText(999'999'999), "1.0 GB");
}

TEST(ProgressBytesText, TheLargestCountsStayInTheLastUnit) {
    EXPECT_EQ(progressBytesText(18'446'744'073'709'551'615ull), "18.4 EB");
}
