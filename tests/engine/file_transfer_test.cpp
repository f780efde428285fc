// Copying one source: files, name clashes, merged folders, the move option, failures and the
// retries after a lost or full device.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <regex>

#include "engine_fixture.h"
#include "source/tree_count.h"

using namespace qvt;
using namespace qvt::enginetest;

namespace {

std::vector<std::string> handled(const Session& s) {
    return s.c->inProcessSourceFilesArray.get();
}

std::size_t failureCount(const Session& s) {
    return s.c->failedTransferArray.get().size();
}

}  // namespace

TEST(TransferFile, CopiesAFileAndCountsIt) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    test::writeFile(s.from("a.txt"), "hello");

    s.c->transferFile(s.from("a.txt"), s.at("a.txt"), s.dst);

    EXPECT_EQ(test::readFile(s.at("a.txt")), "hello");
    EXPECT_TRUE(fs::exists(s.from("a.txt")));  // copied, not moved
    EXPECT_EQ(handled(s), std::vector<std::string>{s.at("a.txt")});
    EXPECT_EQ(s.c->job().progressValue, 2);
    EXPECT_EQ(s.c->job().totalTransferredFilesSize, 5u);
    EXPECT_EQ(s.c->job().inProcessDestFilePath.get(), "");
    EXPECT_EQ(failureCount(s), 0u);
    EXPECT_FALSE(s.c->isFileTransferCompleted());

    // The host hears of the file from a background queue.
    ASSERT_TRUE(test::waitFor([&] { return s.delegate->messageCount() == 1; }));
    const auto m = s.delegate->messages()[0];
    EXPECT_FALSE(m.completed);
    EXPECT_FALSE(m.failed);
    EXPECT_TRUE(m.reachable);
    EXPECT_NE(m.thread, std::this_thread::get_id());
}

TEST(TransferFile, AMissingSourceIsAFailedItemWithItsReason) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    s.c->transferFile(s.from("gone.txt"), s.at("gone.txt"), s.dst);
    // Not counted as a handled file, nor as one that arrived; it is named, so the count of a
    // folder it was in does not tell of it a second time.
    EXPECT_EQ(s.c->job().progressValue, 1);
    EXPECT_EQ(s.c->job().filesArrived, 0);
    EXPECT_EQ(s.c->job().namedLosses, 1);
    ASSERT_EQ(failureCount(s), 1u);
    const Record failure = *s.c->failedTransferArray.get()[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), s.from("gone.txt"));
    EXPECT_EQ(failure.string("localizedError"), "The file is no longer there.");
    EXPECT_FALSE(fs::exists(s.at("gone.txt")));
}

// A file that is there but cannot be reached (its folder may no longer be searched) is not said
// to be gone: it is listed with the system's reason, and nothing is written for it.
TEST(TransferFile, ASourceThatCannotBeReachedIsAFailedItemWithTheSystemsReason) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    test::writeFile(s.from("locked/photo.jpg"), "jpeg");
    layer.makeUnreachable(s.from("locked/photo.jpg"), EACCES);
    s.c->transferFile(s.from("locked/photo.jpg"), s.at("photo.jpg"), s.dst);
    EXPECT_EQ(s.c->job().progressValue, 1);
    EXPECT_EQ(s.c->job().filesArrived, 0);
    ASSERT_EQ(failureCount(s), 1u);
    const Record failure = *s.c->failedTransferArray.get()[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), s.from("locked/photo.jpg"));
    EXPECT_EQ(failure.string("localizedError"), platform::errorDescription(EACCES));
    EXPECT_FALSE(fs::exists(s.at("photo.jpg")));
}

TEST(TransferFile, ALinkToNothingIsAFailedItemWithItsReason) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    fs::create_directories(s.from("album"));
    fs::create_symlink(s.from("nowhere.jpg"), s.from("album/broken.jpg"));
    test::writeFile(s.from("album/fine.jpg"), "fine");
    s.c->transferFile(s.from("album"), s.at("album"), s.dst);
    ASSERT_EQ(failureCount(s), 1u);
    const Record failure = *s.c->failedTransferArray.get()[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), s.from("album/broken.jpg"));
    EXPECT_EQ(failure.string("localizedError"), "The link points to nothing.");
    EXPECT_EQ(test::readFile(s.at("album/fine.jpg")), "fine");
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.at("album/broken.jpg"))));
    // Counted as an item handled, as the count of the folder counted it.
    EXPECT_EQ(source::countItem(s.from("album")).files, 2);
    EXPECT_EQ(s.c->job().progressValue, 3);
    EXPECT_EQ(s.c->job().filesMet, 2);
    EXPECT_EQ(s.c->job().filesArrived, 1);
}

TEST(TransferFile, LinksThatLeadToOneAnotherAreAFailedItemWithTheirReason) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    fs::create_directories(s.from("album"));
    fs::create_symlink("second", s.from("album/first"));
    fs::create_symlink("first", s.from("album/second"));
    s.c->transferFile(s.from("album"), s.at("album"), s.dst);
    ASSERT_EQ(failureCount(s), 2u);
    for (const Value& v : s.c->failedTransferArray.get())
        EXPECT_EQ(v.asRecord()->string("localizedError"),
                  "The link leads through other links back to itself, so it never reaches a file "
                  "or folder.");
    EXPECT_TRUE(fs::is_empty(s.at("album")));
}

TEST(TransferFile, AClashingFileGetsTheNextCopyName) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    test::writeFile(s.from("notes.txt"), "new");
    test::writeFile(s.at("notes.txt"), "old");

    s.c->transferFile(s.from("notes.txt"), s.at("notes.txt"), s.dst);
    s.c->transferFile(s.from("notes.txt"), s.at("notes.txt"), s.dst);
    s.c->transferFile(s.from("notes.txt"), s.at("notes.txt"), s.dst);

    EXPECT_EQ(test::readFile(s.at("notes.txt")), "old");
    EXPECT_EQ(test::readFile(s.at("notes copy.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("notes copy 2.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("notes copy 3.txt")), "new");
    // The handled list holds the names actually written.
    EXPECT_EQ(handled(s),
              (std::vector<std::string>{s.at("notes copy.txt"), s.at("notes copy 2.txt"),
                                        s.at("notes copy 3.txt")}));

    // A file without an extension keeps having none.
    test::writeFile(s.from("README"), "r");
    test::writeFile(s.at("README"), "x");
    s.c->transferFile(s.from("README"), s.at("README"), s.dst);
    EXPECT_EQ(test::readFile(s.at("README copy")), "r");
}

// A name as long as a device holds gets no "copy" name when it clashes: the failure says the
// name is too long, and names it, rather than giving the system's bare words.
TEST(TransferFile, AClashNameTooLongForTheDeviceIsAFailedItemThatSaysSo) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 10;
    const std::string name = std::string(251, 'n') + ".txt";
    test::writeFile(s.from(name), "new");
    test::writeFile(s.at(name), "old");
    s.c->transferFile(s.from(name), s.at(name), s.dst);
    EXPECT_EQ(test::readFile(s.at(name)), "old");
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("localizedError"),
              "The name \u201c" + std::string(251, 'n') +
                  " copy.txt\u201d is too long for the device, which holds names of up to 255 "
                  "bytes.");
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(s.dst)) names.push_back(e.path().filename());
    EXPECT_EQ(names, std::vector<std::string>{name});
}

// An upload under way whose file layer counts the listings of each folder.
struct CountedUpload {
    CountedUpload() : scoped(s, &layer) {
        s.c->job().numberOfFilesCountForTransfer = 100;
        s.c->job().begin();
    }
    Session s;
    FaultyFiles layer;
    ScopedFiles scoped;
};

TEST(TransferFile, ClashesInOneFolderCostOneListingOfIt) {
    CountedUpload u;
    Session& s = u.s;
    FaultyFiles& layer = u.layer;
    for (int i = 0; i < 20; ++i) {
        const std::string name = "f" + std::to_string(i) + ".txt";
        test::writeFile(s.from(name), "new");
        test::writeFile(s.at(name), "old");
    }
    test::writeFile(s.at("f3 copy.pdf"), "other");
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 20; ++i) {
            const std::string name = "f" + std::to_string(i) + ".txt";
            s.c->transferFile(s.from(name), s.at(name), s.dst);
        }
    }
    EXPECT_EQ(layer.listings(s.dst), 1);
    // The names are those the rule gives with every entry seen, the upload's own included.
    EXPECT_EQ(test::readFile(s.at("f0 copy.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("f0 copy 2.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("f3 copy 2.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("f3 copy 3.txt")), "new");
    EXPECT_EQ(test::readFile(s.at("f3 copy.pdf")), "other");
    EXPECT_EQ(test::readFile(s.at("f19.txt")), "old");

    // A new upload reads the folder again.
    s.c->job().begin();
    s.c->transferFile(s.from("f0.txt"), s.at("f0.txt"), s.dst);
    EXPECT_EQ(layer.listings(s.dst), 2);
    EXPECT_EQ(test::readFile(s.at("f0 copy 3.txt")), "new");
}

TEST(TransferFile, ANameTakenByAnotherWriterAfterTheListingIsNeverReplaced) {
    CountedUpload u;
    Session& s = u.s;
    FaultyFiles& layer = u.layer;
    for (const char* n : {"a.txt", "b.txt"}) {
        test::writeFile(s.from(n), "new");
        test::writeFile(s.at(n), "old");
    }
    s.c->transferFile(s.from("a.txt"), s.at("a.txt"), s.dst);
    ASSERT_EQ(test::readFile(s.at("a copy.txt")), "new");
    // Someone else writes the name the rule would give next, after the folder was listed.
    test::writeFile(s.at("b copy.txt"), "theirs");
    s.c->transferFile(s.from("b.txt"), s.at("b.txt"), s.dst);
    EXPECT_EQ(test::readFile(s.at("b copy.txt")), "theirs");
    EXPECT_EQ(test::readFile(s.at("b copy 2.txt")), "new");
    EXPECT_EQ(layer.listings(s.dst), 1);
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
}

TEST(TransferFile, FoldersAreMergedAndWalkedFileByFile) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    test::writeFile(s.from("album/photo.jpg"), "new photo");
    test::writeFile(s.from("album/new.jpg"), "another");
    test::writeFile(s.from("album/sub/deep.txt"), "deep");
    test::writeFile(s.from("album/.hidden"), "h");
    test::writeFile(s.at("album/photo.jpg"), "old photo");
    test::writeFile(s.at("album/keep.txt"), "kept");

    s.c->transferFile(s.from("album"), s.at("album"), s.dst);

    // The existing folder was merged into, never renamed.
    EXPECT_FALSE(fs::exists(s.at("album copy")));
    EXPECT_EQ(test::readFile(s.at("album/photo.jpg")), "old photo");
    EXPECT_EQ(test::readFile(s.at("album/photo copy.jpg")), "new photo");
    EXPECT_EQ(test::readFile(s.at("album/new.jpg")), "another");
    EXPECT_EQ(test::readFile(s.at("album/sub/deep.txt")), "deep");
    EXPECT_EQ(test::readFile(s.at("album/.hidden")), "h");  // hidden entries are copied too
    EXPECT_EQ(test::readFile(s.at("album/keep.txt")), "kept");
    // Each file was reported on its own; the folders were not.
    EXPECT_EQ(handled(s).size(), 4u);
    EXPECT_EQ(s.c->job().progressValue, 5);

    // The same folder again: the clashing file goes on to "copy 2", new ones clash too.
    s.c->transferFile(s.from("album"), s.at("album"), s.dst);
    EXPECT_EQ(test::readFile(s.at("album/photo copy 2.jpg")), "new photo");
    EXPECT_EQ(test::readFile(s.at("album/new copy.jpg")), "another");
    EXPECT_EQ(test::readFile(s.at("album/sub/deep copy.txt")), "deep");
}

TEST(TransferFile, AFolderThatIsNotThereIsCreatedWithItsParents) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    test::writeFile(s.from("tree/a/b/c.txt"), "c");
    fs::create_directories(s.from("tree/empty"));
    s.c->transferFile(s.from("tree"), s.at("deeper/tree"), s.dst);
    EXPECT_EQ(test::readFile(s.at("deeper/tree/a/b/c.txt")), "c");
    EXPECT_TRUE(fs::is_directory(s.at("deeper/tree/empty")));
}

TEST(TransferFile, AfterARestartAHandledPathIsSkippedWithoutACounterStep) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    test::writeFile(s.from("docs/done.txt"), "done");
    test::writeFile(s.from("docs/todo.txt"), "todo");
    test::writeFile(s.at("docs/done.txt"), "done");  // copied before the restart
    s.c->job().resumedAfterRestart = true;
    s.c->inProcessSourceFilesArray.set({s.at("docs/done.txt")});

    s.c->transferFile(s.from("docs"), s.at("docs"), s.dst);

    EXPECT_FALSE(fs::exists(s.at("docs/done copy.txt")));
    EXPECT_EQ(test::readFile(s.at("docs/todo.txt")), "todo");
    EXPECT_EQ(handled(s), (std::vector<std::string>{s.at("docs/done.txt"), s.at("docs/todo.txt")}));
    EXPECT_EQ(s.c->job().progressValue, 2);  // one step, for todo.txt only

    // Without the restart flag the same path is a clash like any other.
    s.c->job().resumedAfterRestart = false;
    s.c->transferFile(s.from("docs/done.txt"), s.at("docs/done.txt"), s.dst);
    EXPECT_TRUE(fs::exists(s.at("docs/done copy.txt")));
}

TEST(TransferFile, TheMoveOptionMovesUnlessTheSourceIsExcluded) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->removeFilesAfterUpload = true;
    test::writeFile(s.from("moved.txt"), "m");
    test::writeFile(s.from("kept.txt"), "k");

    s.c->transferFile(s.from("moved.txt"), s.at("moved.txt"), s.dst);
    EXPECT_FALSE(fs::exists(s.from("moved.txt")));
    EXPECT_EQ(test::readFile(s.at("moved.txt")), "m");

    s.c->transferFile(s.from("kept.txt"), s.at("kept.txt"), s.dst, /*excludeFile=*/true);
    EXPECT_TRUE(fs::exists(s.from("kept.txt")));
    EXPECT_EQ(test::readFile(s.at("kept.txt")), "k");
}

// Moved to another volume, a file is copied; its source goes only once the copy is on the disk
// under its final name. A disk that cannot write the new name out keeps the source.
TEST(TransferFile, AMoveToAnotherVolumeKeepsTheSourceUntilTheNewNameIsOnTheDisk) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->removeFilesAfterUpload = true;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto flushed = std::make_shared<std::vector<std::string>>();
    auto flushAnswer = std::make_shared<std::atomic<int>>(0);
    layer.setHook([flushed, flushAnswer](const std::string& op, const std::string& path,
                                         const std::string&) -> std::optional<int> {
        // Another volume: a rename of the source is refused.
        if (op == "move") return EXDEV;
        if (op != "flushItem") return std::nullopt;
        flushed->push_back(path);
        return flushAnswer->load() == 0 ? std::nullopt : std::optional<int>(flushAnswer->load());
    });
    test::writeFile(s.from("moved.txt"), "m");
    s.c->transferFile(s.from("moved.txt"), s.at("moved.txt"), s.dst);
    EXPECT_FALSE(fs::exists(s.from("moved.txt")));
    EXPECT_EQ(test::readFile(s.at("moved.txt")), "m");
    ASSERT_EQ(flushed->size(), 2u);
    EXPECT_TRUE(engine::isTemporaryName(fs::path((*flushed)[0]).filename()));
    EXPECT_EQ((*flushed)[1], s.at("moved.txt"));

    *flushAnswer = EROFS;
    test::writeFile(s.from("kept.txt"), "k");
    s.c->transferFile(s.from("kept.txt"), s.at("kept.txt"), s.dst);
    EXPECT_EQ(test::readFile(s.from("kept.txt")), "k");
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("sourceFilePath"), s.from("kept.txt"));
}

// Moved on the same volume, a link would be renamed itself and point back at the sources; it is
// moved as what it leads to: the target's bytes arrive, the link goes and the target stays.
TEST(TransferFile, TheMoveOptionMovesALinkAsWhatItLeadsTo) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->removeFilesAfterUpload = true;
    test::writeFile(s.from("target.txt"), "t");
    fs::create_symlink(s.from("target.txt"), s.from("link.txt"));
    s.c->transferFile(s.from("link.txt"), s.at("link.txt"), s.dst);
    EXPECT_FALSE(fs::is_symlink(fs::symlink_status(s.at("link.txt"))));
    EXPECT_EQ(test::readFile(s.at("link.txt")), "t");
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.from("link.txt"))));
    EXPECT_EQ(test::readFile(s.from("target.txt")), "t");
}

TEST(TransferFile, AnUnreadableFileIsListedAsFailedAndTheCopyGoesOn) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook([&](const std::string& op, const std::string& from,
                      const std::string&) -> std::optional<int> {
        if (op == "copy" && from == s.from("box/locked.txt")) return EACCES;
        return std::nullopt;
    });
    test::writeFile(s.from("box/locked.txt"), "secret");
    test::writeFile(s.from("box/open.txt"), "open");

    s.c->transferFile(s.from("box"), s.at("box"), s.dst);

    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 1u);
    const Record* f = failures[0].asRecord();
    ASSERT_TRUE(f);
    EXPECT_EQ(f->keys(),
              (std::vector<std::string>{"sourceFilePath", "destFilePath", "localizedError"}));
    EXPECT_EQ(f->string("sourceFilePath"), s.from("box/locked.txt"));
    EXPECT_EQ(f->string("destFilePath"), s.at("box/locked.txt"));
    EXPECT_EQ(f->string("localizedError"), std::strerror(EACCES));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: processFileTransferStatus of file/folder " +
                                  s.from("box/locked.txt") + " to " + s.dst + " Time: "));
    const std::regex line("QVTransfer: processFileTransferStatus of file/folder " +
                          s.from("box/locked.txt") + " to " + s.dst +
                          " Time: \\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}:\\d{2} \\+0000 Error: " +
                          std::strerror(EACCES) + " \\(13\\)\n");
    bool found = false;
    for (const auto& l : s.h.log->lines()) found |= std::regex_match(l, line);
    EXPECT_TRUE(found);

    // The other file arrived, and both count as handled.
    EXPECT_EQ(test::readFile(s.at("box/open.txt")), "open");
    EXPECT_EQ(handled(s).size(), 2u);
    EXPECT_EQ(s.c->job().progressValue, 3);
    EXPECT_FALSE(s.c->reconnectingDevice());
    EXPECT_FALSE(s.c->deviceFull());
}

TEST(TransferFile, AnUnknownWriteErrorOnAnAliasCountsAsSuccess) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    // The destination turns out to be a link, and writing reports an I/O error.
    layer.setHook([&](const std::string& op, const std::string&,
                      const std::string& to) -> std::optional<int> {
        if (op != "copy") return std::nullopt;
        EXPECT_EQ(::symlink("/nonexistent-target", to.c_str()), 0);
        return EIO;
    });
    test::writeFile(s.from("linked.txt"), "l");

    s.c->transferFile(s.from("linked.txt"), s.at("linked.txt"), s.dst);

    EXPECT_EQ(failureCount(s), 0u);
    EXPECT_EQ(handled(s), std::vector<std::string>{s.at("linked.txt")});
    EXPECT_EQ(s.c->job().progressValue, 2);
    EXPECT_FALSE(s.c->reconnectingDevice());
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_FALSE(s.h.log->contains("displayDeviceDisconnect"));
}

TEST(TransferFile, AnyOtherErrorCodeOfAnAliasIsAFailure) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook([&](const std::string& op, const std::string&,
                      const std::string& to) -> std::optional<int> {
        if (op != "copy") return std::nullopt;
        EXPECT_EQ(::symlink("/nonexistent-target", to.c_str()), 0);
        return EROFS;
    });
    test::writeFile(s.from("linked.txt"), "l");
    s.c->transferFile(s.from("linked.txt"), s.at("linked.txt"), s.dst);
    ASSERT_EQ(failureCount(s), 1u);
    EXPECT_EQ(s.c->failedTransferArray.get()[0].asRecord()->string("localizedError"),
              std::strerror(EROFS));
}

TEST(TransferFile, AFailedFolderCreationIsReportedOnceForTheFolder) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "mkdir") return EACCES;
            return std::nullopt;
        });
    test::writeFile(s.from("set/one.txt"), "1");
    test::writeFile(s.from("set/two.txt"), "2");

    s.c->transferFile(s.from("set"), s.at("set"), s.dst);

    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].asRecord()->string("sourceFilePath"), s.from("set"));
    EXPECT_EQ(failures[0].asRecord()->string("destFilePath"), s.at("set"));
    EXPECT_FALSE(fs::exists(s.at("set")));
    EXPECT_TRUE(handled(s).empty());
    EXPECT_EQ(s.c->job().progressValue, 2);
}

TEST(TransferFile, ACancelDuringTheCopyLeavesNoRecord) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "copy") s.c->job().cancel();
            return std::nullopt;  // the copy itself runs
        });
    test::writeFile(s.from("c.txt"), "c");
    test::writeFile(s.from("d.txt"), "d");

    s.c->transferFile(s.from("c.txt"), s.at("c.txt"), s.dst);
    EXPECT_TRUE(fs::exists(s.at("c.txt")));
    EXPECT_TRUE(handled(s).empty());
    EXPECT_EQ(s.c->job().progressValue, 1);
    EXPECT_EQ(failureCount(s), 0u);

    // Once cancelled, nothing more is copied.
    s.c->transferFile(s.from("d.txt"), s.at("d.txt"), s.dst);
    EXPECT_FALSE(fs::exists(s.at("d.txt")));
}

TEST(TransferFile, AFileIsNotCopiedOnceTheUploadHasCompleted) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().complete();
    test::writeFile(s.from("late.txt"), "l");
    s.c->transferFile(s.from("late.txt"), s.at("late.txt"), s.dst);
    EXPECT_FALSE(fs::exists(s.at("late.txt")));
}

// A link to a folder inside a source is copied as the folder it leads to, and counted so; a
// link back to a folder above it is one failed item, never followed, counted as one item. The
// counter must reach the count exactly when the last item is met: a count that differs ends the
// upload early (items after the links never met) or at the walk's end only.
TEST(TransferFile, ALinkToAFolderIsFollowedOnceAndALoopIsOneFailedItem) {
    Session s;
    ASSERT_TRUE(s.c);
    fs::create_directories(s.from("elsewhere/deeper"));
    test::writeFile(s.from("elsewhere/1.txt"), "1");
    test::writeFile(s.from("elsewhere/deeper/2.txt"), "22");
    fs::create_directories(s.from("album"));
    fs::create_directory_symlink(s.from("elsewhere"), s.from("album/linked folder"));
    // A loop of links: followed, it would nest until the path is too long.
    fs::create_directory_symlink(s.from("album"), s.from("album/loop"));
    // Files listed after the links, whatever the listing order is.
    std::vector<std::string> files;
    auto addPhoto = [&] {
        files.push_back("photo " + std::to_string(files.size()) + ".txt");
        test::writeFile(s.from("album/" + files.back()), "p");
    };
    for (int i = 0; i < 3; ++i) addPhoto();
    while (platform::files().listFolder(s.from("album")).back().find(".txt") == std::string::npos)
        addPhoto();
    // The photos, the two files behind the linked folder, and the loop as one item.
    const source::TreeCount count = source::countItem(s.from("album"));
    ASSERT_EQ(count.files, static_cast<std::int64_t>(files.size() + 3));
    EXPECT_EQ(count.folders, 3);  // album, the linked folder and its "deeper"
    EXPECT_EQ(count.bytes, files.size() + 3);
    s.setSources({s.from("album")});
    s.c->job().numberOfFilesCountForTransfer = count.files;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    EXPECT_TRUE(s.c->isFileTransferCompleted());
    for (const std::string& f : files) EXPECT_EQ(test::readFile(s.at("album/" + f)), "p") << f;
    EXPECT_EQ(test::readFile(s.at("album/linked folder/1.txt")), "1");
    EXPECT_EQ(test::readFile(s.at("album/linked folder/deeper/2.txt")), "22");
    EXPECT_FALSE(fs::is_symlink(s.at("album/linked folder")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.at("album/loop"))));
    EXPECT_EQ(handled(s).size(), files.size() + 3);
    EXPECT_EQ(s.c->job().progressValue, count.files);  // the counter stops at the count
    ASSERT_EQ(failureCount(s), 1u);
    const Record failure = *s.c->failedTransferArray.get()[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), s.from("album/loop"));
    EXPECT_EQ(failure.string("localizedError"),
              "The link leads back into a folder that holds it, so following it would never end.");
    EXPECT_TRUE(fs::is_symlink(s.from("album/linked folder")));
}

// A link to a folder above the source (here the root of the file system) would take the copy
// round for ever as well.
TEST(TransferFile, ALinkToAFolderAboveTheSourceIsALoop) {
    Session s;
    ASSERT_TRUE(s.c);
    fs::create_directories(s.from("album"));
    test::writeFile(s.from("album/a.txt"), "a");
    fs::create_directory_symlink("/", s.from("album/root"));
    fs::create_directory_symlink(s.from(""), s.from("album/up"));
    const source::TreeCount count = source::countItem(s.from("album"));
    EXPECT_EQ(count.files, 3);
    EXPECT_EQ(count.folders, 1);
    EXPECT_EQ(count.bytes, 1u);
    s.c->job().numberOfFilesCountForTransfer = 10;
    s.c->transferFile(s.from("album"), s.at("album"), s.dst);
    EXPECT_EQ(test::readFile(s.at("album/a.txt")), "a");
    EXPECT_EQ(failureCount(s), 2u);
    EXPECT_EQ(s.c->job().progressValue, 4);
    // Chosen as a source itself, such a link is the one failed item too.
    EXPECT_EQ(source::countItem(s.from("album/up")), (source::TreeCount{1, 0, 0}));
    s.c->transferFile(s.from("album/up"), s.at("up"), s.dst);
    EXPECT_EQ(failureCount(s), 3u);
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.at("up"))));
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.at("album/root"))));
    EXPECT_FALSE(fs::exists(fs::symlink_status(s.at("album/up"))));
}
