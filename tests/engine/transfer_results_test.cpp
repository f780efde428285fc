// The per-file bookkeeping and the end of the upload: counters, failure records, the final
// texts, the failed list, the messages to the host and the release of the mounts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>

#include "device/mount_destination.h"
#include "engine_fixture.h"
#include "platform/plist_io.h"

using namespace qvt;
using namespace qvt::enginetest;

namespace {

// Makes every copy of a source whose name starts with "bad" fail with EACCES.
FaultyFiles::Hook failBadFiles() {
    return [](const std::string& op, const std::string& from,
              const std::string&) -> std::optional<int> {
        if ((op == "copy" || op == "move") &&
            fs::path(from).filename().string().rfind("bad", 0) == 0)
            return EACCES;
        return std::nullopt;
    };
}

// The end-of-upload message: the one carrying the final status. (A per-file message sent just
// before the end may also see the completed flag, as the flags are read when it is sent.)
std::optional<StatusMessage> completionMessage(const Session& s, const std::string& status) {
    for (const auto& m : s.delegate->messages())
        if (m.completed && m.status == status) return m;
    return std::nullopt;
}

}  // namespace

TEST(Results, EachFileStepsTheCounterAndTellsTheHost) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 4;
    s.c->progressStatus.set("Uploading file 1 of 4");
    s.c->subProgressStatus.set("stale");
    test::writeFile(s.at("done.bin"), "12345678");

    s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);

    EXPECT_EQ(s.c->job().progressValue, 2);
    EXPECT_EQ(s.c->job().totalTransferredFilesSize, 8u);
    EXPECT_EQ(s.c->subProgressStatus.get(), "");
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    ASSERT_TRUE(test::waitFor([&] { return s.delegate->messageCount() == 1; }));
    const auto m = s.delegate->messages()[0];
    EXPECT_EQ(m.status, "Uploading file 1 of 4");
    EXPECT_EQ(m.subStatus, "");
    EXPECT_FALSE(m.completed);
    EXPECT_NE(m.thread, std::this_thread::get_id());
    EXPECT_FALSE(s.c->isFileTransferCompleted());
}

// A host that is slower than the copy (it hands each message to its own GUI thread, say) must
// not collect a thread per file: while it holds one message, the messages of later files
// replace each other, and it gets the newest when it returns.
class SlowDelegate : public test::KeepingDelegate {
  public:
    void fileTransferStatusUpdate(bool completed, bool failed, bool cancelled, bool paused,
                                  bool reachable, const std::string& status,
                                  const std::string& subStatus) override {
        if (!entered_.exchange(true)) {
            std::unique_lock lock(mutex_);
            cv_.wait_for(lock, std::chrono::seconds(20), [&] { return released_; });
        }
        KeepingDelegate::fileTransferStatusUpdate(completed, failed, cancelled, paused, reachable,
                                                  status, subStatus);
    }
    bool entered() const { return entered_; }
    void release() {
        std::lock_guard lock(mutex_);
        released_ = true;
        cv_.notify_all();
    }

  private:
    std::atomic<bool> entered_{false};
    std::mutex mutex_;
    std::condition_variable cv_;
    bool released_ = false;
};

TEST(Results, AHostSlowerThanTheCopyGetsTheNewestStatusWithoutAThreadPerFile) {
    Session s;
    ASSERT_TRUE(s.c);
    auto slow = std::make_shared<SlowDelegate>();
    s.c->setDelegate(slow);
    s.c->job().numberOfFilesCountForTransfer = 1000;
    test::writeFile(s.at("done.bin"), "1");

    s.c->progressStatus.set("Uploading file 1 of 1000");
    s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);
    ASSERT_TRUE(test::waitFor([&] { return slow->entered(); }));
    // Whatever else the session started in the background ends; the send held in the slow
    // host stays.
    ASSERT_TRUE(test::waitFor([&] { return s.h.services.dispatch->running() == 1; }));
    for (int file = 2; file <= 200; ++file) {
        s.c->progressStatus.set("Uploading file " + std::to_string(file) + " of 1000");
        s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);
    }
    EXPECT_EQ(s.c->job().progressValue, 201);
    EXPECT_EQ(s.h.services.dispatch->running(), 1);

    slow->release();
    ASSERT_TRUE(s.settle());
    const auto messages = slow->messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].status, "Uploading file 1 of 1000");
    EXPECT_EQ(messages[1].status, "Uploading file 200 of 1000");
}

// Reports of files that follow one another closely go out spaced: the newest waits for the
// spacing. A pause, or a cancel, that sends its own status meanwhile is not covered up by it.
TEST(Results, AReportHeldForItsSpacingIsNotSentOverAPauseOrACancel) {
    for (const bool cancel : {false, true}) {
        Session s;
        ASSERT_TRUE(s.c);
        s.c->job().begin();
        s.c->job().numberOfFilesCountForTransfer = 1000;
        test::writeFile(s.at("done.bin"), "1");
        s.c->progressStatus.set("Uploading file 1 of 1000");
        s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);
        ASSERT_TRUE(test::waitFor([&] { return s.delegate->messageCount() == 1; }));

        s.c->progressStatus.set("Uploading file 2 of 1000");
        s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);
        if (cancel)
            ASSERT_TRUE(s.c->job().cancel());
        else
            ASSERT_TRUE(s.c->job().pause(engine::PauseReason::User));
        ASSERT_TRUE(s.settle());
        EXPECT_EQ(s.delegate->messageCount(), 1) << (cancel ? "cancel" : "pause");

        // Going on after a pause, the next report is sent.
        if (!cancel) {
            ASSERT_TRUE(s.c->job().resume(engine::PauseReason::User));
            s.c->progressStatus.set("Uploading file 3 of 1000");
            s.c->processFileTransferStatus(s.from("done.bin"), s.at("done.bin"), std::nullopt);
            ASSERT_TRUE(test::waitFor([&] { return s.delegate->messageCount() == 2; }));
            EXPECT_EQ(s.delegate->messages()[1].status, "Uploading file 3 of 1000");
        }
    }
}

TEST(Results, AFailureIsRecordedAndItsPartialFileCounted) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 4;
    test::writeFile(s.at("partial.bin"), "abc");

    s.c->processFileTransferStatus(s.from("partial.bin"), s.at("partial.bin"),
                                   TransferError{28, "No space left on device"});

    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(*failures[0].asRecord(), (Record{{"sourceFilePath", s.from("partial.bin")},
                                               {"destFilePath", s.at("partial.bin")},
                                               {"localizedError", "No space left on device"}}));
    EXPECT_EQ(s.c->job().totalTransferredFilesSize, 3u);
    EXPECT_EQ(s.c->job().progressValue, 2);
    EXPECT_TRUE(s.h.log->contains("QVTransfer: processFileTransferStatus of file/folder " +
                                  s.from("partial.bin") + " to " + s.dst + " Time: "));
    EXPECT_TRUE(s.h.log->contains(" Error: No space left on device"));
}

TEST(Results, NothingIsCountedWhileTheDeviceIsLostOrFull) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 4;
    test::writeFile(s.at("x.bin"), "xx");

    s.c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    s.c->processFileTransferStatus(s.from("x.bin"), s.at("x.bin"), TransferError{13, "denied"});
    s.c->job().pause(qvt::engine::PauseReason::DeviceFull);
    s.c->job().resume(qvt::engine::PauseReason::DeviceMissing);
    s.c->processFileTransferStatus(s.from("x.bin"), s.at("x.bin"), std::nullopt);

    // Recorded, sizes added, but no step and no message.
    EXPECT_EQ(s.c->failedTransferArray.get().size(), 1u);
    EXPECT_EQ(s.c->job().totalTransferredFilesSize, 4u);
    EXPECT_EQ(s.c->job().progressValue, 1);
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(s.delegate->messageCount(), 0u);
}

TEST(Results, AllFilesArrivedEndsWithTheAllFilesTextAndReleasesTheMounts) {
    Session s;
    ASSERT_TRUE(s.c);
    ASSERT_EQ(::geteuid(), 0u) << "mounting a test volume needs root";
    const std::string share = s.h.home.path() + "/home/.QVTransfer/Public";
    auto volume = TestVolume::tmpfs(share);
    ASSERT_TRUE(volume->ok());
    s.c->mountObject->mountedPathsArray.set({share});

    test::writeFile(s.from("a.txt"), "aa");
    test::writeFile(s.from("b.txt"), "bbb");
    s.setSources({s.from("a.txt"), s.from("b.txt")});
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.c->totalSourceFilesSize = 5;
    s.c->job().setFailed(true);  // left from an earlier upload
    s.c->subProgressStatus.set("old");

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_FALSE(s.c->isFileTransferFailed());
    EXPECT_EQ(s.c->progressStatus.get(), "All files uploaded");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "All files uploaded");
    EXPECT_EQ(s.c->subProgressStatus.get(), "");
    EXPECT_EQ(s.c->transferProgressValue, 5);
    EXPECT_EQ(s.c->transferProgressValue2, 5);
    const StatusSnapshot status = s.h.view->statusNow();
    EXPECT_EQ(status.closeButtonTitle, "Close");
    EXPECT_EQ(status.uploadedFilesLabel,
              s.c->localizedString("ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt"));
    EXPECT_EQ(status.uploadedFilesLinkTitle, "Test Cloud");
    EXPECT_TRUE(status.uploadedFilesShown);
    EXPECT_EQ(status.warning, "");
    EXPECT_TRUE(s.c->failedFilesListTreeControllerArray.get().empty());
    // The mounted share was released: no longer a mount point, its folder gone.
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_FALSE(fs::exists(share));

    const auto m = completionMessage(s, "All files uploaded");
    ASSERT_TRUE(m);
    EXPECT_FALSE(m->failed);
    EXPECT_NE(m->thread, std::this_thread::get_id());
    EXPECT_TRUE(s.h.log->contains(
        "QVTransfer: processFileTransferStatus: setIsFileTransferCompleted: YES Time: "));
    EXPECT_TRUE(hasLine(s, "QVTransfer: progressValue:2 numberOfFilesCountForTransfer:2\n"));
}

TEST(Results, SomeFailuresEndWithTheSomeFilesTextTheWarningAndTheFailedList) {
    Session s;
    ASSERT_TRUE(s.c);
    const std::string share = s.h.home.path() + "/mounted-share";
    fs::create_directories(share);
    s.c->mountObject->mountedPathsArray.set({share});
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook(failBadFiles());
    test::writeFile(s.from("good1.txt"), "1");
    test::writeFile(s.from("dir/bad-one.txt"), "x");
    test::writeFile(s.from("good2.txt"), "2");
    s.setSources({s.from("good1.txt"), s.from("dir"), s.from("good2.txt")});
    s.c->job().numberOfFilesCountForTransfer = 3;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_TRUE(s.c->isFileTransferFailed());
    EXPECT_EQ(s.c->progressStatus.get(), "2 of 3 files uploaded");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "2 of 3 files uploaded");
    const StatusSnapshot status = s.h.view->statusNow();
    EXPECT_EQ(status.warning, "1 files failed to upload");
    EXPECT_EQ(status.viewNowTitle, "View now");
    EXPECT_EQ(s.c->subProgressStatus.get(), "1 upload errors");
    EXPECT_EQ(s.c->failedFilesListTreeControllerArray.get(),
              (List{Record{{"fileName", "bad-one.txt"}, {"fileImage", "warningImage.png"}}}));
    EXPECT_TRUE(s.h.view->called("showFailedList"));
    {
        std::lock_guard lock(s.h.view->mutex);
        ASSERT_EQ(s.h.view->failedList.rows.size(), 1u);
        EXPECT_EQ(s.h.view->failedList.rows[0].fileName, "bad-one.txt");
    }
    EXPECT_EQ(status.uploadedFilesLinkTitle, "Test Cloud");
    ASSERT_EQ(status.failures.size(), 1u);
    EXPECT_EQ(status.failures[0].sourceFilePath, s.from("dir/bad-one.txt"));
    // With failures to retry, the shares stay mounted.
    EXPECT_TRUE(fs::exists(share));

    const auto m = completionMessage(s, "2 of 3 files uploaded\n1 files failed to upload");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->subStatus, "1 upload errors");
    EXPECT_TRUE(m->failed);
}

TEST(Results, WhenEveryFileFailsTheSomeFilesTextShowsNoneOfThem) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook(failBadFiles());
    test::writeFile(s.from("bad1.txt"), "1");
    test::writeFile(s.from("bad2.txt"), "2");
    test::writeFile(s.from("bad3.txt"), "3");
    s.setSources({s.from("bad1.txt"), s.from("bad2.txt"), s.from("bad3.txt")});
    s.c->job().numberOfFilesCountForTransfer = 3;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    EXPECT_TRUE(s.c->isFileTransferFailed());
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_EQ(s.c->progressStatus.get(), "0 of 3 files uploaded");
    EXPECT_EQ(s.h.view->statusNow().warning, "3 files failed to upload");
    const List rows = s.c->failedFilesListTreeControllerArray.get();
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].asRecord()->string("fileName"), "bad1.txt");
    EXPECT_EQ(rows[2].asRecord()->string("fileName"), "bad3.txt");
    for (const Value& r : rows) EXPECT_EQ(r.asRecord()->string("fileImage"), "warningImage.png");
    for (const Value& f : s.c->failedTransferArray.get())
        EXPECT_EQ(f.asRecord()->string("localizedError"), std::strerror(EACCES));
}

TEST(Results, TheEndStepSavesTheStateFile) {
    Session s;
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    layer.setHook(failBadFiles());
    test::writeFile(s.from("bad.txt"), "b");
    s.setSources({s.from("bad.txt")});
    s.c->job().numberOfFilesCountForTransfer = 1;

    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());

    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    ASSERT_TRUE(root && root->asRecord());
    const Record* record = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->boolean("isFileTransferCompleted"));
    EXPECT_TRUE(record->boolean("isFileTransferFailed"));
    const List* failed = record->list("failedTransferArray");
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->size(), 1u);
}
