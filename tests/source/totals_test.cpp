// The totals count through the controller: rows' labels, running totals and the summary line.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "platform/format.h"
#include "source/source_entry.h"
#include "source_fixture.h"

namespace fs = std::filesystem;
using namespace qvt;
using namespace qvt::test;

class Totals : public SourceFixture {};

TEST_F(Totals, OneFileOf500BytesToAnEmptyList) {
    writeFile(home + "/note.txt", bytesOf(500));
    drop({home + "/note.txt"});
    ASSERT_TRUE(allCounted());
    ASSERT_EQ(rows().size(), 1u);
    const Record row = rows()[0];
    EXPECT_EQ(row.string("numberOfFiles"), "1 file");
    EXPECT_EQ(row.string("numberOfFolders"), "0 folder");
    EXPECT_EQ(row.find("fileSize")->toUInt64(), 500u);
    expectTotals(1, 0, 500);
    EXPECT_EQ(summary(), "0 folder, 1 file: 500.00bytes");
    EXPECT_EQ(viewText("numberOfFilesAndFolders"), "0 folder, 1 file: 500.00bytes");
}

TEST_F(Totals, FolderWithTwoFilesAndAnEmptySubFolder) {
    writeFile(home + "/album/a.raw", bytesOf(1000000));
    writeFile(home + "/album/b.raw", bytesOf(500000));
    fs::create_directories(home + "/album/empty");
    drop({home + "/album"});
    ASSERT_TRUE(allCounted());
    const Record row = rows().at(0);
    EXPECT_EQ(row.string("numberOfFiles"), "2 files");
    EXPECT_EQ(row.string("numberOfFolders"), "2 folders");
    EXPECT_EQ(row.find("fileSize")->toUInt64(), 1500000u);
    EXPECT_EQ(summary(), "2 folders, 2 files: 1.50MB");
    EXPECT_EQ(viewText("numberOfFilesAndFolders"), "2 folders, 2 files: 1.50MB");
}

TEST_F(Totals, ExactlyAThousandBytesStayBytes) {
    writeFile(home + "/k", bytesOf(1000));
    drop({home + "/k"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(summary(), "0 folder, 1 file: 1000.00bytes");
}

TEST_F(Totals, OneThousandAndOneBytesAreOneKB) {
    writeFile(home + "/k1", bytesOf(1001));
    drop({home + "/k1"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(summary(), "0 folder, 1 file: 1.00KB");
}

TEST_F(Totals, MissingPathCountsNothingAndLeavesTheLineAsItWas) {
    drop({home + "/not-there"});
    ASSERT_TRUE(allCounted());
    const Record row = rows().at(0);
    EXPECT_EQ(row.string("numberOfFiles"), "0 file");
    EXPECT_EQ(row.string("numberOfFolders"), "0 folder");
    EXPECT_EQ(row.find("fileSize")->toUInt64(), 0u);
    expectTotals(0, 0, 0);
    EXPECT_EQ(summary(), "");
    EXPECT_EQ(viewText("numberOfFilesAndFolders"), "");

    // With a line already shown, a missing path leaves that line.
    controller->numberOfFilesAndFolders.set("earlier line");
    drop({home + "/also-not-there"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(summary(), "earlier line");
}

TEST_F(Totals, UntickingLowersTheTotalsAndTheLastLeavesZeroBytes) {
    writeFile(home + "/three/a", bytesOf(10));
    writeFile(home + "/three/b", bytesOf(20));
    writeFile(home + "/three/c", bytesOf(30));
    writeFile(home + "/single", bytesOf(5));
    drop({home + "/three", home + "/single"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(rows().at(0).string("numberOfFiles"), "3 files");
    EXPECT_EQ(rows().at(0).string("numberOfFolders"), "1 folder");
    expectTotals(4, 1, 65);

    setTicked(0, false);
    ASSERT_TRUE(allCounted());
    expectTotals(1, 0, 5);
    EXPECT_EQ(summary(), "0 folder, 1 file: 5.00bytes");

    setTicked(1, false);
    ASSERT_TRUE(allCounted());
    expectTotals(0, 0, 0);
    EXPECT_EQ(summary(), "0 folder, 0 file: 0.00bytes");
    EXPECT_EQ(viewText("numberOfFilesAndFolders"), "0 folder, 0 file: 0.00bytes");

    // Ticking again counts the item again.
    setTicked(0, true);
    ASSERT_TRUE(allCounted());
    expectTotals(3, 1, 60);
    EXPECT_EQ(summary(), "1 folder, 3 files: 60.00bytes");
}

TEST_F(Totals, WordsComeFromTheLocalisedTexts) {
    controller->localeFILE_txt = "%@ Datei";
    controller->localeFILES_txt = "%@ Dateien";
    controller->localeFOLDER_txt = "%@ Ordner";
    controller->localeFOLDERS_txt = "%@ Ordnern";
    writeFile(home + "/d/x", bytesOf(1500));
    writeFile(home + "/d/y/z", bytesOf(1500));
    drop({home + "/d"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(rows().at(0).string("numberOfFiles"), "2 Dateien");
    EXPECT_EQ(rows().at(0).string("numberOfFolders"), "2 Ordnern");
    EXPECT_EQ(summary(), "2 Ordnern, 2 Dateien: 3.00KB");
}

TEST_F(Totals, SubtractOfAnUncountedRowTakesItsPlaceholders) {
    controller->totalNumberOfSourceFiles = 10;
    controller->totalNumberOfSourceFolders = 10;
    controller->totalSourceFilesSize = 10000;
    const Record placeholder = source::makeSourceEntry(home + "/whatever", true);
    std::thread worker([&] {
        controller->calculateTotalNumberOfFilesFoldersAndSize(
            source::makeTotalsRequest(placeholder, "subtract"));
    });
    worker.join();
    // Five blanks read as 0 files; the placeholder folder number 1 and size 1 are taken off.
    expectTotals(10, 9, 9999);
    EXPECT_EQ(summary(), "9 folders, 10 files: 10.00KB");
}

TEST_F(Totals, SubtractStopsAtZeroTotalsOnly) {
    controller->totalNumberOfSourceFiles = 0;
    controller->totalNumberOfSourceFolders = 1;
    controller->totalSourceFilesSize = 100;
    Record row = source::makeSourceEntry(home + "/r", true);
    row.set("numberOfFiles", "4 files");
    row.set("numberOfFolders", "3 folders");
    row.set("fileSize", Value(static_cast<unsigned long long>(300)));
    std::thread worker([&] {
        controller->calculateTotalNumberOfFilesFoldersAndSize(
            source::makeTotalsRequest(row, "subtract"));
    });
    worker.join();
    // Files were zero and stay so; folders and bytes go below the true value (bytes wrap).
    EXPECT_EQ(controller->totalNumberOfSourceFiles.load(), 0);
    EXPECT_EQ(controller->totalNumberOfSourceFolders.load(), -2);
    EXPECT_EQ(controller->totalSourceFilesSize.load(), static_cast<std::uint64_t>(100) - 300u);
}

TEST_F(Totals, FiveThousandTerabytesShowAsFiveTB) {
    controller->totalNumberOfSourceFiles = 2;
    controller->totalNumberOfSourceFolders = 2;
    controller->totalSourceFilesSize = 5000ull * 1000 * 1000 * 1000 * 1000;
    Record row = source::makeSourceEntry(home + "/r", true);
    row.set("numberOfFiles", "0 file");
    row.set("numberOfFolders", "0 folder");
    row.set("fileSize", Value(static_cast<unsigned long long>(0)));
    std::thread worker([&] {
        controller->calculateTotalNumberOfFilesFoldersAndSize(
            source::makeTotalsRequest(row, "subtract"));
    });
    worker.join();
    EXPECT_EQ(summary(), "2 folders, 2 files: 5.00TB");
}

TEST_F(Totals, ZeroTotalTakesTheOwnSizeOfAnEmptyFolder) {
    fs::create_directories(home + "/empty");
    drop({home + "/empty"});
    ASSERT_TRUE(allCounted());
    // The folder counts itself; its total of zero bytes takes the folder's own size attribute.
    struct stat st {};
    ASSERT_EQ(::lstat((home + "/empty").c_str(), &st), 0);
    expectTotals(0, 1, static_cast<std::uint64_t>(st.st_size));
    EXPECT_EQ(summary(),
              "1 folder, 0 file: " + platform::format("%4.2f%@", static_cast<double>(st.st_size),
                                                      std::string("bytes")));
}

TEST_F(Totals, TakingARowOffUsesItsCountsNotItsLabels) {
    writeFile(home + "/two/a", bytesOf(10));
    writeFile(home + "/two/b", bytesOf(20));
    drop({home + "/two"});
    ASSERT_TRUE(allCounted());
    const Record counted = rows().at(0);
    EXPECT_EQ(counted.integer(source::kFileCountKey), 2);
    EXPECT_EQ(counted.integer(source::kFolderCountKey), 1);
    expectTotals(2, 1, 30);
    // Labels in words no number can be read from: the totals still come down exactly.
    controller->sourceFilesArray.with([](List& list) {
        list.at(0).asRecord()->set("numberOfFiles", "two files");
        list.at(0).asRecord()->set("numberOfFolders", "one folder");
    });
    setTicked(0, false);
    ASSERT_TRUE(allCounted());
    expectTotals(0, 0, 0);
}

TEST_F(Totals, RowSpinnerEndsWithTheCount) {
    writeFile(home + "/s", bytesOf(3));
    drop({home + "/s"});
    // The row is listed at once, waiting for its count.
    ASSERT_EQ(rows().size(), 1u);
    ASSERT_TRUE(allCounted());
    EXPECT_NE(rows().at(0).string("numberOfFiles"), "     ");
    // The count asked the view to take the spinner away by reloading the table.
    bool reloaded = false;
    for (const std::string& call : ScriptedView(harness.view).calls())
        if (call == "showSources") reloaded = true;
    EXPECT_TRUE(reloaded);
    std::lock_guard lock(harness.view->mutex);
    ASSERT_EQ(harness.view->sources.rows.size(), 1u);
    EXPECT_FALSE(harness.view->sources.rows[0].counting);
    EXPECT_TRUE(harness.view->sources.allCounted);
}
