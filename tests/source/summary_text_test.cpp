// The labels and the summary line made of counts: words from the localised texts, the word
// table, decimal units capped at TB, and the line of a zero total.
#include <gtest/gtest.h>

#include "source/source_entry.h"

using namespace qvt::source;

namespace {
const CountWords kWords{"file", "files", "folder", "folders"};
}

TEST(SummaryText, WordIsTheSecondPartOfTheLocalisedText) {
    EXPECT_EQ(countWord("%@ file"), "file");
    EXPECT_EQ(countWord("%@ Dateien"), "Dateien");
    EXPECT_EQ(countWord("%@ dossiers"), "dossiers");
    // Only the second part, even when more follow.
    EXPECT_EQ(countWord("%@ files here"), "files");
    EXPECT_EQ(countWord("files"), "files");
}

TEST(SummaryText, LeadingIntegerOfALabel) {
    const qvt::Value three("3 files"), blanks("     "), one(1), padded("  12 folders"),
        text("folders");
    EXPECT_EQ(leadingInteger(&three), 3);
    EXPECT_EQ(leadingInteger(&blanks), 0);
    EXPECT_EQ(leadingInteger(&one), 1);
    EXPECT_EQ(leadingInteger(&padded), 12);
    EXPECT_EQ(leadingInteger(&text), 0);
    EXPECT_EQ(leadingInteger(nullptr), 0);
}

TEST(SummaryText, RowLabelsUseTheSingularBelowTwo) {
    EXPECT_EQ(filesLabel(0, kWords), "0 file");
    EXPECT_EQ(filesLabel(1, kWords), "1 file");
    EXPECT_EQ(filesLabel(2, kWords), "2 files");
    EXPECT_EQ(foldersLabel(0, kWords), "0 folder");
    EXPECT_EQ(foldersLabel(1, kWords), "1 folder");
    EXPECT_EQ(foldersLabel(7, kWords), "7 folders");
}

TEST(SummaryText, DecimalUnitsDivideOnlyAboveAThousand) {
    EXPECT_EQ(sizeText(500), "500.00bytes");
    EXPECT_EQ(sizeText(1000), "1000.00bytes");
    EXPECT_EQ(sizeText(1001), "1.00KB");
    EXPECT_EQ(sizeText(1500000), "1.50MB");
    EXPECT_EQ(sizeText(12345678), "12.35MB");
    EXPECT_EQ(sizeText(2.5e9), "2.50GB");
    EXPECT_EQ(sizeText(7e12), "7.00TB");
    EXPECT_EQ(sizeText(1), "1.00bytes");
}

TEST(SummaryText, PastTheLastUnitTheValueIsNotCorrected) {
    // 5,000 TB reads as 5.00 TB: the unit stops at TB, the division does not.
    EXPECT_EQ(sizeText(5e15), "5.00TB");
}

TEST(SummaryText, WordTableKeepsItsDeliberateRows) {
    EXPECT_EQ(summaryLine(2, 2, 2000, kWords), "2 folders, 2 files: 2.00KB");
    EXPECT_EQ(summaryLine(5, 1, 2000, kWords), "1 folder, 5 files: 2.00KB");
    EXPECT_EQ(summaryLine(5, 0, 2000, kWords), "0 folder, 5 files: 2.00KB");
    // One file keeps the singular folder word however many folders there are.
    EXPECT_EQ(summaryLine(1, 4, 2000, kWords), "4 folder, 1 file: 2.00KB");
    // No file reads with the singular file word.
    EXPECT_EQ(summaryLine(0, 3, 2000, kWords), "3 folders, 0 file: 2.00KB");
    EXPECT_EQ(summaryLine(0, 1, 2000, kWords), "1 folder, 0 file: 2.00KB");
    // Both below one: no line (the shown one stays).
    EXPECT_EQ(summaryLine(0, 0, 2000, kWords), "");
    EXPECT_EQ(summaryLine(-1, -2, 2000, kWords), "");
}

TEST(SummaryText, ZeroTotalLineIsInBytesWithSingularWords) {
    EXPECT_EQ(zeroSummaryLine(0, 0, 0, kWords), "0 folder, 0 file: 0.00bytes");
    EXPECT_EQ(zeroSummaryLine(3, 5, 0, kWords), "5 folder, 3 file: 0.00bytes");
    EXPECT_EQ(zeroSummaryLine(0, 1, 4096, kWords), "1 folder, 0 file: 4096.00bytes");
}

TEST(SourceEntry, RowsStartCheckedAndWaitingForTheirCount) {
    const qvt::Record dropped = makeSourceEntry("/tmp/some where/Report.pdf", true);
    EXPECT_EQ(dropped.keys(), (std::vector<std::string>{"filesSelectCheckbox", "fileImage",
                                                        "fileName", "fullFilePath", "numberOfFiles",
                                                        "numberOfFolders", "fileSize"}));
    EXPECT_EQ(dropped.integer("filesSelectCheckbox"), 1);
    EXPECT_EQ(dropped.string("fileName"), "Report.pdf");
    EXPECT_EQ(dropped.string("fullFilePath"), "/tmp/some where/Report.pdf");
    EXPECT_EQ(dropped.string("numberOfFiles"), "     ");
    EXPECT_EQ(dropped.integer("numberOfFolders"), 1);
    ASSERT_NE(dropped.find("fileSize"), nullptr);
    EXPECT_TRUE(dropped.find("fileSize")->isUnsigned());
    EXPECT_EQ(dropped.find("fileSize")->toUInt64(), 1u);
    EXPECT_FALSE(dropped.string("fileImage").empty());

    const qvt::Record folder = makeSourceEntry("/home/someone/Music/", false);
    EXPECT_EQ(folder.size(), 6u);
    EXPECT_FALSE(folder.contains("fileSize"));
    EXPECT_EQ(folder.string("fileName"), "Music");
}

TEST(SourceEntry, PathsJoinAsComponents) {
    EXPECT_EQ(joinPath("/home/a", "Documents"), "/home/a/Documents");
    EXPECT_EQ(joinPath("/home/a/", "/Documents"), "/home/a/Documents");
    EXPECT_EQ(joinPath("/", "Documents"), "/Documents");
    EXPECT_EQ(displayName("/"), "/");
    EXPECT_EQ(displayName("/a/b\nc"), "b\nc");
}

TEST(SourceEntry, TotalsRequestCarriesTheRowAndTheKind) {
    const qvt::Record row = makeSourceEntry("/x", true);
    const qvt::Record request = makeTotalsRequest(row, "subtract");
    ASSERT_NE(request.record("fileDict"), nullptr);
    EXPECT_EQ(*request.record("fileDict"), row);
    EXPECT_EQ(request.string("mathType"), "subtract");
}
