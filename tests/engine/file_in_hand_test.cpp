// The bytes shown move within a large file: what the copy has written of the file in hand
// counts before the file is handled, and stops counting once it is.
#include <filesystem>

#include "engine/whole_copy.h"
#include "engine_fixture.h"

namespace qvt::enginetest {
namespace {

TEST(FileInHand, WhatIsWrittenOfALargeFileCountsBeforeItIsHandled) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    const std::uint64_t size = 40u << 20;  // more than one piece of a copy
    test::writeFile(s.from("film.mov"), std::string(size, 'f'));
    s.c->totalSourceFilesSize = size;
    s.c->job().totalTransferredFilesSize = 0;
    s.c->job().begin();
    // Stopped, the copy ends after its first piece: what it had written by then is told.
    s.c->job().cancel();
    const std::string partial = s.at(".film.part");
    EXPECT_EQ(engine::copyWhole(s.c->job(), s.from("film.mov"), partial), ECANCELED);
    const std::uint64_t written = fs::file_size(partial);
    ASSERT_GT(written, 0u);
    ASSERT_LT(written, size);
    EXPECT_EQ(s.c->job().bytesOfFileInHand.load(), written);
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, written);

    // Handled, the file counts by what is at the destination, once.
    s.c->processFileTransferStatus(s.from("film.mov"), partial, std::nullopt);
    EXPECT_EQ(s.c->job().bytesOfFileInHand.load(), 0u);
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, written);
}

// A file just handled may be counted as handled and in hand for a moment: the bytes shown
// never pass the total for it.
TEST(FileInHand, TheBytesShownNeverPassTheTotalForTheFileInHand) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->totalSourceFilesSize = 1000;
    s.c->job().totalTransferredFilesSize = 1000;
    s.c->job().bytesOfFileInHand = 600;
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, 1000u);
    // Sources that grew after they were counted: what is handled is shown as it is.
    s.c->job().totalTransferredFilesSize = 1200;
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, 1200u);
    s.c->job().totalTransferredFilesSize = 300;
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, 900u);
}

}  // namespace
}  // namespace qvt::enginetest
