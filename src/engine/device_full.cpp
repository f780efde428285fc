// Recovery after the destination filled up during an upload: the pause and the device-full
// dialog, the watcher of the free space, and the upload going on once there is room again.
#include <memory>
#include <string>

#include "engine/device_pause.h"
#include "engine/path_names.h"
#include "engine/status_lines.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fs = qvt::platform;
using qvt::engine::PauseReason;
using qvt::platform::QueuePriority;

namespace {

// Seconds between two looks at the free space.
constexpr double kFreeSpacePoll = 30;
// The shortest time between two tries of a file on a device that stays full after its dialog
// was shown once, so such a device does not keep a core busy or fill the log.
constexpr double kFullRetryInterval = 1;
constexpr int kTagResume = 4;

// The folder whose volume's free space is watched. For a share, its mount point: the first
// folder below the mount folder on the way to the destination. A local volume's destination
// lies outside the mount folder; its own volume is watched.
std::string watchedVolumePath(const std::string& destination, const std::string& mountDir) {
    if (mountDir.empty() || destination.compare(0, mountDir.size(), mountDir) != 0 ||
        destination.size() <= mountDir.size() || destination[mountDir.size()] != '/')
        return destination;
    const std::size_t start = mountDir.size() + 1;
    const std::size_t end = destination.find('/', start);
    return qvt::engine::appendingPathComponent(
        mountDir, destination.substr(start, end == std::string::npos ? end : end - start));
}

}  // namespace

void QVTransferPrivate::displayDeviceFullDialog() {
    if (uploadCancelled()) return;
    // Shown once per window. A second full device in the same window shows no dialog and
    // starts no watcher: the copy tries again, no sooner than a second later, until it goes
    // through or fails another way.
    if (!job().noteDeviceFullShown()) {
        job().stillFull = true;
        job().waitUnlessEnded(kFullRetryInterval);
        return;
    }
    qvt::engine::pauseForDevice(*this, PauseReason::DeviceFull, "displayDeviceFullDialog");
    statusControls.with([](StatusControls& s) { s.pauseButtonTag = kTagResume; });
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    const std::string outOfSpace = localizedString("OUT_OF_SPACE_MSG_2_txt");
    progressStatus.set(qvt::platform::format("%@\n%@", localeUPLOAD_PAUSED_txt, outOfSpace));
    subProgressStatus.set("");
    progressStatus.set(
        qvt::platform::format("%@\n%@", qvt::engine::filesProgressLine(*this), outOfSpace));

    // The dialog runs on the main thread while this (the copy) thread waits for its Close
    // button.
    dispatcher().mainSync([this] {
        showProgressStatus();
        view()->showDeviceFull();
    });

    // Then the watcher looks at the free space, and the host hears that the device is full.
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Background, [self] { self->checkDeviceFreeSpace(); });
    dispatcher().async(QueuePriority::High, [self, outOfSpace] {
        if (!self->deviceFull()) return;  // room again already
        qvt::engine::setStatusLines(*self, self->localeDEVICE_FULL_MSG_txt, outOfSpace);
        self->sendFileTransferStatusUpdate(qvt::engine::statusWithWarning(*self));
    });
}

void QVTransferPrivate::checkDeviceFreeSpace() {
    // Registered while it runs, so that the Resume button's request for a look reaches it; a
    // second watcher would only end the same pause twice.
    if (!job().startLooking()) return;
    struct StopLooking {
        qvt::engine::UploadJob& job;
        ~StopLooking() { job.stopLooking(); }
    } stopLooking{job()};

    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Background, [self] { self->saveQVTransferDataToFile(); });

    const std::string volume = watchedVolumePath(selectedDestinationShare.get(), mountDir);
    while (deviceFull()) {
        // Any free byte will do, not the size of the next file: deliberate. A capacity that
        // cannot be read ends the watch; the upload then stays paused until the user acts.
        const auto available = fs::files().volumeFacts(volume).availableCapacity;
        if (!available) return;
        if (*available > 0) {
            resumeTransferAfterDeviceHasFreeSpace();
            return;
        }
        if (job().waitForNextLook(kFreeSpacePoll)) return;
    }
}

void QVTransferPrivate::resumeTransferAfterDeviceHasFreeSpace() {
    if (!deviceFull()) return;
    view()->endModal(qvt::Dialog::DeviceFull);
    qvt::engine::endDevicePause(
        *this, PauseReason::DeviceFull, "resumeTransferAfterDeviceHasFreeSpace",
        qvt::engine::filesProgressLine(*this), localeCONNECTION_RESTORED_MSG_txt);
}
