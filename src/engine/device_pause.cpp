#include "engine/device_pause.h"

#include <memory>

#include "engine/status_lines.h"
#include "platform/dispatch.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"

namespace qvt::engine {

namespace {

constexpr int kTagPause = 3;
constexpr int kTagResume = 4;

}  // namespace

void pauseForDevice(QVTransferPrivate& c, PauseReason reason, const char* operation) {
    c.job().pause(reason);
    c.log().write(platform::format("QVTransfer: %@: transfer_semaphore", operation));
    c.log().write(platform::format("QVTransfer: %@: timeRemaining_semaphore", operation));
}

void setStatusLines(QVTransferPrivate& c, const std::string& first, const std::string& second) {
    c.progressStatus.set(platform::format("%@\n%@", first, second));
    c.progressStatusMsg1.set(first);
    c.progressStatusMsg2.set(second);
    auto self = c.shared_from_this();
    c.dispatcher().mainAsync([self] { self->reloadStatus(); });
}

std::string statusWithWarning(const QVTransferPrivate& c) {
    return platform::format(
        "%@\n%@", c.progressStatus.get(),
        c.statusControls.with([](const auto& s) { return s.errorWarningMessage; }));
}

void tellHost(QVTransferPrivate& c, const std::string& status) {
    auto self = c.shared_from_this();
    c.dispatcher().async(platform::QueuePriority::High,
                         [self, status] { self->sendFileTransferStatusUpdate(status); });
}

void endDevicePause(QVTransferPrivate& c, PauseReason reason, const char* operation,
                    const std::string& first, const std::string& second) {
    c.log().write(platform::format("QVTransfer: %@: transfer_semaphore", operation));
    c.log().write(platform::format("QVTransfer: %@: timeRemaining_semaphore", operation));
    // The state moves the start forward by the pause's length and wakes the copy thread and
    // the estimator, unless another reason keeps the upload paused.
    const bool goesOn = c.job().resume(reason);
    c.subProgressStatus.set("");
    if (goesOn) {
        c.statusControls.with([](auto& s) { s.pauseButtonTag = kTagPause; });
        c.statusTextColor.set(kNormalStatusColour);
        setStatusLines(c, first, second);
    } else {
        c.statusControls.with([](auto& s) { s.pauseButtonTag = kTagResume; });
        setStatusLines(c, filesProgressLine(c), c.localeUPLOAD_PAUSED_txt);
    }
    tellHost(c, c.progressStatus.get());
}

}  // namespace qvt::engine
