// A lost or full device during the copy: the upload pauses with its dialog, and the file is
// copied again once the recovery releases the copy thread.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "engine/partial_copy.h"
#include "engine_fixture.h"

using namespace qvt;
using namespace qvt::enginetest;

namespace {

// Fails the first `times` copies with `error`, then lets them run.
FaultyFiles::Hook failCopies(std::shared_ptr<std::atomic<int>> attempts, int times, int error) {
    return [attempts, times, error](const std::string& op, const std::string&,
                                    const std::string&) -> std::optional<int> {
        if (op != "copy") return std::nullopt;
        if ((*attempts)++ < times) return error;
        return std::nullopt;
    };
}

// A device with no room until the test says so (the watcher must not end the wait by itself),
// on which the first copy fails for want of room; the copies tried are counted.
std::shared_ptr<std::atomic<int>> fullForItsFirstCopy(FaultyFiles& layer) {
    layer.availableBytes = 0;
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook(failCopies(attempts, 1, ENOSPC));
    return attempts;
}

}  // namespace

TEST(Retry, AFullDeviceShowsItsDialogAndTheFileIsRetriedAfterTheRecovery) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().progressValue = 3;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    const auto attempts = fullForItsFirstCopy(layer);
    test::writeFile(s.from("big.bin"), "0123456789");
    // The status lines while the dialog is up; after it the host's message changes them.
    auto lineWithDialog = std::make_shared<qvt::Guarded<std::string>>();
    {
        std::lock_guard lock(s.h.view->mutex);
        s.h.view->modalHooks[Dialog::DeviceFull] = [c = s.c.get(), lineWithDialog] {
            lineWithDialog->set(c->progressStatusMsg1.get());
        };
    }

    CopyThread copy(s, s.from("big.bin"), s.at("big.bin"));

    // The upload is paused for the full device and the copy thread waits.
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceFullDialog"); }));
    EXPECT_TRUE(s.c->deviceFull());
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_FALSE(s.c->reconnectingDevice());
    EXPECT_TRUE(s.h.log->contains("QVTransfer: displayDeviceFullDialog: transfer_semaphore"));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: displayDeviceFullDialog: timeRemaining_semaphore"));
    EXPECT_EQ(s.c->statusTextColor.get(), (Colour{196, 196, 196, 1.0}));
    EXPECT_TRUE(test::waitFor([&] { return s.h.view->statusNow().pauseButtonTag == 4; }));
    EXPECT_EQ(lineWithDialog->get(), "Uploading file 3 of 100");
    EXPECT_TRUE(test::waitFor([&] {
        return s.c->progressStatusMsg1.get() == "Test Cloud is full";
    })) << s.c->progressStatusMsg1.get();
    EXPECT_FALSE(copy.finished());
    EXPECT_EQ(attempts->load(), 1);
    EXPECT_FALSE(fs::exists(s.at("big.bin")));
    // The host hears of the pause.
    ASSERT_TRUE(test::waitFor([&] {
        for (const auto& m : s.delegate->messages())
            if (m.paused) return true;
        return false;
    }));

    // The watcher keeps looking while there is no room; space is freed and it goes on.
    EXPECT_TRUE(s.c->deviceFull());
    layer.availableBytes = -1;
    ASSERT_TRUE(copy.waitFinished());

    EXPECT_TRUE(
        s.h.log->contains("QVTransfer: resumeTransferAfterDeviceHasFreeSpace: transfer_semaphore"));
    EXPECT_TRUE(s.h.view->called("endModal deviceFullDialog"));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: transferFile 2: transfer_semaphore"));
    EXPECT_EQ(attempts->load(), 2);
    EXPECT_EQ(test::readFile(s.at("big.bin")), "0123456789");
    // The window hears of the change on its own thread.
    EXPECT_TRUE(test::waitFor([&] { return s.h.view->statusNow().pauseButtonTag == 3; }));
    // A full device is not a failure: no record, one handled entry, one counter step.
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_EQ(s.c->inProcessSourceFilesArray.get(), std::vector<std::string>{s.at("big.bin")});
    EXPECT_EQ(s.c->job().progressValue, 4);
    EXPECT_EQ(s.c->job().inProcessDestFilePath.get(), "");
    // Nothing waits any more.
    EXPECT_EQ(s.c->job().waiters(), 0);
}

TEST(Retry, AFullDeviceThatStaysMarkedRetriesAtOnceWithoutADialog) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    // The first full device of this window was already shown.
    s.c->job().noteDeviceFullShown();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook(failCopies(attempts, 5, ENOSPC));
    test::writeFile(s.from("f.bin"), "f");

    s.c->transferFile(s.from("f.bin"), s.at("f.bin"), s.dst);

    EXPECT_EQ(attempts->load(), 6);
    EXPECT_EQ(test::readFile(s.at("f.bin")), "f");
    EXPECT_FALSE(s.h.view->called("runModal deviceFullDialog"));
    EXPECT_FALSE(s.h.log->contains("displayDeviceFullDialog"));
    // Nothing paused the upload this time: the file counts once it has arrived.
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_EQ(s.c->inProcessSourceFilesArray.get().size(), 1u);
    EXPECT_EQ(s.c->job().progressValue, 2);
}

TEST(Retry, AnUnknownWriteErrorOnAPlainFileIsALostDevice) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook(failCopies(attempts, 1, ETIMEDOUT));
    test::writeFile(s.from("doc.txt"), "doc");
    // The status while the dialog is up; after it the host's message changes it.
    auto statusWithDialog = std::make_shared<qvt::Guarded<std::string>>();
    {
        std::lock_guard lock(s.h.view->mutex);
        s.h.view->modalHooks[Dialog::DeviceMissing] = [c = s.c.get(), statusWithDialog] {
            statusWithDialog->set(c->progressStatus.get());
        };
    }

    CopyThread copy(s, s.from("doc.txt"), s.at("doc.txt"));
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceMissingDialog"); }));
    EXPECT_TRUE(s.c->reconnectingDevice());
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_FALSE(s.c->deviceFull());
    EXPECT_TRUE(s.h.log->contains("QVTransfer: displayDeviceDisconnect: transfer_semaphore"));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: displayDeviceDisconnect: timeRemaining_semaphore"));
    EXPECT_EQ(statusWithDialog->get(), "Uploading file 1 of 100\nTest Cloud is not connected");
    // The host hears that the device cannot be reached.
    ASSERT_TRUE(test::waitFor([&] {
        for (const auto& m : s.delegate->messages())
            if (m.paused && !m.reachable) return true;
        return false;
    }));

    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(test::readFile(s.at("doc.txt")), "doc");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_EQ(s.c->job().progressValue, 2);
}

TEST(Retry, ALostVolumeMakesAnyErrorADisconnect) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook(failCopies(attempts, 1, EACCES));
    layer.volumeLost = true;
    test::writeFile(s.from("doc.txt"), "doc");

    CopyThread copy(s, s.from("doc.txt"), s.at("doc.txt"));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceMissingDialog"); }));
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    EXPECT_TRUE(s.c->reconnectingDevice());
    EXPECT_GT(layer.volumeQueries.load(), 0);

    layer.volumeLost = false;
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(test::readFile(s.at("doc.txt")), "doc");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
}

// The device goes away while the finished copy is being renamed to its final name, so the
// rename gets no answer. When the device is back the file is at its name (the server did the
// rename) or still under its hidden name (it did not); either way it ends up once, whole and
// under its own name: never a second file with a "copy" name beside it.
class LostRename : public ::testing::TestWithParam<bool> {};

TEST_P(LostRename, TheFileEndsUpOnceUnderItsOwnName) {
    const bool serverRenamed = GetParam();
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto renames = std::make_shared<std::atomic<int>>(0);
    layer.setHook([&layer, renames, serverRenamed](const std::string& op, const std::string& from,
                                                   const std::string& to) -> std::optional<int> {
        if (op != "rename" || (*renames)++ != 0) return std::nullopt;
        layer.volumeLost = true;
        // Done by the server, the rename's second try on a new connection finds nothing to
        // rename.
        if (serverRenamed) std::filesystem::rename(from, to);
        return serverRenamed ? ENOENT : ECONNABORTED;
    });
    test::writeFile(s.from("photo.jpg"), "jpeg bytes");

    CopyThread copy(s, s.from("photo.jpg"), s.at("photo.jpg"));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceMissingDialog"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));

    layer.volumeLost = false;
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(test::readFile(s.at("photo.jpg")), "jpeg bytes");
    EXPECT_EQ(namesIn(s.dst), (std::vector<std::string>{"photo.jpg"}));
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_EQ(s.c->inProcessSourceFilesArray.get(), (std::vector<std::string>{s.at("photo.jpg")}));
    EXPECT_EQ(s.c->job().progressValue, 2);
    EXPECT_EQ(s.c->job().inProcessDestFilePath.get(), "");
}

INSTANTIATE_TEST_SUITE_P(Retry, LostRename, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Done" : "NotDone"; });

TEST(Retry, NothingIsTriedWhileTheDeviceIsBeingReconnected) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook(failCopies(attempts, 0, EIO));
    test::writeFile(s.from("x.txt"), "x");

    CopyThread copy(s, s.from("x.txt"), s.at("x.txt"));
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    EXPECT_EQ(attempts->load(), 0);
    EXPECT_FALSE(copy.finished());

    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(attempts->load(), 1);
    EXPECT_FALSE(s.h.view->called("runModal deviceMissingDialog"));
    EXPECT_EQ(test::readFile(s.at("x.txt")), "x");
    EXPECT_EQ(s.c->job().progressValue, 2);
}

TEST(Retry, AFullDeviceWhileCreatingAFolderRetriesTheWholeFolder) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    // No room until the test says so: the watcher must not end the wait by itself.
    layer.availableBytes = 0;
    auto attempts = std::make_shared<std::atomic<int>>(0);
    layer.setHook([attempts](const std::string& op, const std::string&,
                             const std::string&) -> std::optional<int> {
        if (op == "mkdir" && (*attempts)++ == 0) return ENOSPC;
        return std::nullopt;
    });
    test::writeFile(s.from("pics/a.jpg"), "a");

    CopyThread copy(s, s.from("pics"), s.at("pics"));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceFullDialog"); }));
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    EXPECT_FALSE(fs::exists(s.at("pics")));

    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(test::readFile(s.at("pics/a.jpg")), "a");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
}

TEST(Retry, ACancelReleasesTheWaitingCopyWithoutARecord) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    const auto attempts = fullForItsFirstCopy(layer);
    test::writeFile(s.from("big.bin"), "b");

    CopyThread copy(s, s.from("big.bin"), s.at("big.bin"));
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceFullDialog"); }));

    s.c->cancelQVTransfer();
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(attempts->load(), 1);
    EXPECT_FALSE(fs::exists(s.at("big.bin")));
    EXPECT_TRUE(s.c->inProcessSourceFilesArray.get().empty());
    EXPECT_EQ(s.c->job().inProcessDestFilePath.get(), "");
    EXPECT_EQ(s.delegate->cancelCount.load(), 1);
}

TEST(Retry, APauseInsideAFolderHoldsTheNextFileUntilResumed) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    auto paused = std::make_shared<std::atomic<bool>>(false);
    layer.setHook([dispatch, c, paused](const std::string& op, const std::string&,
                                        const std::string&) -> std::optional<int> {
        // The user presses pause while the first file is being copied.
        if (op == "copy" && !paused->exchange(true))
            dispatch->mainSync([c] { c->pauseTransfer(); });
        return std::nullopt;
    });
    test::writeFile(s.from("set/1.txt"), "1");
    test::writeFile(s.from("set/2.txt"), "2");
    test::writeFile(s.from("set/3.txt"), "3");

    CopyThread copy(s, s.from("set"), s.at("set"));
    ASSERT_TRUE(test::waitFor(
        [&] { return s.h.log->contains("QVTransfer: transferFile 1: transfer_semaphore"); }));
    // The file in hand was finished; the next one waits.
    EXPECT_EQ(s.c->inProcessSourceFilesArray.get().size(), 1u);
    EXPECT_EQ(namesIn(s.at("set")).size(), 1u);
    EXPECT_FALSE(copy.finished());

    s.c->resumeTransfer();
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_TRUE(s.h.log->contains("QVTransfer: transferFile 2: transfer_semaphore"));
    EXPECT_EQ(namesIn(s.at("set")), (std::vector<std::string>{"1.txt", "2.txt", "3.txt"}));
    EXPECT_EQ(s.c->inProcessSourceFilesArray.get().size(), 3u);
}

TEST(Retry, EachDeviceDialogIsShownOnceWhileItsFlagIsSet) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.availableBytes = 0;
    s.c->displayDeviceDisconnect();
    EXPECT_TRUE(s.c->job().pausedFor(engine::PauseReason::DeviceMissing));
    const Date pausedAt = s.c->job().pausedAt();
    s.c->displayDeviceDisconnect();

    // A full device joins the pause in force; the pause keeps the time it began.
    s.c->displayDeviceFullDialog();
    EXPECT_TRUE(s.c->job().pausedFor(engine::PauseReason::DeviceFull));
    s.c->displayDeviceFullDialog();
    EXPECT_EQ(s.c->job().pausedAt(), pausedAt);

    EXPECT_EQ(s.h.log->count("QVTransfer: displayDeviceDisconnect: transfer_semaphore"), 1u);
    EXPECT_EQ(s.h.log->count("QVTransfer: displayDeviceFullDialog: transfer_semaphore"), 1u);
    std::vector<std::string> calls;
    {
        std::lock_guard lock(s.h.view->mutex);
        calls = s.h.view->calls;
    }
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "runModal deviceMissingDialog"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "runModal deviceFullDialog"), 1);
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_TRUE(s.c->reconnectingDevice());
    EXPECT_TRUE(s.c->deviceFull());
    // The watchers go on until the upload ends.
    s.c->cancelUploadFiles(2);
    ASSERT_TRUE(s.settle());
}

namespace {

// Gives a copy thread the time to reach its next wait, then answers whether it has finished.
bool finishesWithin(CopyThread& copy, double seconds) {
    return copy.waitFinished(seconds);
}

}  // namespace

// A source written to while it is copied: its copy is of no moment of it. It is copied again at
// once (no wait for a device that never went away), and a file that goes on changing copy after
// copy is a failed item with its reason; nothing of it is left at the destination.
TEST(Retry, ASourceThatChangesWhileItIsCopiedIsCopiedAgainOrFailsWithItsReason) {
    for (const int changes : {1, 100}) {
        SCOPED_TRACE(changes);
        Session s;
        ASSERT_TRUE(s.c);
        s.c->job().numberOfFilesCountForTransfer = 100;
        FaultyFiles layer;
        ScopedFiles scoped(s, &layer);
        auto copies = std::make_shared<std::atomic<int>>(0);
        // Each copy is made whole, and then the source grows under it.
        layer.setHook([copies, changes](const std::string& op, const std::string& from,
                                        const std::string& to) -> std::optional<int> {
            if (op != "copy") return std::nullopt;
            std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
            if ((*copies)++ < changes) {
                std::ofstream grow(from, std::ios::app);
                grow << "+";
            }
            return 0;
        });
        test::writeFile(s.from("log.txt"), "log");
        CopyThread copy(s, s.from("log.txt"), s.at("log.txt"));
        ASSERT_TRUE(copy.waitFinished());
        EXPECT_FALSE(s.c->reconnectingDevice());
        EXPECT_FALSE(s.h.view->called("runModal deviceMissingDialog"));
        if (changes == 1) {
            EXPECT_EQ(copies->load(), 2);
            EXPECT_EQ(test::readFile(s.at("log.txt")), "log+");
            EXPECT_TRUE(s.c->failedTransferArray.get().empty());
        } else {
            EXPECT_EQ(copies->load(), 3);
            EXPECT_FALSE(fs::exists(s.at("log.txt")));
            const List failed = s.c->failedTransferArray.get();
            ASSERT_EQ(failed.size(), 1u);
            EXPECT_EQ(failed[0].asRecord()->string("localizedError"),
                      "The file changed while it was being uploaded, again and again. Upload it "
                      "once nothing writes to it any more.");
        }
        for (const auto& entry : fs::directory_iterator(s.dst))
            EXPECT_FALSE(engine::isTemporaryName(entry.path().filename().string())) << entry.path();
        EXPECT_EQ(test::readFile(s.from("log.txt")),
                  "log" + std::string(changes == 1 ? 1 : 3, '+'));
    }
}

// A source rewritten while it is copied, to the same size: the copy comes out of the size the
// source has, and yet its first part is old and the rest new. Such a copy is made again; none
// of its mixture ever gets the final name.
TEST(Retry, ASourceRewrittenToTheSameSizeWhileItIsCopiedIsCopiedAgain) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto copies = std::make_shared<std::atomic<int>>(0);
    layer.setHook([copies](const std::string& op, const std::string& from,
                           const std::string& to) -> std::optional<int> {
        if (op != "copy") return std::nullopt;
        if ((*copies)++ > 0) {
            std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
            return 0;
        }
        // The first half is read, then the whole file is written anew, then the rest is read.
        const std::string old = test::readFile(from);
        test::writeFile(from, "NEWNEWNE");
        const std::string now = test::readFile(from);
        test::writeFile(to, old.substr(0, 4) + now.substr(4));
        return 0;
    });
    test::writeFile(s.from("photo.raw"), "oldoldol");
    // Written long ago, as a photo is: the rewrite cannot fall in the same tick of the file
    // system's clock.
    std::filesystem::last_write_time(
        s.from("photo.raw"), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    CopyThread copy(s, s.from("photo.raw"), s.at("photo.raw"));
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(copies->load(), 2);
    EXPECT_EQ(test::readFile(s.at("photo.raw")), "NEWNEWNE");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_FALSE(s.h.view->called("runModal deviceMissingDialog"));
}

TEST(Retry, ADeviceWithOneByteFreeResumesTheUpload) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    const auto attempts = fullForItsFirstCopy(layer);
    test::writeFile(s.from("f.bin"), "ffff");

    CopyThread copy(s, s.from("f.bin"), s.at("f.bin"));
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceFullDialog"); }));
    // The watcher looks every 30 (scaled) seconds and finds no room.
    EXPECT_FALSE(finishesWithin(copy, 0.2));
    // Any free byte will do, not the size of the file.
    layer.availableBytes = 1;
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(test::readFile(s.at("f.bin")), "ffff");
    EXPECT_FALSE(s.c->deviceFull());
}

// A user who has just made room and presses Resume does not wait for the watcher's next look,
// which is 30 seconds away: here in real time, so that the look it would wait for comes long
// after the deadline.
TEST(Retry, ResumeWhileTheDeviceIsFullLooksForRoomAtOnce) {
    Session s(test::nasDevice(), 1.0);
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    const auto attempts = fullForItsFirstCopy(layer);
    test::writeFile(s.from("f.bin"), "ffff");

    CopyThread copy(s, s.from("f.bin"), s.at("f.bin"));
    // The copy waits out the pause and the watcher its 30 seconds after a first look.
    const auto bothWait = [&] { return test::waitFor([&] { return s.c->job().waiters() == 2; }); };
    ASSERT_TRUE(bothWait());
    // Resume with no room yet: the look finds none, and the upload stays paused.
    s.c->cancelUploadFiles(4);
    EXPECT_FALSE(finishesWithin(copy, 0.5));
    EXPECT_TRUE(s.c->deviceFull());
    EXPECT_TRUE(s.h.log->contains("resume asked while the device is full"));

    ASSERT_TRUE(bothWait());
    layer.availableBytes = 1;
    s.c->cancelUploadFiles(4);
    ASSERT_TRUE(copy.waitFinished(10));
    EXPECT_FALSE(s.c->deviceFull());
    EXPECT_EQ(test::readFile(s.at("f.bin")), "ffff");
    EXPECT_EQ(attempts->load(), 2);
}

TEST(Retry, ASecondFullDeviceTriesAgainNoSoonerThanASecondLater) {
    Session s(test::nasDevice(), 1.0);
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().noteDeviceFullShown();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto attempts = std::make_shared<std::atomic<int>>(0);
    const auto fail = failCopies(attempts, 2, ENOSPC);
    // Whether the upload says it waits for room, at each try.
    auto waitingAtTries = std::make_shared<std::vector<bool>>();
    auto c = s.c;
    layer.setHook([fail, waitingAtTries, c](const std::string& op, const std::string& from,
                                            const std::string& to) {
        if (op == "copy") waitingAtTries->push_back(c->job().stillFull);
        return fail(op, from, to);
    });
    test::writeFile(s.from("f.bin"), "f");
    const auto start = std::chrono::steady_clock::now();
    s.c->transferFile(s.from("f.bin"), s.at("f.bin"), s.dst);
    // Two refusals, each followed by a second's wait, then the copy that works.
    EXPECT_EQ(attempts->load(), 3);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
    EXPECT_EQ(test::readFile(s.at("f.bin")), "f");
    // The wait for room is told from the first refusal until the file has gone through.
    EXPECT_EQ(*waitingAtTries, (std::vector<bool>{false, true, true}));
    EXPECT_FALSE(s.c->job().stillFull);
    EXPECT_FALSE(s.c->statusSnapshot().stillFull);
}

TEST(Retry, ACancelAtTheMomentOfAClashLeavesTheFileThatWasThere) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    test::writeFile(s.at("photo.jpg"), "there before the upload");
    test::writeFile(s.from("photo.jpg"), "the upload's");
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    // The copy is whole and is about to take its name, which is taken: the user stops now.
    layer.setHook([dispatch, c](const std::string& op, const std::string&,
                                const std::string&) -> std::optional<int> {
        if (op == "rename") dispatch->mainSync([c] { c->cancelUploadFiles(2); });
        return std::nullopt;
    });
    CopyThread copy(s, s.from("photo.jpg"), s.at("photo.jpg"));
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_TRUE(s.c->uploadCancelled());
    EXPECT_EQ(test::readFile(s.at("photo.jpg")), "there before the upload");
    // Nothing half-done is left: no hidden copy.
    for (const auto& entry : fs::directory_iterator(s.dst))
        EXPECT_FALSE(engine::isTemporaryName(entry.path().filename().string())) << entry.path();
}

// A file of the system itself tells a size that is not what it holds (/proc/cpuinfo says 0
// bytes): its copy is never its size, and copying it again would never end. Twice the same
// size from a device that is there makes it a failed item, and the upload goes on.
TEST(Retry, ASourceThatDoesNotHoldItsSizeIsAFailedItemNotAnEndlessRetry) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    ASSERT_TRUE(fs::exists("/proc/cpuinfo"));
    CopyThread copy(s, "/proc/cpuinfo", s.at("cpuinfo"));
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_FALSE(s.h.view->called("runModal deviceMissingDialog"));
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("localizedError"),
              "The file's size does not match what can be read from it (files of the system "
              "itself, such as those in /proc, give no true size), so it cannot be copied whole.");
    EXPECT_TRUE(namesIn(s.dst).empty()) << "no copy, hidden or not, is left";
}

// A disk unmounted while the upload is paused leaves its empty mount point folder on the
// computer's own disk, where writes succeed. When the upload goes on, the destination is
// looked at first: the device is missing, and nothing is written until it is back.
TEST(Retry, ADiskGoneDuringAPauseIsWaitedForBeforeAnythingIsWritten) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().begin();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto copies = std::make_shared<std::atomic<int>>(0);
    auto dispatch = s.h.services.dispatch;
    auto c = s.c;
    // The user pauses while the first file is copied; the pause holds at the next file.
    layer.setHook([copies, dispatch, c](const std::string& op, const std::string&,
                                        const std::string&) -> std::optional<int> {
        if (op == "copy" && ++*copies == 1) dispatch->mainSync([c] { c->pauseTransfer(); });
        return std::nullopt;
    });
    test::writeFile(s.from("Trip/a.jpg"), "a");
    test::writeFile(s.from("Trip/b.jpg"), "b");
    CopyThread copy(s, s.from("Trip"), s.at("Trip"));
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    EXPECT_EQ(copies->load(), 1);

    layer.volumeLost = true;
    s.h.services.dispatch->mainSync([c] { c->resumeTransfer(); });
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceMissingDialog"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    EXPECT_EQ(copies->load(), 1) << "nothing was copied while the disk was gone";
    EXPECT_TRUE(s.c->reconnectingDevice());

    layer.volumeLost = false;
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    EXPECT_EQ(namesIn(s.at("Trip")), (std::vector<std::string>{"a.jpg", "b.jpg"}));
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
}
