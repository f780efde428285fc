// The bytes shown move within a large file: what the copy has written of the file in hand
// counts before the file is handled, and stops counting once it is handled or its copy failed.
#include <filesystem>

#include "engine/whole_copy.h"
#include "engine_fixture.h"
#include "platform/files_internal.h"

namespace qvt::enginetest {
namespace {

// What the status showed while the copy was between two pieces of the file.
struct PieceWatch {
    std::atomic<std::uint64_t> shownInHand{0};
    std::atomic<std::uint64_t> shownDone{0};
};

// The copy tells that `told` bytes are written, as it does between two of its pieces; the hook
// notes what the status showed then, and the copy answers `answer` (nothing: it is made).
void watchOnePiece(FaultyFiles& layer, QVTransferPrivate* c, std::shared_ptr<PieceWatch> watch,
                   std::uint64_t told, std::optional<int> answer) {
    layer.setHook([c, watch, told, answer](const std::string& op, const std::string&,
                                           const std::string&) -> std::optional<int> {
        if (op != "copy") return std::nullopt;
        EXPECT_TRUE(platform::detail::goOnCopying(told));
        watch->shownInHand = c->job().bytesOfFileInHand.load();
        watch->shownDone = c->statusSnapshot().bytesDone;
        return answer;
    });
}

TEST(FileInHand, WhatIsWrittenOfALargeFileCountsUntilItIsHandled) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    const std::uint64_t size = 1000;
    test::writeFile(s.from("film.mov"), std::string(size, 'f'));
    s.c->totalSourceFilesSize = 5000;
    s.c->job().begin();
    s.c->job().totalTransferredFilesSize = 2000;  // the files handled before it
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto watch = std::make_shared<PieceWatch>();
    watchOnePiece(layer, s.c.get(), watch, 400, std::nullopt);
    const std::string partial = s.at(".film.part");
    EXPECT_EQ(engine::copyWhole(s.c->job(), s.from("film.mov"), partial), 0);
    EXPECT_EQ(watch->shownInHand.load(), 400u);
    EXPECT_EQ(watch->shownDone.load(), 2400u);

    // Handled, the file counts by what is at the destination, once.
    s.c->processFileTransferStatus(s.from("film.mov"), partial, std::nullopt);
    EXPECT_EQ(s.c->job().bytesOfFileInHand.load(), 0u);
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, 3000u);
}

// A copy that failed (the device went away) is not counted while the upload waits to make it
// again: the bytes shown do not count a piece that will be written once more.
TEST(FileInHand, AFailedCopyOfTheFileInHandNoLongerCounts) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("film.mov"), std::string(1000, 'f'));
    s.c->totalSourceFilesSize = 1000;
    s.c->job().begin();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto watch = std::make_shared<PieceWatch>();
    watchOnePiece(layer, s.c.get(), watch, 700, EIO);
    EXPECT_EQ(engine::copyWhole(s.c->job(), s.from("film.mov"), s.at(".film.part")), EIO);
    EXPECT_EQ(watch->shownDone.load(), 700u);
    EXPECT_EQ(s.c->job().bytesOfFileInHand.load(), 0u);
    EXPECT_EQ(s.c->statusSnapshot().bytesDone, 0u);
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
