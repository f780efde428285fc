// Pausing, resuming and cancelling an upload.
//
// A pause creates two counting semaphores of count 0: the copy thread waits on
// transfer_semaphore at its next file, the estimator on timeRemaining_semaphore at its next
// pass. Resuming or cancelling signals each one that still exists once, which releases its one
// waiter (or leaves a count of 1 that the next pause replaces).
#include <memory>

#include "device/mount_destination.h"
#include "engine/status_lines.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fmt = qvt::platform;
using qvt::Dialog;
using qvt::platform::QueuePriority;

namespace {

constexpr const char* kPauseResumeButton = "pauseResumeTransferButton";
constexpr int kTagStop = 0;
constexpr int kTagContinue = 1;
constexpr int kTagStopUpload = 2;
constexpr int kTagPause = 3;
constexpr int kTagResume = 4;

// Releases the one waiter of each pause semaphore that exists.
void signalPauseSemaphores(QVTransferPrivate& c) {
    if (const auto s = c.transfer_semaphore.get()) s->release();
    if (const auto s = c.timeRemaining_semaphore.get()) s->release();
}

// The end of an upload by the user: the stop confirmation's stop button and the lost-connection
// dialog's cancel button.
void runCancelSteps(QVTransferPrivate& c) {
    c.uploadCancelled = true;
    // A device-recovery watcher polls while this is set; a cancelled upload has nothing left to
    // recover.
    c.reconnectingDevice = false;
    c.sourceFilesArray.set({});
    c.failedTransferArray.set({});
    c.view()->closeWindow();
    c.progressStatus.set("");
    c.subProgressStatus.set("");

    // With the emptied lists the file records that nothing is pending; the cancel flag makes
    // the record empty.
    auto self = c.shared_from_this();
    c.dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });

    // The file in mid-copy is incomplete: remove it. Files finished earlier stay.
    const std::string inProcess = c.inProcessDestFilePath.get();
    if (!inProcess.empty()) fmt::files().removeItem(inProcess);

    // Wake a paused copy thread and estimator; they see the cancel flag and end.
    signalPauseSemaphores(c);

    if (c.mountObject) c.unmountSharesVolumes(c.mountObject->mountedPathsArray.get());
    c.sendCancelledQVTransfer();
    c.view()->detachSourceDropTarget();
}

}  // namespace

void QVTransferPrivate::pauseTransfer() {
    if (uploadPaused) return;
    pausedstartDateTime.set(clock().now());

    transfer_semaphore.set(std::make_shared<qvt::PauseSemaphore>(0));
    log().write("QVTransfer: pauseTransfer: transfer_semaphore");
    timeRemaining_semaphore.set(std::make_shared<qvt::PauseSemaphore>(0));
    log().write("QVTransfer: pauseTransfer: timeRemaining_semaphore");
    uploadPaused = true;

    view()->setTag(kPauseResumeButton, kTagResume);
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    progressStatus.set(qvt::engine::pausedStatusText(*this));
    subProgressStatus.set("");
    showProgressStatus();

    // The host hears the paused text together with the warning line (the failures so far).
    const std::string message =
        fmt::format("%@\n%@", progressStatus.get(), view()->text("errorWarningMessage"));
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });
    dispatcher().async(QueuePriority::High,
                       [self, message] { self->sendFileTransferStatusUpdate(message); });
}

void QVTransferPrivate::resumeTransfer() {
    // A full device's pause ends only when the device has room again.
    if (!uploadPaused || deviceFull) return;

    view()->setTag(kPauseResumeButton, kTagPause);
    statusTextColor.set(qvt::engine::kNormalStatusColour);
    view()->reload("statusView");

    // The paused time is not upload time: move the start forward by the pause's length, so the
    // estimate's average rate ignores it.
    const qvt::Date now = clock().now();
    const qvt::Date pausedAt = pausedstartDateTime.get();
    uploadstartDateTime.with([&](qvt::Date& start) { start += now - pausedAt; });

    // The flag goes down before the signals, so a woken thread never finds the pause still
    // set; the semaphores signalled are the ones of the pause being ended.
    const auto copyThread = transfer_semaphore.get();
    const auto estimator = timeRemaining_semaphore.get();
    log().write("QVTransfer: resumeTransfer: transfer_semaphore");
    log().write("QVTransfer: resumeTransfer: timeRemaining_semaphore");
    uploadPaused = false;
    if (copyThread) copyThread->release();
    if (estimator) estimator->release();

    // A pause between two top-level sources ended the copy loop: start it again where it
    // stopped, or the upload would sit still with nothing left to copy its remaining sources.
    if (copyLoopEndedByPause.exchange(false) && !uploadCancelled) {
        auto self = shared_from_this();
        const std::size_t next = copyLoopNextIndex;
        dispatcher().async(QueuePriority::High, [self, next] { self->copySourceFiles(next); });
    }
}

void QVTransferPrivate::cancelTransfer() {
    if (!uploadPaused) pauseTransfer();
    view()->setText("stopUploadPrompt", localeSTOP_UPLOAD_PROMPT_txt);
    view()->setText("keepUploadingButton", localeKEEP_UPLOADING_btn);
    view()->setText("stopUploadButton", localeSTOP_UPLOAD_btn);
    // The dialog's buttons come back through cancelUploadFiles with tag 1 or 2.
    view()->runModal(Dialog::CancelUploadConfirm);
}

void QVTransferPrivate::cancelUploadFiles(int senderTag) {
    switch (senderTag) {
        case kTagStop:
            cancelTransfer();
            break;
        case kTagContinue:
            view()->endModal(Dialog::CancelUploadConfirm, kTagContinue);
            // A pause for a lost or full device belongs to its recovery and ends only there.
            if (!reconnectingDevice && !deviceFull) resumeTransfer();
            break;
        case kTagStopUpload:
            view()->endModal(Dialog::CancelUploadConfirm, kTagStopUpload);
            runCancelSteps(*this);
            break;
        case kTagPause:
            pauseTransfer();
            view()->setTag(kPauseResumeButton, kTagResume);
            break;
        case kTagResume:
            resumeTransfer();
            // A refused resume (full device) leaves the button showing "resume".
            if (!uploadPaused) view()->setTag(kPauseResumeButton, kTagPause);
            break;
        default:
            break;
    }
    view()->reload("statusView");
}

void QVTransferPrivate::cancelQVTransfer() {
    view()->endModal(Dialog::LostConnection, 0);
    runCancelSteps(*this);
}

void QVTransferPrivate::terminateTransfer() {
    failedTransferArray.set({});
    isFileTransferFailed = false;
    uploadCancelled = true;
    view()->endModal(Dialog::UploadErrors, 0);
    sourceFilesArray.set({});
    failedTransferArray.set({});
    if (mountObject) unmountSharesVolumes(mountObject->mountedPathsArray.get());
    sendCancelledQVTransfer();
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });
    view()->detachSourceDropTarget();
}
