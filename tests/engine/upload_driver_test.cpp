// The Upload button and the copy loop over the source list: the status screen, the stored
// login, the volume's UUID, the walk over a list that grows or is paused, and the move option's
// Trash rules.
#include <gtest/gtest.h>

#include <unistd.h>
#include <mutex>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <regex>

#include "engine_fixture.h"
#include "frozen_clock.h"
#include "keychain_fake.h"
#include "platform/plist_io.h"

using namespace qvt;
using namespace qvt::enginetest;

namespace {

// The Trash of these tests: a folder of their own, set before any test starts a thread.
std::string gTrashHome;

class TrashEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        gTrashHome = "/tmp/qvt-engine-trash-" + std::to_string(::getpid());
        fs::create_directories(gTrashHome);
        ::setenv("XDG_DATA_HOME", gTrashHome.c_str(), 1);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(gTrashHome, ec);
    }
};
[[maybe_unused]] auto* const gTrashEnvironment =
    ::testing::AddGlobalTestEnvironment(new TrashEnvironment);

bool inTrash(const std::string& name) {
    return fs::exists(gTrashHome + "/Trash/files/" + name);
}

// Pauses the upload (as the pause button does, on the main thread) when the copy of `source`
// starts; the copy itself then runs to its end.
FaultyFiles::Hook pauseWhenCopying(Session& s, const std::string& source) {
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    return [dispatch, c, source](const std::string& op, const std::string& from,
                                 const std::string&) -> std::optional<int> {
        if ((op == "copy" || op == "move") && from == source)
            dispatch->mainSync([c] { c->pauseTransfer(); });
        return std::nullopt;
    };
}

}  // namespace

TEST(UploadFiles, AnEmptySourceListCompletesAtOnce) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    s.c->userName.set("alice");
    s.c->userPassword.set("pw-not-for-logs");
    s.c->job().numberOfFilesCountForTransfer = 0;
    s.c->selectedDestinationShare.set("NONE");
    s.h.view->selectedFolder = s.dst;
    const Date before = s.h.services.clock->now();

    s.c->uploadFiles();

    // The status screen is up before any work.
    EXPECT_TRUE(hasLine(s, "QVTransfer: uploadFiles \n"));
    EXPECT_TRUE(s.h.view->called("showScreen statusView"));
    EXPECT_EQ(s.c->selectedDestinationShare.get(), s.dst);
    EXPECT_TRUE(s.h.view->called("showStatus"));

    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());

    EXPECT_FALSE(s.c->isFileTransferFailed());
    EXPECT_EQ(s.c->progressStatus.get(), "All files uploaded");
    EXPECT_EQ(s.h.view->statusNow().closeButtonTitle, "Close");
    EXPECT_TRUE(s.h.log->contains(
        "QVTransfer: processFileTransferStatus: setIsFileTransferCompleted: YES Time: "));
    EXPECT_TRUE(hasLine(s, "QVTransfer: progressValue:1 numberOfFilesCountForTransfer:0\n"));
    EXPECT_GE(s.c->job().startedAt(), before);

    // The login went to the keychain under the serial number, and nowhere else.
    const auto items = keychain->items();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].service, "QVTransfer");
    EXPECT_EQ(items[0].account, "SN-TEST");
    EXPECT_EQ(items[0].data, "alice:pw-not-for-logs");
    for (const auto& line : s.h.log->lines())
        EXPECT_EQ(line.find("pw-not-for-logs"), std::string::npos) << line;

    // The host heard of the end, and the state file records it.
    bool completedMessage = false;
    for (const auto& m : s.delegate->messages()) completedMessage |= m.completed;
    EXPECT_TRUE(completedMessage);
    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    ASSERT_TRUE(root && root->asRecord());
    const Record* record = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->boolean("isFileTransferCompleted"));
    EXPECT_EQ(test::readFile(s.c->transferDataFilePath).find("pw-not-for-logs"), std::string::npos);
}

TEST(UploadFiles, CopiesEverySourceWithTheEstimatorAndTheStateWriterRunning) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("one.txt"), "1111");
    test::writeFile(s.from("folder/two.txt"), "22");
    test::writeFile(s.from("folder/three.txt"), "333");
    s.setSources({s.from("one.txt"), s.from("folder")});
    s.c->job().numberOfFilesCountForTransfer = 3;
    s.c->totalSourceFilesSize = 9;
    s.h.view->selectedFolder = s.dst;

    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());

    EXPECT_EQ(test::readFile(s.at("one.txt")), "1111");
    EXPECT_EQ(test::readFile(s.at("folder/two.txt")), "22");
    EXPECT_EQ(test::readFile(s.at("folder/three.txt")), "333");
    EXPECT_EQ(s.c->job().totalTransferredFilesSize, 9u);
    EXPECT_EQ(s.c->job().progressValue, 3);
    EXPECT_EQ(s.c->progressStatus.get(), "All files uploaded");
    EXPECT_EQ(s.c->transferProgressValue, 9);
    EXPECT_TRUE(s.h.log->contains("QVTransfer: Uploading file/folder " + s.from("one.txt") +
                                  " to " + fs::path(s.dst).filename().string() + " Time: "));
    // The whole line: source, the destination folder's name and the date and time.
    const std::regex line("QVTransfer: Uploading file/folder " + s.from("one.txt") + " to " +
                          fs::path(s.dst).filename().string() +
                          " Time: \\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}:\\d{2} \\+0000\n");
    bool found = false;
    for (const auto& l : s.h.log->lines()) found |= std::regex_match(l, line);
    EXPECT_TRUE(found);
    EXPECT_TRUE(s.h.log->contains("QVTransfer: Uploading file/folder " + s.from("folder") + " to " +
                                  fs::path(s.dst).filename().string() + " Time: "));
}

TEST(UploadFiles, TheEndOfAnUploadWaitsForNoTimeToPass) {
    // With time standing still, the estimator and the state-file loop can only end because
    // the completion wakes them: a sleep anywhere on the way to the end would keep the
    // background work running past the deadline below.
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    auto clock = std::make_shared<platform::FrozenClock>();
    Session s(test::nasDevice(), 1, clock);
    ASSERT_TRUE(s.c);
    struct ReleaseFirst {
        std::shared_ptr<platform::FrozenClock> clock;
        ~ReleaseFirst() { clock->release(); }
    } releaseFirst{clock};
    test::writeFile(s.from("one.txt"), "1111");
    test::writeFile(s.from("folder/two.txt"), "22");
    s.setSources({s.from("one.txt"), s.from("folder")});
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.c->totalSourceFilesSize = 6;
    s.h.view->selectedFolder = s.dst;

    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }, 10));
    EXPECT_TRUE(s.settle(10));
    EXPECT_EQ(clock->sleepers(), 0);
    EXPECT_FALSE(clock->released());
    EXPECT_EQ(test::readFile(s.at("folder/two.txt")), "22");
}

TEST(UploadFiles, ADirectlyAttachedDestinationRecordsItsVolumeUUID) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    ASSERT_EQ(::geteuid(), 0u) << "mounting a test volume needs root";
    const std::string uuid = "3f2b8c1e-5d4a-4e6f-9a7b-0c1d2e3f4a5b";
    auto volume = TestVolume::ext4(s.h.home.path() + "/disk", s.h.home.path() + "/disk.img", uuid);
    ASSERT_TRUE(volume->ok());
    fs::create_directories(s.h.home.path() + "/disk/Backups");
    s.h.view->selectedFolder = s.h.home.path() + "/disk/Backups";
    s.c->job().numberOfFilesCountForTransfer = 0;

    s.c->uploadFiles();
    EXPECT_EQ(s.c->selectedDASUUID.get(), uuid);
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    // The state file keys the record by that UUID.
    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_TRUE(root->asRecord()->record(uuid));
}

TEST(UploadFiles, ADestinationWhoseVolumeHasNoUUIDLeavesItEmpty) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    ASSERT_EQ(::geteuid(), 0u) << "mounting a test volume needs root";
    auto volume = TestVolume::tmpfs(s.h.home.path() + "/ram");
    ASSERT_TRUE(volume->ok());
    s.h.view->selectedFolder = s.h.home.path() + "/ram";
    s.c->selectedDASUUID.set("left over");
    s.c->job().numberOfFilesCountForTransfer = 0;

    s.c->uploadFiles();
    EXPECT_EQ(s.c->selectedDASUUID.get(), "");
    EXPECT_EQ(s.c->selectedDestinationShare.get(), s.h.home.path() + "/ram");
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
}

TEST(CopyLoop, AListThatGrowsWhileTheLoopRunsIsWalkedToItsNewEnd) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    test::writeFile(s.from("a.txt"), "a");
    test::writeFile(s.from("b.txt"), "b");
    test::writeFile(s.from("late.txt"), "late");
    s.setSources({s.from("a.txt"), s.from("b.txt")});
    s.c->job().numberOfFilesCountForTransfer = 100;
    auto c = s.c;
    const std::string late = s.from("late.txt");
    layer.setHook([c, late, first = s.from("a.txt")](const std::string& op, const std::string& from,
                                                     const std::string&) -> std::optional<int> {
        // A row is added while the first entry is being copied.
        if (op == "copy" && from == first)
            c->sourceFilesArray.with([&](List& rows) { rows.push_back(sourceRow(late)); });
        return std::nullopt;
    });

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());

    EXPECT_EQ(test::readFile(s.at("late.txt")), "late");
    EXPECT_EQ(s.transferredPaths(),
              (std::vector<std::string>{s.from("a.txt"), s.from("b.txt"), s.from("late.txt")}));
    // The loop's end call finished the upload.
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_TRUE(hasLine(s, "QVTransfer: progressValue:4 numberOfFilesCountForTransfer:100\n"));
}

TEST(CopyLoop, TheUploadEndsAfterItsLastEntry) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("a.txt"), "a");
    test::writeFile(s.from("b.txt"), "b");
    s.setSources({s.from("a.txt"), s.from("b.txt")});
    s.c->job().numberOfFilesCountForTransfer = 2;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());

    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_EQ(s.h.log->count("QVTransfer: processFileTransferStatus: setIsFileTransferCompleted"),
              1u);
    EXPECT_TRUE(hasLine(s, "QVTransfer: progressValue:2 numberOfFilesCountForTransfer:2\n"));
    EXPECT_EQ(s.transferredPaths(), (std::vector<std::string>{s.from("a.txt"), s.from("b.txt")}));
    EXPECT_EQ(test::readFile(s.at("b.txt")), "b");
}

// Files added to a source after it was counted: the counter reaches the count before the walk
// is through, and the upload goes on to its last source all the same; the counter stays at the
// count and every file arrives.
TEST(CopyLoop, FilesAddedSinceTheCountDoNotEndTheUploadBeforeItsLastSource) {
    Session s;
    ASSERT_TRUE(s.c);
    for (const char* name : {"A/a1", "A/a2", "A/a3", "A/a4", "B/b1"})
        test::writeFile(s.from(name), name);
    s.setSources({s.from("A"), s.from("B")});
    // Counted with two files in A.
    s.c->job().numberOfFilesCountForTransfer = 3;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    for (const char* name : {"A/a1", "A/a2", "A/a3", "A/a4", "B/b1"})
        EXPECT_EQ(test::readFile(s.at(name)), name) << name;
    EXPECT_EQ(s.c->job().progressValue, 3);
    EXPECT_EQ(s.c->arrivedFileCount(), 5u);
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "All files uploaded");
}

// A source that lies in the destination folder, which the check before the start could not see
// (added to the list since, or a resume's record): a failed item, never copied onto itself.
TEST(CopyLoop, ASourceInTheDestinationFolderIsAFailedItemAndTheRestArrives) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    test::writeFile(s.at("Here/h.txt"), "h");
    test::writeFile(s.from("a.txt"), "a");
    s.setSources({s.at("Here"), s.from("a.txt")});
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("localizedError"),
              s.at("Here") +
                  " is already in the destination folder, so it cannot be uploaded there: it "
                  "would be copied onto itself. Choose another destination.");
    EXPECT_EQ(test::readFile(s.at("a.txt")), "a");
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(s.at("Here"))) names.push_back(e.path().filename());
    EXPECT_EQ(names, std::vector<std::string>{"h.txt"});
}

TEST(CopyLoop, TheEndOfTheUploadFlushesTheDestinationVolumeOnce) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto flushes = std::make_shared<std::vector<std::string>>();
    auto completedBefore = std::make_shared<std::vector<bool>>();
    auto toldAsFlushing = std::make_shared<std::vector<bool>>();
    auto flushMutex = std::make_shared<std::mutex>();
    QVTransferPrivate* c = s.c.get();
    // The flush fails: the upload still completes, and the failure is only logged. The
    // completion waits for the disk: it is reported once the flush has returned. Meanwhile
    // the status says the disk is waited for, not that time is left to estimate.
    layer.setHook([flushes, completedBefore, toldAsFlushing, flushMutex, c](
                      const std::string& op, const std::string& path,
                      const std::string&) -> std::optional<int> {
        if (op != "flush") return std::nullopt;
        std::lock_guard lock(*flushMutex);
        flushes->push_back(path);
        completedBefore->push_back(c->isFileTransferCompleted());
        toldAsFlushing->push_back(c->statusSnapshot().flushingAtEnd);
        return EIO;
    });
    for (const char* n : {"a.txt", "b.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("a.txt"), s.from("b.txt")});
    s.c->selectedDestinationShare.set(s.dst);
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_EQ(test::readFile(s.at("b.txt")), "b.txt");
    {
        std::lock_guard lock(*flushMutex);
        EXPECT_EQ(*flushes, std::vector<std::string>{s.dst});
        EXPECT_EQ(*completedBefore, std::vector<bool>{false});
        EXPECT_EQ(*toldAsFlushing, std::vector<bool>{true});
    }
    EXPECT_FALSE(s.c->statusSnapshot().flushingAtEnd);
    EXPECT_TRUE(hasLine(s, "QVTransfer: flushVolume: " + s.dst + " error 5\n"));
}

// Once every file is copied, the end's flush of the disk is all that is left: a pause pressed
// then has nothing to hold. It is not taken, so nothing says "Paused" of an upload that ends.
TEST(CopyLoop, APauseDuringTheEndsFlushIsNotTaken) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    auto pausedDuringFlush = std::make_shared<std::atomic<int>>(-1);
    layer.setHook([dispatch, c, pausedDuringFlush](const std::string& op, const std::string&,
                                                   const std::string&) -> std::optional<int> {
        if (op != "flush") return std::nullopt;
        dispatch->mainSync([c] { c->pauseTransfer(); });
        *pausedDuringFlush = c->statusSnapshot().pausedByUser ? 1 : 0;
        return std::nullopt;
    });
    test::writeFile(s.from("a.txt"), "a");
    s.setSources({s.from("a.txt")});
    s.c->selectedDestinationShare.set(s.dst);
    s.c->job().numberOfFilesCountForTransfer = 1;
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(pausedDuringFlush->load(), 0);
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_FALSE(s.c->statusSnapshot().pausedByUser);
    EXPECT_EQ(test::readFile(s.at("a.txt")), "a");
}

TEST(CopyLoop, APauseAfterAnEntryHoldsTheWalkThere) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"e0.txt", "e1.txt", "e2.txt", "e3.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("e0.txt"), s.from("e1.txt"), s.from("e2.txt"), s.from("e3.txt")});
    s.c->job().numberOfFilesCountForTransfer = 100;
    layer.setHook(pauseWhenCopying(s, s.from("e2.txt")));

    s.startCopyLoop();
    // The walk waits for the pause to end.
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().waiters() == 1; }));

    // Entry 2's copy returned after the pause: it is at the destination but not transferred.
    EXPECT_EQ(s.transferredPaths(), (std::vector<std::string>{s.from("e0.txt"), s.from("e1.txt")}));
    EXPECT_TRUE(fs::exists(s.at("e2.txt")));
    EXPECT_FALSE(fs::exists(s.at("e3.txt")));
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_FALSE(s.c->isFileTransferCompleted());
    EXPECT_FALSE(s.h.log->contains("setIsFileTransferCompleted"));
    // Resuming lets the walk go on at the first entry it had not begun: entry 2 was copied in
    // full and is not copied a second time.
    s.h.services.dispatch->mainSync([&] { s.c->resumeTransfer(); });
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }, 20));
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(test::readFile(s.at("e3.txt")), "e3.txt");
    EXPECT_FALSE(fs::exists(s.at("e2 copy.txt")));
    // Entry 2 counts as transferred once the walk goes on: nothing of it is pending.
    EXPECT_EQ(s.transferredPaths(), (std::vector<std::string>{s.from("e0.txt"), s.from("e1.txt"),
                                                              s.from("e2.txt"), s.from("e3.txt")}));
    EXPECT_FALSE(s.c->uploadPaused());
}

TEST(CopyLoop, APauseResumedBeforeTheLoopEndsIsNotLost) {
    // The resume comes while the loop is between its pause test and its end: whichever of the
    // two sees the other first carries on, and the upload completes once.
    Session s;
    ASSERT_TRUE(s.c);
    for (const char* n : {"f0.txt", "f1.txt", "f2.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("f0.txt"), s.from("f1.txt"), s.from("f2.txt")});
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    const std::string pausing = s.from("f0.txt");
    layer.setHook([dispatch, c, pausing](const std::string& op, const std::string& from,
                                         const std::string&) -> std::optional<int> {
        if (op == "copy" && from == pausing) {
            dispatch->mainSync([c] { c->pauseTransfer(); });
            // Resumed at once, from another thread, while this copy is still running.
            dispatch->mainAsync([c] { c->resumeTransfer(); });
        }
        return std::nullopt;
    });
    s.startCopyLoop();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }, 20));
    ASSERT_TRUE(s.settle());
    for (const char* n : {"f0.txt", "f1.txt", "f2.txt"}) EXPECT_EQ(test::readFile(s.at(n)), n);
    EXPECT_FALSE(fs::exists(s.at("f1 copy.txt")));
    std::size_t completions = 0;
    for (const auto& line : s.h.log->lines())
        if (line.find("setIsFileTransferCompleted") != std::string::npos) ++completions;
    EXPECT_EQ(completions, 1u);
}

TEST(CopyLoop, TheMoveOptionTrashesUploadedSourcesButNeverExcludedOnes) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("Library/prefs.plist"), "p");
    test::writeFile(s.from("Docs/letter.txt"), "l");
    test::writeFile(s.from("Docs/sub/more.txt"), "m");
    test::writeFile(s.from("note.txt"), "n");
    s.setSources({s.from("Library"), s.from("Docs"), s.from("note.txt")});
    s.c->excludeSourceFilesArray.set({s.from("Library")});
    s.c->removeFilesAfterUpload = true;
    s.c->job().numberOfFilesCountForTransfer = 100;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());

    // Everything arrived.
    EXPECT_EQ(test::readFile(s.at("Library/prefs.plist")), "p");
    EXPECT_EQ(test::readFile(s.at("Docs/letter.txt")), "l");
    EXPECT_EQ(test::readFile(s.at("Docs/sub/more.txt")), "m");
    EXPECT_EQ(test::readFile(s.at("note.txt")), "n");
    // The protected source was copied and stays.
    EXPECT_EQ(test::readFile(s.from("Library/prefs.plist")), "p");
    EXPECT_FALSE(inTrash("Library"));
    // The folder's files were moved, and its emptied tree went to the Trash.
    EXPECT_FALSE(fs::exists(s.from("Docs")));
    EXPECT_TRUE(inTrash("Docs"));
    EXPECT_TRUE(fs::is_directory(gTrashHome + "/Trash/files/Docs/sub"));
    EXPECT_FALSE(fs::exists(gTrashHome + "/Trash/files/Docs/letter.txt"));
    // The file source was moved, so the Trash found nothing and only logged.
    EXPECT_FALSE(fs::exists(s.from("note.txt")));
    EXPECT_TRUE(hasLine(s, "QVTransfer: removeError: " + s.from("note.txt") + " \n"));
    EXPECT_FALSE(s.h.log->contains("QVTransfer: removeError: " + s.from("Docs")));
}

TEST(CopyLoop, AFragmentMatchIsCopiedButOnlyAnExactMatchStaysOutOfTheTrash) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("Archive2/old.txt"), "o");
    s.setSources({s.from("Archive2")});
    // Listed as a fragment of the source's path, not the path itself.
    s.c->excludeSourceFilesArray.set({s.from("Archive")});
    s.c->removeFilesAfterUpload = true;
    s.c->job().numberOfFilesCountForTransfer = 100;

    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    std::atomic<int> moves{0};
    std::atomic<int> copies{0};
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "move") moves++;
            if (op == "copy") copies++;
            return std::nullopt;
        });

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());

    EXPECT_EQ(test::readFile(s.at("Archive2/old.txt")), "o");
    EXPECT_EQ(copies.load(), 1);
    EXPECT_EQ(moves.load(), 0);
    // Copied whole, then the whole source went to the Trash.
    EXPECT_FALSE(fs::exists(s.from("Archive2")));
    EXPECT_TRUE(fs::exists(gTrashHome + "/Trash/files/Archive2/old.txt"));
}

// A file put into a moved folder after the walk had passed where it lies was never uploaded:
// the folder stays where it is, with it, rather than take it to the Trash.
TEST(CopyLoop, AMovedFolderThatGotAFileDuringTheUploadStaysWithIt) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("Letters/a/letter.txt"), "l");
    test::writeFile(s.from("Letters/b/more.txt"), "m");
    s.setSources({s.from("Letters")});
    s.c->removeFilesAfterUpload = true;
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    // The new file comes at the last file's move, into the top folder, whose listing the walk
    // took before it went into the folders below.
    const std::string added = s.from("Letters/new.txt");
    auto moves = std::make_shared<std::atomic<int>>(0);
    layer.setHook([added, moves](const std::string& op, const std::string&,
                                 const std::string&) -> std::optional<int> {
        if (op == "move" && ++*moves == 2) test::writeFile(added, "added later");
        return std::nullopt;
    });
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(test::readFile(s.at("Letters/a/letter.txt")), "l");
    EXPECT_EQ(test::readFile(s.at("Letters/b/more.txt")), "m");
    EXPECT_FALSE(inTrash("Letters"));
    EXPECT_EQ(test::readFile(added), "added later");
    EXPECT_TRUE(s.h.log->contains("QVTransfer: removeError: " + s.from("Letters") + " kept"));
}

TEST(CopyLoop, NothingIsTrashedAfterAFailure) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("First/bad.txt"), "b");
    test::writeFile(s.from("First/good.txt"), "g");
    test::writeFile(s.from("Second/fine.txt"), "f");
    s.setSources({s.from("First"), s.from("Second")});
    s.c->removeFilesAfterUpload = true;
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook([bad = s.from("First/bad.txt")](const std::string& op, const std::string& from,
                                                  const std::string&) -> std::optional<int> {
        if (op == "move" && from == bad) return EACCES;
        return std::nullopt;
    });

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());

    EXPECT_EQ(s.c->failedTransferArray.get().size(), 1u);
    // Both sources were uploaded (moved file by file) but neither folder went to the Trash.
    EXPECT_EQ(test::readFile(s.at("Second/fine.txt")), "f");
    EXPECT_TRUE(fs::exists(s.from("First/bad.txt")));
    EXPECT_TRUE(fs::is_directory(s.from("First")));
    EXPECT_TRUE(fs::is_directory(s.from("Second")));
    EXPECT_FALSE(inTrash("First"));
    EXPECT_FALSE(inTrash("Second"));
    EXPECT_FALSE(s.h.log->contains("removeError"));
    EXPECT_TRUE(s.c->isFileTransferFailed());
}

TEST(UploadFiles, WithoutADestinationFolderNothingStartsAndTheUserIsTold) {
    for (const std::string& chosen : {std::string(), std::string("Photos/2024")}) {
        Session s;
        ASSERT_TRUE(s.c);
        test::writeFile(s.from("a.txt"), "a");
        s.c->sourceFilesArray.set(List{Record{
            {"filesSelectCheckbox", 1}, {"fileName", "a.txt"}, {"fullFilePath", s.from("a.txt")}}});
        s.c->job().numberOfFilesCountForTransfer = 1;
        s.c->setRemoveFilesAfterUpload(true);
        s.h.view->selectedFolder = chosen;
        s.c->uploadFiles();
        ASSERT_TRUE(s.h.services.dispatch->waitIdle(10));
        EXPECT_TRUE(s.h.view->called("showNotice")) << chosen;
        EXPECT_EQ(s.h.view->notices.back(), "Choose the folder to upload to first.");
        EXPECT_FALSE(s.h.view->called("showScreen statusView"));
        EXPECT_FALSE(s.c->job().completed());
        // The source stays where it was, even with the move option.
        EXPECT_EQ(test::readFile(s.from("a.txt")), "a");
        EXPECT_FALSE(fs::exists("Photos/2024/a.txt"));
    }
}

TEST(UploadFiles, ASourceFoundGoneIsAFailureTheArrivedCountLeavesOut) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("a.txt"), "a");
    // The first source was counted as nothing: it was never there.
    s.c->sourceFilesArray.set(List{
        Record{{"filesSelectCheckbox", 1}, {"fileName", "gone"}, {"fullFilePath", s.from("gone")}},
        Record{
            {"filesSelectCheckbox", 1}, {"fileName", "a.txt"}, {"fullFilePath", s.from("a.txt")}}});
    s.c->job().numberOfFilesCountForTransfer = 1;
    s.h.view->selectedFolder = s.dst;
    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(test::readFile(s.at("a.txt")), "a");
    ASSERT_EQ(s.c->failedTransferArray.get().size(), 1u);
    EXPECT_EQ(s.c->arrivedFileCount(), 1u);
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "1 of 1 files uploaded");
}

namespace {

// Uploads the folder "Album" (one.jpg, in/two.jpg) as a source whose count held `counted`
// files, and waits for the end; `whole` expects both files at the destination.
void uploadAlbumCountedAs(Session& s, int counted, bool whole = true) {
    test::writeFile(s.from("Album/one.jpg"), "1");
    test::writeFile(s.from("Album/in/two.jpg"), "2");
    s.c->sourceFilesArray.set(List{Record{{"filesSelectCheckbox", 1},
                                          {"fileName", "Album"},
                                          {"fullFilePath", s.from("Album")},
                                          {"numberOfFiles", std::to_string(counted) + " files"},
                                          {"numberOfFolders", "2 folders"}}});
    s.c->job().numberOfFilesCountForTransfer = counted;
    s.h.view->selectedFolder = s.dst;
    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(test::readFile(s.at("Album/one.jpg")), "1");
    if (whole) {
        EXPECT_EQ(test::readFile(s.at("Album/in/two.jpg")), "2");
    }
}

}  // namespace

// A file removed after the count and before the copy listed its folder: its name is not known
// any more, so the folder is the failed item and says how many of its files went. Trying the
// failed items again copies nothing of that folder a second time.
TEST(UploadFiles, FilesGoneFromAFolderSinceItWasCountedMakeItAFailedItem) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    // Counted with a third file that is gone now.
    ASSERT_NO_FATAL_FAILURE(uploadAlbumCountedAs(s, 3));
    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 1u);
    const Record& failure = *failures[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), s.from("Album"));
    EXPECT_EQ(failure.string("localizedError"),
              "Files in this folder are no longer there: 1 of the 3 counted when it was "
              "chosen.");
    EXPECT_TRUE(s.c->isFileTransferFailed());
    EXPECT_EQ(s.c->arrivedFileCount(), 2u);

    s.c->retryOrDismissTransfer(2);
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(s.c->failedTransferArray.get(), failures);
    EXPECT_EQ(s.c->arrivedFileCount(), 0u);
    std::vector<std::string> arrived;
    for (const auto& e : fs::recursive_directory_iterator(s.at("Album")))
        if (e.is_regular_file()) arrived.push_back(e.path().filename().string());
    std::sort(arrived.begin(), arrived.end());
    EXPECT_EQ(arrived, (std::vector<std::string>{"one.jpg", "two.jpg"}));
}

// The count and the copy agree when nothing changed: no failure, every file counted arrived.
TEST(UploadFiles, AFolderWhoseFilesAreAllThereIsNoFailure) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    ASSERT_NO_FATAL_FAILURE(uploadAlbumCountedAs(s, 2));
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_FALSE(s.c->isFileTransferFailed());
    EXPECT_EQ(s.c->arrivedFileCount(), 2u);
}

// Files of a folder removed after the copy listed it, while it copies the first of them: each
// is named as gone, the folder does not tell of them a second time, and the end counts only
// the file that arrived.
TEST(UploadFiles, FilesGoneAfterTheirFolderWasListedAreNamedOnceAndNotCountedAsArrived) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"})
        test::writeFile(s.from("Album/") + name, name);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    std::atomic<bool> removed{false};
    layer.setHook([&](const std::string& op, const std::string& from,
                      const std::string&) -> std::optional<int> {
        if (op != "copy" || removed.exchange(true)) return std::nullopt;
        for (const char* name : {"a.jpg", "b.jpg", "c.jpg"})
            if (s.from("Album/") + name != from) fs::remove(s.from("Album/") + name);
        return std::nullopt;
    });
    s.c->sourceFilesArray.set(List{Record{{"filesSelectCheckbox", 1},
                                          {"fileName", "Album"},
                                          {"fullFilePath", s.from("Album")},
                                          {"numberOfFiles", "3 files"},
                                          {"numberOfFolders", "1 folder"}}});
    s.c->job().numberOfFilesCountForTransfer = 3;
    s.h.view->selectedFolder = s.dst;
    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 2u);
    for (const Value& f : failures)
        EXPECT_EQ(f.asRecord()->string("localizedError"), "The file is no longer there.");
    EXPECT_EQ(s.c->arrivedFileCount(), 1u);
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "1 of 3 files uploaded");
}

// A folder inside a source that cannot be listed is the failed item, with the system's reason;
// the source is not said to have lost files, and trying again lists the folder again.
TEST(UploadFiles, AFolderThatCannotBeListedIsAFailedItemThatATryAgainCopies) {
    auto keychain = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend scopedKeychain(keychain);
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    const std::string unreadable = s.from("Album/in");
    std::atomic<bool> failing{true};
    layer.setHook([&](const std::string& op, const std::string& from,
                      const std::string&) -> std::optional<int> {
        if (op == "list" && from == unreadable && failing) return EIO;
        return std::nullopt;
    });
    uploadAlbumCountedAs(s, 2, false);
    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 1u);
    const Record& failure = *failures[0].asRecord();
    EXPECT_EQ(failure.string("sourceFilePath"), unreadable);
    EXPECT_EQ(failure.string("localizedError"), platform::errorDescription(EIO));
    EXPECT_EQ(failure.find("filesGone"), nullptr);
    EXPECT_EQ(s.c->arrivedFileCount(), 1u);
    EXPECT_FALSE(fs::exists(s.at("Album/in/two.jpg")));

    failing = false;
    s.c->retryOrDismissTransfer(2);
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_EQ(test::readFile(s.at("Album/in/two.jpg")), "2");
    EXPECT_EQ(test::readFile(s.at("Album/one.jpg")), "1");
}

// With the move option, files that left a source on the way (here through a row listed before
// it that holds part of it) are not taken for files gone since the count.
TEST(CopyLoop, FilesMovedByAnEarlierRowAreNotTakenForFilesGone) {
    Session s;
    ASSERT_TRUE(s.c);
    test::writeFile(s.from("Album/one.jpg"), "1");
    test::writeFile(s.from("Album/in/two.jpg"), "2");
    const auto row = [&](const std::string& path, const std::string& files) {
        return Record{{"filesSelectCheckbox", 1},
                      {"fileName", fs::path(path).filename().string()},
                      {"fullFilePath", path},
                      {"numberOfFiles", files},
                      {"numberOfFolders", "1 folder"}};
    };
    s.c->sourceFilesArray.set(
        List{row(s.from("Album/in"), "1 file"), row(s.from("Album"), "2 files")});
    s.c->removeFilesAfterUpload = true;
    s.c->job().numberOfFilesCountForTransfer = 3;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    EXPECT_EQ(test::readFile(s.at("in/two.jpg")), "2");
    EXPECT_EQ(test::readFile(s.at("Album/one.jpg")), "1");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
}
