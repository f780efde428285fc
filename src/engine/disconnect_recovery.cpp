// Recovery after the device was lost during an upload.
#include <memory>
#include <string>

#include "engine/status_lines.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

void QVTransferPrivate::resumeTransferAfterDisconnect() {
    // Only the announcement exists so far: remounting the destination and releasing the paused
    // copy arrive with the disconnect handling of the copy engine.
    log().write("QVTransfer: resumeTransferAfterDisconnect");
}

namespace {

// A pause of the copy and the estimator for a lost or full device. It joins a pause of the
// user's that is in force; the copy thread and the estimator wait until every reason has
// ended.
void pauseForDevice(QVTransferPrivate& c, qvt::engine::PauseReason reason, const char* operation) {
    c.job().pause(reason);
    c.log().write(qvt::platform::format("QVTransfer: %@: transfer_semaphore", operation));
    c.log().write(qvt::platform::format("QVTransfer: %@: timeRemaining_semaphore", operation));
}

// Shows the status and the dialog on the main thread without holding up the copy thread, then
// tells the host, with the warning line (the failures so far) added to the status.
void showDeviceDialog(QVTransferPrivate& c, qvt::Dialog dialog, bool resumeButton) {
    auto self = c.shared_from_this();
    c.dispatcher().mainAsync([self, dialog, resumeButton] {
        if (resumeButton) self->statusControls.with([](auto& s) { s.pauseButtonTag = 4; });
        self->showProgressStatus();
        const std::string message = qvt::platform::format(
            "%@\n%@", self->progressStatus.get(),
            self->statusControls.with([](const auto& s) { return s.errorWarningMessage; }));
        self->dispatcher().async(qvt::platform::QueuePriority::High,
                                 [self, message] { self->sendFileTransferStatusUpdate(message); });
        if (dialog == qvt::Dialog::DeviceFull)
            self->view()->showDeviceFull();
        else
            self->view()->showDeviceMissing();
    });
}

}  // namespace

// Both entry points below pause the upload and show their dialog; the copy thread then waits
// for the pause to end at its retry. The watchers that find the device again (or free space
// on it) and resume the upload come with the recovery work; until then only the user's cancel
// from the dialog ends the wait.
void QVTransferPrivate::displayDeviceDisconnect() {
    if (reconnectingDevice() || uploadCancelled()) return;
    pauseForDevice(*this, qvt::engine::PauseReason::DeviceMissing, "displayDeviceDisconnect");
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    const std::string lost =
        qvt::platform::format(localeDEVICE_DISCONNECT_txt, deviceInfo().string("productName"));
    progressStatus.set(qvt::platform::format("%@\n%@", lost, localeDEVICE_DISCONNECT_MSG_txt));
    subProgressStatus.set("");
    progressStatus.set(
        qvt::platform::format("%@\n%@", qvt::engine::filesProgressLine(*this), lost));

    // The state file learns that the device is unreachable.
    auto self = shared_from_this();
    dispatcher().async(qvt::platform::QueuePriority::Background,
                       [self] { self->saveQVTransferDataToFile(); });
    showDeviceDialog(*this, qvt::Dialog::DeviceMissing, false);
}

void QVTransferPrivate::displayDeviceFullDialog() {
    // Shown once per window: a second full device in the same window retries at once without
    // a dialog.
    if (uploadCancelled() || !job().noteDeviceFullShown()) return;
    pauseForDevice(*this, qvt::engine::PauseReason::DeviceFull, "displayDeviceFullDialog");
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    const std::string outOfSpace = localizedString("OUT_OF_SPACE_MSG_2_txt");
    progressStatus.set(qvt::platform::format("%@\n%@", localeUPLOAD_PAUSED_txt, outOfSpace));
    subProgressStatus.set("");
    progressStatus.set(
        qvt::platform::format("%@\n%@", qvt::engine::filesProgressLine(*this), outOfSpace));
    showDeviceDialog(*this, qvt::Dialog::DeviceFull, true);
}
