// The console's progress line texts.
#include <gtest/gtest.h>

#include <QLocale>
#include <cmath>
#include <cstdint>

#include "console_texts.h"
#include "progress_text.h"

using qvt::cli::consoleCountText;
using qvt::cli::durationText;
using qvt::cli::printableText;
using qvt::cli::progressBar;
using qvt::cli::progressBytesText;
using qvt::cli::sourcesText;

namespace {

// These tables are the English texts, whatever the locale of the test run.
class InEnglish : public ::testing::Environment {
  public:
    void SetUp() override { qvt::cli::setConsoleLocale(QLocale(QLocale::English)); }
};
const auto* const kEnglish = ::testing::AddGlobalTestEnvironment(new InEnglish);

}  // namespace

TEST(ProgressBytesText, WholeBytesBelowAKilobyte) {
    EXPECT_EQ(progressBytesText(0), "0 bytes");
    EXPECT_EQ(progressBytesText(1), "1 byte");
    EXPECT_EQ(progressBytesText(2), "2 bytes");
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

TEST(CountText, SingularForOneAndPluralOtherwise) {
    const struct {
        std::uint64_t count;
        const char* text;
    } table[] = {{0, "0 files"},   {1, "1 file"},    {2, "2 files"},
                 {11, "11 files"}, {21, "21 files"}, {100000, "100000 files"}};
    for (const auto& row : table) EXPECT_EQ(consoleCountText("FILES_n", row.count), row.text);
}

TEST(SourcesText, FoldersOnlyWhenThereAreAny) {
    EXPECT_EQ(sourcesText(0, 1, 3), "1 file, 3 bytes");
    EXPECT_EQ(sourcesText(1, 1, 1), "1 folder, 1 file, 1 byte");
    EXPECT_EQ(sourcesText(2, 14, 3'200'000), "2 folders, 14 files, 3.2 MB");
    EXPECT_EQ(sourcesText(3, 0, 0), "3 folders, 0 files, 0 bytes");
}

TEST(DurationText, TenthsBelowTenSecondsThenWholeUnits) {
    EXPECT_EQ(durationText(0), "0.0 s");
    EXPECT_EQ(durationText(0.6), "0.6 s");
    EXPECT_EQ(durationText(9.94), "9.9 s");
    EXPECT_EQ(durationText(12.4), "12 s");
    EXPECT_EQ(durationText(185), "3 min 5 s");
    EXPECT_EQ(durationText(7440), "2 h 4 min");
    EXPECT_EQ(durationText(-1), "0.0 s");
    EXPECT_EQ(durationText(std::nan("")), "0.0 s");
}

TEST(ProgressBar, CellsAndPercentFollowTheShareDone) {
    EXPECT_EQ(progressBar(0, 100), "[--------------------]   0%");
    EXPECT_EQ(progressBar(45, 100), "[#########-----------]  45%");
    EXPECT_EQ(progressBar(999, 1000), "[###################-]  99%");
    EXPECT_EQ(progressBar(100, 100), "[####################] 100%");
    // More than the total (a file that grew) stays full; nothing to copy is done.
    EXPECT_EQ(progressBar(150, 100), "[####################] 100%");
    EXPECT_EQ(progressBar(0, 0), "[####################] 100%");
    EXPECT_EQ(progressBar(18'446'744'073'709'551'615ull, 18'446'744'073'709'551'615ull),
              "[####################] 100%");
}

TEST(PrintableText, ControlCharactersAreWrittenAsEscapes) {
    EXPECT_EQ(printableText("Photos/été 2026.jpg"), "Photos/été 2026.jpg");
    EXPECT_EQ(printableText("bad\nFailed (0):\x1b[2Jx"), "bad\\nFailed (0):\\x1b[2Jx");
    EXPECT_EQ(printableText("a\tb\rc\x7f"), "a\\tb\\x0dc\\x7f");
    // U+009B, the one-character "control sequence introducer", and U+00A0, which is text.
    EXPECT_EQ(printableText("x\xc2\x9b"
                            "2Jy\xc2\xa0z"),
              "x\\u009b2Jy\xc2\xa0z");
    // A message's own lines stay; its other control characters do not.
    EXPECT_EQ(printableText("one\ntwo\x1b", true), "one\ntwo\\x1b");
    EXPECT_EQ(printableText(""), "");
}
