// Pause, resume, the stop confirmation, cancel and terminate, headless.
#include <gtest/gtest.h>

#include <filesystem>

#include "device/mount_destination.h"
#include "platform/plist_io.h"
#include "progress_fixture.h"

using namespace qvt;
using namespace qvt::test;
namespace fs = std::filesystem;

namespace {

constexpr Colour kNormal{75, 90, 104, 1.0};
constexpr Colour kGrey{196, 196, 196, 1.0};

// The pause button's role as the status screen last showed it.
int buttonTag(const ManualSession& s) {
    return s.h.view->statusNow().pauseButtonTag;
}

// A thread that plays the copy thread (or the estimator) at its pause check: it waits while
// the upload is paused.
class Waiter {
  public:
    explicit Waiter(engine::UploadJob& job)
        : thread_([this, &job] {
              started_ = true;
              job.waitWhilePaused();
              released_ = true;
          }) {}
    ~Waiter() {
        if (thread_.joinable()) thread_.join();
    }
    bool started() const { return started_.load(); }
    bool released() const { return released_.load(); }

  private:
    std::atomic<bool> started_{false}, released_{false};
    std::thread thread_;
};

// Whether `n` threads wait on the upload now.
bool waiting(const ManualSession& s, int n) {
    return waitFor([&] { return s.c->job().waiters() == n; });
}

// The state file's record for the session's device, once a background save has written it.
std::optional<Record> savedRecord(const ManualSession& s, const std::string& key = "SN-TEST") {
    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    if (!root || !root->asRecord()) return std::nullopt;
    const Record* r = root->asRecord()->record(key);
    if (!r) return std::nullopt;
    return *r;
}

}  // namespace

TEST(Pause, EntersThePausedState) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 12;
    s.c->job().progressValue = 4;
    s.c->subProgressStatus.set("something");
    s.c->statusControls.with([](auto& c) { c.errorWarningMessage = "2 files failed to upload"; });
    const Date before = s.clock->now();

    s.c->pauseTransfer();

    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_EQ(s.c->job().state(), engine::UploadState::Paused);
    EXPECT_TRUE(s.c->job().pausedFor(engine::PauseReason::User));
    EXPECT_EQ(s.c->job().pausedAt(), before);
    EXPECT_TRUE(s.h.log->contains("QVTransfer: pauseTransfer: transfer_semaphore"));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: pauseTransfer: timeRemaining_semaphore"));
    EXPECT_EQ(buttonTag(s), 4);
    EXPECT_EQ(s.c->statusTextColor.get(), kGrey);
    EXPECT_EQ(s.c->progressStatus.get(), "Uploading file 4 of 12\nUpload paused");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "Uploading file 4 of 12");
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Upload paused");
    EXPECT_EQ(s.c->subProgressStatus.get(), "");
    EXPECT_TRUE(s.h.view->called("showStatus"));

    // The host hears it from a background queue, with the warning line added.
    ASSERT_TRUE(waitFor([&] { return s.delegate->messageCount() == 1; }));
    const auto m = s.delegate->messages()[0];
    EXPECT_EQ(m.status, "Uploading file 4 of 12\nUpload paused\n2 files failed to upload");
    EXPECT_TRUE(m.paused);
    EXPECT_EQ(m.subStatus, "");
    EXPECT_NE(m.thread, std::this_thread::get_id());

    // And the state file records the pause.
    ASSERT_TRUE(waitFor([&] { return savedRecord(s).has_value(); }));
    EXPECT_TRUE(savedRecord(s)->boolean("isFileTransferPaused"));
}

TEST(Pause, ASecondPauseKeepsTheFirst) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));
    s.clock->advance(5);
    s.c->pauseTransfer();
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_FALSE(copy.released());
    EXPECT_EQ(s.h.log->count("QVTransfer: pauseTransfer: transfer_semaphore"), 1u);
    // The pause still dates from the first press.
    EXPECT_EQ(s.c->job().pausedAt() + std::chrono::seconds(5), s.clock->now());
    s.c->resumeTransfer();
    EXPECT_TRUE(waitFor([&] { return copy.released(); }));
}

TEST(Pause, APauseAfterAResumeNobodyWaitedForHoldsTheNextWaiter) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->pauseTransfer();
    s.c->resumeTransfer();
    // Nobody waited on the first pause; nothing of it lets the next waiter through.
    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));
    EXPECT_FALSE(copy.released());
    s.c->resumeTransfer();
    EXPECT_TRUE(waitFor([&] { return copy.released(); }));
}

TEST(Resume, ReleasesBothWaitersAndShiftsTheStartByThePause) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    const Date start = s.clock->now() - std::chrono::seconds(50);
    s.c->job().setStartedAt(start);
    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    Waiter estimator(s.c->job());
    ASSERT_TRUE(waiting(s, 2));
    EXPECT_FALSE(copy.released());
    EXPECT_FALSE(estimator.released());

    s.clock->advance(42);
    s.c->resumeTransfer();

    ASSERT_TRUE(waitFor([&] { return copy.released() && estimator.released(); }));
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_EQ(s.c->job().startedAt(), start + std::chrono::seconds(42));
    EXPECT_EQ(buttonTag(s), 3);
    EXPECT_EQ(s.c->statusTextColor.get(), kNormal);
    EXPECT_TRUE(s.h.log->contains("QVTransfer: resumeTransfer: transfer_semaphore"));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: resumeTransfer: timeRemaining_semaphore"));
}

// The time estimate leaves out a wait for the device: the start moves forward by exactly the
// time from the pause to the moment the copy goes on.
TEST(Resume, RoomOnTheDeviceAgainShiftsTheStartByTheWholeWait) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    const Date start = s.clock->now() - std::chrono::seconds(50);
    s.c->job().setStartedAt(start);
    s.c->job().pause(engine::PauseReason::DeviceFull);
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));

    s.clock->advance(42);
    s.c->resumeTransferAfterDeviceHasFreeSpace();

    ASSERT_TRUE(waitFor([&] { return copy.released(); }));
    EXPECT_FALSE(s.c->deviceFull());
    EXPECT_EQ(s.c->job().startedAt(), start + std::chrono::seconds(42));
    EXPECT_TRUE(
        s.h.log->contains("QVTransfer: resumeTransferAfterDeviceHasFreeSpace: transfer_semaphore"));
}

TEST(Resume, AVolumeBackShiftsTheStartByTheWaitAndItsSettlingTime) {
    test::TempDir volume;
    ManualSession s(dasDevice({volume.path()}));
    ASSERT_TRUE(s.c);
    const Date start = s.clock->now() - std::chrono::seconds(50);
    s.c->job().setStartedAt(start);
    s.c->job().pause(engine::PauseReason::DeviceMissing);
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));

    s.clock->advance(42);
    // The volume is back; the copy goes on after the 3 seconds it is given to settle.
    s.c->resumeOnDestinationVolume(volume.path());

    ASSERT_TRUE(waitFor([&] { return copy.released(); }));
    EXPECT_FALSE(s.c->reconnectingDevice());
    EXPECT_EQ(s.c->job().startedAt(), start + std::chrono::seconds(45));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: resumeTransferAfterDisconnect: transfer_semaphore"));
}

TEST(Resume, DoesNothingWhenNotPaused) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    const Date start = s.clock->now();
    s.c->job().setStartedAt(start);
    s.clock->advance(10);
    s.c->resumeTransfer();
    EXPECT_EQ(s.c->job().startedAt(), start);
    EXPECT_FALSE(s.h.log->contains("resumeTransfer"));
}

TEST(Resume, RefusedWhileTheDeviceIsFull) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->pauseTransfer();
    s.c->job().pause(qvt::engine::PauseReason::DeviceFull);
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));
    s.c->cancelUploadFiles(4);
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_EQ(buttonTag(s), 4);
    EXPECT_FALSE(s.h.log->contains("resumeTransfer"));
    EXPECT_FALSE(copy.released());
    // Room again: the device's pause ends, and the user's own pause is still in force.
    EXPECT_FALSE(s.c->job().resume(engine::PauseReason::DeviceFull));
    EXPECT_FALSE(copy.released());
    s.c->cancelUploadFiles(4);
    EXPECT_TRUE(waitFor([&] { return copy.released(); }));
    EXPECT_FALSE(s.c->uploadPaused());
}

// The end of the desktop session while the upload waits for room or for its device: the record
// is written as paused, and the device coming back before the process has ended does not set
// the copy going again behind that record.
TEST(EndOfSession, AWaitForTheDeviceStaysAPauseWhenTheDeviceComesBack) {
    for (const bool full : {true, false}) {
        SCOPED_TRACE(full ? "full" : "missing");
        ManualSession s;
        ASSERT_TRUE(s.c);
        const auto reason =
            full ? engine::PauseReason::DeviceFull : engine::PauseReason::DeviceMissing;
        s.c->job().pause(reason);
        Waiter copy(s.c->job());
        ASSERT_TRUE(waiting(s, 1));

        s.c->suspendForShutdown();
        EXPECT_TRUE(s.c->job().pausedFor(engine::PauseReason::User));
        // The device is back.
        EXPECT_FALSE(s.c->job().resume(reason));
        EXPECT_TRUE(s.c->uploadPaused());
        EXPECT_FALSE(copy.released());
        // A process that goes on after all: the user's resume lets the copy go on.
        s.c->resumeTransfer();
        EXPECT_TRUE(waitFor([&] { return copy.released(); }));
    }
}

TEST(PauseResumeButton, TagsThreeAndFourToggle) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->cancelUploadFiles(3);
    EXPECT_TRUE(s.c->uploadPaused());
    EXPECT_EQ(buttonTag(s), 4);
    s.c->cancelUploadFiles(4);
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_EQ(buttonTag(s), 3);
    // Any other tag does nothing but redraw.
    s.h.view->calls.clear();
    s.c->cancelUploadFiles(10);
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_FALSE(s.c->uploadCancelled());
    EXPECT_EQ(s.h.view->calls, std::vector<std::string>{"showStatus"});
}

TEST(StopConfirmation, StopOnARunningUploadPausesShowsTheDialogAndContinueResumes) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    const Date start = s.clock->now() - std::chrono::seconds(20);
    s.c->job().setStartedAt(start);
    bool pausedWhileShown = false;
    std::string prompt;
    s.h.view->modalHooks[Dialog::CancelUploadConfirm] = [&] {
        pausedWhileShown = s.c->uploadPaused();
        prompt = s.h.view->texts["stopUploadPrompt"];
        // The user reads the question for 30 seconds, then keeps uploading.
        s.clock->advance(30);
        s.c->cancelUploadFiles(1);
    };
    s.c->cancelUploadFiles(0);
    EXPECT_TRUE(pausedWhileShown);
    EXPECT_EQ(prompt, s.c->localeSTOP_UPLOAD_PROMPT_txt);
    EXPECT_TRUE(s.h.view->called("runModal cancelUploadConfDialog"));
    EXPECT_TRUE(s.h.view->called("endModal cancelUploadConfDialog"));
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_FALSE(s.c->uploadCancelled());
    EXPECT_EQ(s.c->job().startedAt(), start + std::chrono::seconds(30));
    EXPECT_EQ(buttonTag(s), 3);
}

TEST(StopConfirmation, TheAnswerDecides) {
    // Keep uploading resumes, Stop upload ends the upload, a question closed without a choice
    // leaves the upload paused for the resume button.
    {
        ManualSession s;
        ASSERT_TRUE(s.c);
        s.h.view->modalCodes[Dialog::CancelUploadConfirm] = 1;
        s.c->cancelUploadFiles(0);
        EXPECT_FALSE(s.c->uploadPaused());
        EXPECT_FALSE(s.c->uploadCancelled());
        ASSERT_EQ(s.h.view->stopQuestions.size(), 1u);
        EXPECT_EQ(s.h.view->stopQuestions[0].keepUploadingTitle, s.c->localeKEEP_UPLOADING_btn);
        EXPECT_EQ(s.h.view->stopQuestions[0].stopUploadTitle, s.c->localeSTOP_UPLOAD_btn);
    }
    {
        ManualSession s;
        ASSERT_TRUE(s.c);
        s.h.view->modalCodes[Dialog::CancelUploadConfirm] = 2;
        s.c->cancelUploadFiles(0);
        EXPECT_TRUE(s.c->uploadCancelled());
        EXPECT_EQ(s.delegate->cancelCount, 1);
    }
    {
        ManualSession s;
        ASSERT_TRUE(s.c);
        s.c->cancelUploadFiles(0);
        EXPECT_TRUE(s.c->uploadPaused());
        EXPECT_FALSE(s.c->uploadCancelled());
        EXPECT_EQ(buttonTag(s), 4);
    }
}

TEST(StopConfirmation, CancelTransferActsLikeTheStopButton) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    bool pausedWhileShown = false;
    s.h.view->modalHooks[Dialog::CancelUploadConfirm] = [&] {
        pausedWhileShown = s.c->uploadPaused();
    };
    s.c->cancelTransfer();
    EXPECT_TRUE(pausedWhileShown);
    EXPECT_TRUE(s.h.view->called("runModal cancelUploadConfDialog"));
}

TEST(StopConfirmation, StopWhilePausedDoesNotPauseAgain) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));
    const Date pausedAt = s.c->job().pausedAt();
    s.clock->advance(7);
    s.h.view->modalHooks[Dialog::CancelUploadConfirm] = [&] { s.c->cancelUploadFiles(1); };
    s.c->cancelUploadFiles(0);
    EXPECT_EQ(s.h.log->count("QVTransfer: pauseTransfer: transfer_semaphore"), 1u);
    EXPECT_EQ(s.c->job().pausedAt(), pausedAt);
    // Continue then resumes the first pause.
    EXPECT_FALSE(s.c->uploadPaused());
    EXPECT_TRUE(waitFor([&] { return copy.released(); }));
}

TEST(StopConfirmation, ContinueLeavesADeviceRecoveryPauseInForce) {
    for (const bool full : {true, false}) {
        ManualSession s;
        ASSERT_TRUE(s.c);
        s.c->pauseTransfer();
        if (full)
            s.c->job().pause(qvt::engine::PauseReason::DeviceFull);
        else
            s.c->job().pause(qvt::engine::PauseReason::DeviceMissing);
        s.h.view->modalHooks[Dialog::CancelUploadConfirm] = [&] { s.c->cancelUploadFiles(1); };
        s.c->cancelUploadFiles(0);
        EXPECT_TRUE(s.h.view->called("endModal cancelUploadConfDialog"));
        EXPECT_TRUE(s.c->uploadPaused()) << (full ? "full" : "reconnecting");
        EXPECT_FALSE(s.h.log->contains("resumeTransfer"));
        EXPECT_TRUE(s.c->job().pausedFor(full ? engine::PauseReason::DeviceFull
                                              : engine::PauseReason::DeviceMissing));
    }
}

TEST(Cancel, StopInTheDialogEndsTheUpload) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir dest;
    writeFile(dest / "done1.txt", "first");
    writeFile(dest / "done2.txt", "second");
    // The file in mid-copy is written under its hidden name; a file of the name it will get
    // was there before the upload.
    const std::string partial = dest / ".qvtransfer-0123456789abcdef.part";
    writeFile(partial, std::string(4096, 'p'));
    writeFile(dest / "big.bin", "there before");
    s.c->job().inProcessDestFilePath.set(partial);
    s.c->sourceFilesArray.set(List{Record{{"fullFilePath", "/src/a"}}});
    s.c->failedTransferArray.set(List{Record{{"sourceFilePath", "/src/b"}}});
    s.c->progressStatus.set("x\ny");
    s.c->subProgressStatus.set("z");
    TempDir mounts;
    const std::string mountPoint = mounts / "Public";
    fs::create_directories(mountPoint);
    s.c->mountObject->mountedPathsArray.set({mountPoint});

    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    Waiter estimator(s.c->job());
    ASSERT_TRUE(waiting(s, 2));
    s.h.view->modalHooks[Dialog::CancelUploadConfirm] = [&] { s.c->cancelUploadFiles(2); };
    s.c->cancelUploadFiles(0);

    EXPECT_TRUE(s.h.view->called("endModal cancelUploadConfDialog"));
    EXPECT_TRUE(s.c->uploadCancelled());
    EXPECT_TRUE(s.c->sourceFilesArray.get().empty());
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_TRUE(s.h.view->called("closeWindow"));
    EXPECT_EQ(s.c->progressStatus.get(), "");
    EXPECT_EQ(s.c->subProgressStatus.get(), "");
    // The file in mid-copy goes; the finished ones and the one that was there stay.
    EXPECT_FALSE(fs::exists(partial));
    EXPECT_EQ(readFile(dest / "big.bin"), "there before");
    EXPECT_EQ(readFile(dest / "done1.txt"), "first");
    EXPECT_EQ(readFile(dest / "done2.txt"), "second");
    // The paused threads wake up to see the cancel.
    EXPECT_TRUE(waitFor([&] { return copy.released() && estimator.released(); }));
    // The mount points are released, the host is told once, the drop area is let go.
    EXPECT_FALSE(fs::exists(mountPoint));
    EXPECT_EQ(s.delegate->cancelCount, 1);
    EXPECT_TRUE(s.h.view->called("detachSourceDropTarget"));
    // The state file says the last upload to this device was cancelled.
    ASSERT_TRUE(waitFor([&] { return savedRecord(s).has_value(); }));
    ASSERT_TRUE(s.h.services.dispatch->waitIdle(10));
    EXPECT_TRUE(savedRecord(s)->empty());
    EXPECT_EQ(s.delegate->cancelCount, 1);
}

TEST(Cancel, NoFileInMidCopyRemovesNothing) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir dest;
    writeFile(dest / "done.txt", "kept");
    s.c->job().inProcessDestFilePath.set("");
    s.c->cancelUploadFiles(2);
    EXPECT_EQ(readFile(dest / "done.txt"), "kept");
    EXPECT_EQ(s.delegate->cancelCount, 1);
}

TEST(Cancel, AFileInHandUnderAFinalNameIsNeverRemoved) {
    // Only a hidden copy the upload was writing is ever removed by a cancel: a final name in
    // hand (the moment a file is given its name) belongs to a whole file.
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir dest;
    writeFile(dest / "photo.jpg", "whole");
    s.c->job().inProcessDestFilePath.set(dest / "photo.jpg");
    s.c->cancelUploadFiles(2);
    EXPECT_EQ(readFile(dest / "photo.jpg"), "whole");
    EXPECT_EQ(s.c->job().inProcessDestFilePath.get(), "");
}

TEST(Cancel, FromTheLostConnectionDialog) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir mounts;
    const std::string a = mounts / "Public", b = mounts / "Photos";
    fs::create_directories(a);
    fs::create_directories(b);
    s.c->mountObject->mountedPathsArray.set({a, b});
    s.c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    s.c->pauseTransfer();
    Waiter copy(s.c->job());
    ASSERT_TRUE(waiting(s, 1));

    s.c->cancelQVTransfer();

    EXPECT_TRUE(s.h.view->called("endModal lostConnectionDialog"));
    EXPECT_TRUE(s.c->uploadCancelled());
    // The watcher for the lost device stops polling once the upload is cancelled.
    EXPECT_FALSE(s.c->reconnectingDevice());
    EXPECT_TRUE(waitFor([&] { return copy.released(); }));
    EXPECT_FALSE(fs::exists(a));
    EXPECT_FALSE(fs::exists(b));
    ASSERT_TRUE(s.h.services.dispatch->waitIdle(10));
    EXPECT_EQ(s.delegate->cancelCount, 1);
    EXPECT_TRUE(s.h.view->called("closeWindow"));
}

TEST(Cancel, WithoutAPauseEndsTheUploadAndLeavesNothingToWaitFor) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->cancelUploadFiles(2);
    EXPECT_TRUE(s.c->uploadCancelled());
    EXPECT_FALSE(s.c->uploadPaused());
    // A copy thread that comes to its pause check later goes straight on (to see the cancel).
    EXPECT_FALSE(s.c->job().waitWhilePaused());
    EXPECT_EQ(s.delegate->cancelCount, 1);
}

TEST(Terminate, EndsTheSessionAfterAnUploadWithErrors) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir mounts;
    const std::string mountPoint = mounts / "Public";
    fs::create_directories(mountPoint);
    s.c->mountObject->mountedPathsArray.set({mountPoint});
    s.c->job().complete();
    s.c->job().setFailed(true);
    s.c->failedTransferArray.set(List{Record{{"sourceFilePath", "/src/b"}}});
    s.c->sourceFilesArray.set(List{Record{{"fullFilePath", "/src/b"}}});

    s.c->terminateTransfer();

    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_TRUE(s.c->sourceFilesArray.get().empty());
    EXPECT_FALSE(s.c->isFileTransferFailed());
    EXPECT_TRUE(s.c->uploadCancelled());
    EXPECT_TRUE(s.h.view->called("endModal errorViewWindow"));
    EXPECT_FALSE(fs::exists(mountPoint));
    EXPECT_TRUE(s.h.view->called("detachSourceDropTarget"));
    ASSERT_TRUE(s.h.services.dispatch->waitIdle(10));
    EXPECT_EQ(s.delegate->cancelCount, 1);
    const auto record = savedRecord(s);
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->empty());
}
