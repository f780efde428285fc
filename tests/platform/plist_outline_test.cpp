// The one-pass reading of a state file's records, against files written the usual way and
// files that are damaged or shaped otherwise.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/plist_io.h"
#include "platform/plist_outline.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

std::string xmlOf(const std::string& root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC "
           "\"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n" +
           root + "\n</plist>\n";
}

class PlistOutline : public ::testing::Test {
  protected:
    std::string file(const std::string& bytes) {
        const std::string path = dir.path() + "/state.plist";
        test::writeFile(path, bytes);
        return path;
    }
    test::TempDir dir;
};

// Records written by this program, with long lists, in the file's order: what each says about
// its upload comes out, and none of the lists.
TEST_F(PlistOutline, TellsWhatEachWrittenRecordSaysAboutItsUpload) {
    List copied;
    for (int i = 0; i < 2000; ++i) copied.push_back("/media/Disk/Photos/IMG_" + std::to_string(i));
    const Record finished{{"isFileTransferCompleted", true},
                          {"deviceType", "DAS"},
                          {"sourceFilesPendingArray", List{}},
                          {"inProcessSourceFilesArray", copied}};
    const Record paused{{"isFileTransferCompleted", false},
                        {"deviceType", "NAS"},
                        {"selectedDestinationShare", "/home/u/.QVTransfer/Family & <Friends>"},
                        {"sourceFilesPendingArray",
                         List{Record{{"fullFilePath", "/a"}}, Record{{"fullFilePath", "/b"}}}},
                        {"inProcessSourceFilesArray", copied}};
    const Record nothingPending{{"isFileTransferCompleted", false},
                                {"deviceType", "NAS"},
                                {"sourceFilesPendingArray", List{}}};
    const std::string path = dir.path() + "/state.plist";
    ASSERT_TRUE(writePropertyList(
        path,
        Record{
            {"uuid-1", finished}, {"SN-2", paused}, {"SN-3", Record{}}, {"SN-4", nothingPending}}));

    const auto records = readRecordOutlines(path);
    ASSERT_TRUE(records);
    ASSERT_EQ(records->size(), 4u);
    const auto& r = *records;
    EXPECT_EQ(r[0].key, "uuid-1");
    EXPECT_FALSE(r[0].empty);
    EXPECT_TRUE(r[0].completed);
    EXPECT_FALSE(r[0].pendingWork);
    EXPECT_EQ(r[0].deviceType, "DAS");
    EXPECT_EQ(r[1].key, "SN-2");
    EXPECT_FALSE(r[1].completed);
    EXPECT_TRUE(r[1].pendingWork);
    EXPECT_EQ(r[1].deviceType, "NAS");
    EXPECT_EQ(r[2].key, "SN-3");
    EXPECT_TRUE(r[2].empty);
    EXPECT_EQ(r[3].key, "SN-4");
    EXPECT_FALSE(r[3].pendingWork);

    ASSERT_TRUE(writePropertyList(path, Record{}));
    const auto none = readRecordOutlines(path);
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());
}

// Anything but the exact shape this program writes is left to the whole reading, which judges
// it: the outline gives nothing rather than a guess.
TEST_F(PlistOutline, GivesNothingForAFileOfAnotherShapeOrADamagedOne) {
    const std::string good =
        "<dict><key>SN</key><dict><key>isFileTransferCompleted</key><true/>"
        "<key>sourceFilesPendingArray</key><array><dict/></array></dict></dict>";
    ASSERT_TRUE(readRecordOutlines(file(xmlOf(good))));

    const std::vector<std::string> others = {
        // Damaged: cut short, or a tag never closed.
        xmlOf(good).substr(0, xmlOf(good).size() / 2),
        xmlOf("<dict><key>SN</key><dict><key>a</key><string>x</dict></dict>"),
        // Not a record of records.
        xmlOf("<array><dict/></array>"),
        xmlOf("<dict><key>SN</key><string>x</string></dict>"),
        xmlOf("<dict><string>SN</string><dict/></dict>"),
        // A record named twice, or an entry given twice.
        xmlOf("<dict><key>SN</key><dict/><key>SN</key><dict/></dict>"),
        xmlOf("<dict><key>SN</key><dict><key>deviceType</key><string>NAS</string>"
              "<key>deviceType</key><string>DAS</string></dict></dict>"),
        // The entries this reader answers for, in another form.
        xmlOf("<dict><key>SN</key><dict><key>isFileTransferCompleted</key>"
              "<integer>1</integer></dict></dict>"),
        xmlOf("<dict><key>SN</key><dict><key>sourceFilesPendingArray</key>"
              "<string>/a</string></dict></dict>"),
        xmlOf("<dict><key>SN</key><dict><key>deviceType</key><true/></dict></dict>"),
        // A key without its value.
        xmlOf("<dict><key>SN</key><dict><key>deviceType</key></dict></dict>"),
        // Something after the end, or no XML at all.
        xmlOf(good) + "<plist/>",
        std::string("bplist00\xd1\x01\x02", 11),
        "",
    };
    for (const std::string& bytes : others) EXPECT_FALSE(readRecordOutlines(file(bytes))) << bytes;
    EXPECT_FALSE(readRecordOutlines(dir.path() + "/missing.plist"));
}

}  // namespace
}  // namespace qvt::platform
