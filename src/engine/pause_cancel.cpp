// Pausing, resuming and cancelling an upload.
//
// A pause puts the upload's state into "paused": the copy thread stops at its next file, the
// estimator at its next pass. Resuming or cancelling changes the state again, which wakes both.
// The log lines keep the names the two waits have always had in the log: transfer_semaphore for
// the copy thread, timeRemaining_semaphore for the estimator.
#include <memory>

#include "device/mount_destination.h"
#include "engine/status_lines.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/transfer_record.h"
#include "session/view.h"

namespace fmt = qvt::platform;
using qvt::Dialog;
using qvt::platform::QueuePriority;

namespace {

constexpr int kTagStop = 0;
constexpr int kTagContinue = 1;
constexpr int kTagStopUpload = 2;
constexpr int kTagPause = 3;
constexpr int kTagResume = 4;

// The end of an upload by the user: the stop confirmation's stop button and the lost-connection
// dialog's cancel button.
void runCancelSteps(QVTransferPrivate& c) {
    // Final: a paused copy thread and estimator wake up, see it and end, and a device-recovery
    // watcher stops looking.
    c.job().cancel();
    c.sourceFilesArray.set({});
    c.failedTransferArray.set({});
    c.view()->closeWindow();
    c.progressStatus.set("");
    c.subProgressStatus.set("");

    // With the emptied lists the file records that nothing is pending; the cancel flag makes
    // the record empty.
    auto self = c.shared_from_this();
    c.dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });

    // The file in mid-copy is incomplete: its hidden copy goes. Files finished earlier stay,
    // and nothing under a final name is touched.
    // A share refuses to remove a file still open for writing: the copy thread then removes
    // it when its copy ends, and lets the shares go after it.
    if (c.discardPartialCopy()) c.unmountEveryMountedShare();
    c.sendCancelledQVTransfer();
    c.view()->detachSourceDropTarget();
}

}  // namespace

void QVTransferPrivate::pauseTransfer() {
    // A second press while paused changes nothing: the pause keeps the time it began.
    if (uploadPaused()) return;
    // Every file is copied and the end waits only for the disk to take the last data: there
    // is nothing left to hold, and the upload ends whatever is pressed.
    if (job().flushingAtEnd) return;
    if (!job().pause(qvt::engine::PauseReason::User)) return;
    log().write("QVTransfer: pauseTransfer: transfer_semaphore");
    log().write("QVTransfer: pauseTransfer: timeRemaining_semaphore");

    statusControls.with([](StatusControls& s) { s.pauseButtonTag = kTagResume; });
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    progressStatus.set(qvt::engine::pausedStatusText(*this));
    subProgressStatus.set("");
    showProgressStatus();

    // The host hears the paused text together with the warning line (the failures so far).
    const std::string message = fmt::format(
        "%@\n%@", progressStatus.get(),
        statusControls.with([](const StatusControls& s) { return s.errorWarningMessage; }));
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });
    dispatcher().async(QueuePriority::High,
                       [self, message] { self->sendFileTransferStatusUpdate(message); });
}

void QVTransferPrivate::suspendForShutdown() {
    qvt::engine::UploadJob& upload = job();
    if (upload.completed() || upload.cancelled()) return;
    pauseTransfer();
    // An upload waiting for its device or for room is paused already, and pauseTransfer leaves
    // it so. The user's pause is added all the same: a device back before the process has ended
    // must not set the copy going again behind the record written now.
    upload.pause(qvt::engine::PauseReason::User);
    // Written here rather than on the background queue: the process may end as soon as this
    // returns.
    saveQVTransferDataToFileForExit();
    if (qvt::session::buildTransferDataRoot(deviceType(), deviceInfo().string("serialNumber"),
                                            selectedDASUUID.get(), qvt::Record{})
            .empty()) {
        // A volume with no identity (a RAM disk) gives no key to record the upload under, so
        // nothing can take it up: the file in hand's hidden copy would stay for good. The
        // upload ends here instead, and its copy stops between two pieces rather than go on
        // writing a file that is being removed.
        upload.cancel();
        discardPartialCopy();
        log().write("QVTransfer: suspendForShutdown: the upload cannot be recorded; it ends");
    } else {
        log().write("QVTransfer: suspendForShutdown: the upload's state is saved");
    }
    if (mountObject) mountObject->removeMountPointFoldersAtExit();
}

void QVTransferPrivate::suspendForEndOfSession() {
    const qvt::engine::UploadState state = job().state();
    if (state == qvt::engine::UploadState::Copying || state == qvt::engine::UploadState::Paused) {
        suspendForShutdown();
        return;
    }
    // No upload runs. One that has just ended has its last record written here, as the
    // background write of its end may not have run before the process ends; the shares go
    // before the process does. Once the hold on uploads is let go, that write has run, and the
    // file may hold another process's upload since.
    if (state != qvt::engine::UploadState::Idle && uploadClaim) saveQVTransferDataToFileForExit();
    log().write("QVTransfer: suspendForEndOfSession: no upload runs; the shares are let go");
    unmountEveryMountedShare();
}

void QVTransferPrivate::resumeTransfer() {
    // Only the user's own pause ends here: a lost or full device's pause ends when the device
    // is back or has room again.
    if (!job().pausedFor(qvt::engine::PauseReason::User) || reconnectingDevice() || deviceFull())
        return;

    statusControls.with([](StatusControls& s) { s.pauseButtonTag = kTagPause; });
    statusTextColor.set(qvt::engine::kNormalStatusColour);
    // The paused line goes at once rather than at the estimator's next round; the estimate
    // itself comes with that round.
    progressStatus.set(fmt::format(
        "%@\n%@", qvt::engine::filesProgressLine(*this),
        fmt::format("%@%@", localeESTIMATED_TIME_REMAINING_txt, localeCALCULATING_txt)));
    showProgressStatus();
    reloadStatus();

    // The paused time is not upload time: the state moves the start forward by the pause's
    // length, so the estimate's average rate ignores it, and wakes the copy thread and the
    // estimator.
    log().write("QVTransfer: resumeTransfer: transfer_semaphore");
    log().write("QVTransfer: resumeTransfer: timeRemaining_semaphore");
    job().resume(qvt::engine::PauseReason::User);
}

void QVTransferPrivate::cancelTransfer() {
    if (!uploadPaused()) pauseTransfer();
    const qvt::StopQuestion question{localeSTOP_UPLOAD_PROMPT_txt, localeKEEP_UPLOADING_btn,
                                     localeSTOP_UPLOAD_btn};
    // The dialog's two buttons act as the status buttons of tag 1 and 2. Closed another way,
    // the upload stays paused.
    switch (view()->askStopUpload(question)) {
        case qvt::StopAnswer::KeepUploading:
            cancelUploadFiles(kTagContinue);
            break;
        case qvt::StopAnswer::StopUpload:
            cancelUploadFiles(kTagStopUpload);
            break;
        case qvt::StopAnswer::Dismissed:
            break;
    }
}

void QVTransferPrivate::cancelUploadFiles(int senderTag) {
    switch (senderTag) {
        case kTagStop:
            cancelTransfer();
            break;
        case kTagContinue:
            view()->endModal(Dialog::CancelUploadConfirm);
            // A pause for a lost or full device belongs to its recovery and ends only there.
            if (!reconnectingDevice() && !deviceFull()) resumeTransfer();
            break;
        case kTagStopUpload:
            view()->endModal(Dialog::CancelUploadConfirm);
            runCancelSteps(*this);
            break;
        case kTagPause:
            pauseTransfer();
            statusControls.with([](StatusControls& s) { s.pauseButtonTag = kTagResume; });
            break;
        case kTagResume:
            // Resume while the device is full: the user may have just made room, so the
            // watcher looks at the free space now instead of at its next turn. A watcher that
            // has ended (the free space could not be read) is started again.
            if (deviceFull()) {
                log().write(
                    "QVTransfer: cancelUploadFiles: resume asked while the device is "
                    "full: looking at the free space now");
                if (!job().askForLook()) {
                    auto self = shared_from_this();
                    dispatcher().async(QueuePriority::Background,
                                       [self] { self->checkDeviceFreeSpace(); });
                }
            }
            resumeTransfer();
            // A refused resume (full device) leaves the button showing "resume".
            if (!uploadPaused())
                statusControls.with([](StatusControls& s) { s.pauseButtonTag = kTagPause; });
            break;
        default:
            break;
    }
    reloadStatus();
}

void QVTransferPrivate::cancelQVTransfer() {
    view()->endModal(Dialog::LostConnection);
    runCancelSteps(*this);
}

void QVTransferPrivate::terminateTransfer() {
    failedTransferArray.set({});
    job().setFailed(false);
    job().cancel();
    view()->endModal(Dialog::UploadErrors);
    sourceFilesArray.set({});
    failedTransferArray.set({});
    unmountEveryMountedShare();
    sendCancelledQVTransfer();
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Low, [self] { self->saveQVTransferDataToFile(); });
    view()->detachSourceDropTarget();
}
