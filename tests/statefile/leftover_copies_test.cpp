// The note of hidden copies a stop could not remove: what is read back from a file that was
// damaged or written by hand, and that notes are neither lost nor doubled.
#include <gtest/gtest.h>

#include <filesystem>

#include "session/leftover_copies.h"
#include "support.h"

using namespace qvt;
using qvt::session::LeftoverCopy;

namespace {

TEST(LeftoverCopies, NotesAddUpOnceEachAndAnEmptyListRemovesTheFile) {
    test::TempDir dir;
    const std::string file = dir / "LeftoverCopies.plist";
    EXPECT_TRUE(session::readLeftoverCopies(file).empty());
    const LeftoverCopy a{"SN1", "Public", "Photos/.qvtransfer-0011223344556677.part"};
    const LeftoverCopy b{"0A1B-UUID", "", ".qvtransfer-8899aabbccddeeff.part"};
    // A replaced upload's folder, with the sources it was copying there.
    const LeftoverCopy c{"SN2", "Family", "Trips", {"/home/u/Holiday", "/home/u/notes.txt"}};
    ASSERT_TRUE(session::noteLeftoverCopy(file, a));
    ASSERT_TRUE(session::noteLeftoverCopy(file, b));
    ASSERT_TRUE(session::noteLeftoverCopy(file, a));
    ASSERT_TRUE(session::noteLeftoverCopy(file, c));
    EXPECT_EQ(session::readLeftoverCopies(file), (std::vector<LeftoverCopy>{a, b, c}));
    ASSERT_TRUE(session::writeLeftoverCopies(file, {}));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(LeftoverCopies, ADamagedOrHandWrittenFileGivesOnlyItsWholeEntries) {
    test::TempDir dir;
    const std::string file = dir / "LeftoverCopies.plist";
    test::writeFile(file, "<plist><array><dict><key>device</key>");
    EXPECT_TRUE(session::readLeftoverCopies(file).empty());

    test::writeFile(file,
                    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><array>"
                    "<string>not a record</string>"
                    "<dict><key>device</key><integer>7</integer>"
                    "<key>path</key><string>.qvtransfer-0011223344556677.part</string></dict>"
                    "<dict><key>device</key><string>SN1</string></dict>"
                    "<dict><key>device</key><string>SN1</string><key>share</key>"
                    "<string>Public</string><key>path</key>"
                    "<string>.qvtransfer-0011223344556677.part</string></dict>"
                    "</array></plist>\n");
    EXPECT_EQ(session::readLeftoverCopies(file),
              (std::vector<LeftoverCopy>{{"SN1", "Public", ".qvtransfer-0011223344556677.part"}}));

    // A note added to a damaged file starts it again rather than failing.
    test::writeFile(file, "<plist><dict>");
    const LeftoverCopy a{"SN1", "Public", ".qvtransfer-8899aabbccddeeff.part"};
    ASSERT_TRUE(session::noteLeftoverCopy(file, a));
    EXPECT_EQ(session::readLeftoverCopies(file), (std::vector<LeftoverCopy>{a}));
}

}  // namespace
