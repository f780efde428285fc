// Recovery after the destination's device was lost during an upload: the pause and the
// device-missing dialog, the watcher that looks for the device, and the upload going on once
// the device is back (a network device's share mounted again, a local volume found again).
#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "device/device_requests.h"
#include "device/keychain.h"
#include "device/mount_destination.h"
#include "engine/device_pause.h"
#include "engine/path_names.h"
#include "engine/share_names.h"
#include "engine/status_lines.h"
#include "engine/volume_lookup.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "session/view.h"

namespace fs = qvt::platform;
using qvt::engine::isUnder;
using qvt::engine::mountedVolumeWithUuid;
using qvt::engine::PauseReason;
using qvt::platform::QueuePriority;

namespace {

// Seconds between two looks for the device.
constexpr double kReachabilityPoll = 3;
// Seconds a share mounted again is left to settle before the copy goes on.
constexpr double kRemountSettle = 3;

const char* const kResumeOperation = "resumeTransferAfterDisconnect";

// The mount points of the mount folder's entries (hidden ones skipped) whose share no longer
// answers. A share that answers again is no stale mount: leaving it mounted lets the mount
// that follows find it mounted, as the mount rules expect.
std::vector<std::string> staleMountPoints(const std::string& mountFolder) {
    std::vector<std::string> stale;
    auto& files = fs::files();
    if (!files.isFolder(mountFolder)) return stale;
    for (const std::string& name : files.listFolder(mountFolder)) {
        if (name.empty() || name.front() == '.') continue;
        const std::string path = qvt::engine::appendingPathComponent(mountFolder, name);
        if (files.isMountPoint(path) && !files.volumeFacts(path).remountURL.empty()) continue;
        stale.push_back(path);
    }
    return stale;
}

// Takes the entries already copied out of the source list, so that what is left is the queue.
void keepOnlyPendingSources(QVTransferPrivate& c) {
    const qvt::List transferred = c.transferredSourceFilesArray.get();
    c.sourceFilesArray.with([&](qvt::List& rows) {
        qvt::List pending;
        for (const qvt::Value& row : rows)
            if (std::find(transferred.begin(), transferred.end(), row) == transferred.end())
                pending.push_back(row);
        rows = std::move(pending);
    });
}

// The device's volume with filesystem UUID `uuid` mounted through the mount service (a disk
// that came back without being mounted), or "".
std::string mountVolumeWithUuid(QVTransferPrivate& c, const std::string& uuid) {
    const qvt::Record info = c.deviceInfo();
    const qvt::List* volumes = info.list("volumeArray");
    if (!volumes || uuid.empty()) return "";
    for (const qvt::Value& value : *volumes) {
        const qvt::Record* volume = value.asRecord();
        if (!volume || volume->string("uuid") != uuid) continue;
        const qvt::Value* mounted = volume->find("mounted");
        const std::string path = c.mountObject->mountDASVolume(
            volume->string("volumeName"), volume->string("bsdName"),
            mounted ? mounted->toInt64() : 0, volume->string("volumePath"), c.mountDir);
        if (!path.empty() && fs::files().volumeFacts(path).uuid == uuid) return path;
    }
    return "";
}

}  // namespace

void QVTransferPrivate::displayDeviceDisconnect() {
    if (reconnectingDevice() || uploadCancelled()) return;
    qvt::engine::pauseForDevice(*this, PauseReason::DeviceMissing, "displayDeviceDisconnect");
    statusTextColor.set(qvt::engine::kPausedStatusColour);

    const std::string lost =
        qvt::platform::format(localeDEVICE_DISCONNECT_txt, deviceInfo().string("productName"));
    progressStatus.set(qvt::platform::format("%@\n%@", lost, localeDEVICE_DISCONNECT_MSG_txt));
    subProgressStatus.set("");
    progressStatus.set(
        qvt::platform::format("%@\n%@", qvt::engine::filesProgressLine(*this), lost));

    // The dialog runs on the main thread while this (the copy) thread waits: until its Close
    // button, or until the host's device discovery finds the device again.
    dispatcher().mainSync([this] {
        showProgressStatus();
        view()->showDeviceMissing();
    });

    // Then the watcher looks for the device, and the host hears that it is missing.
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Background, [self] { self->checkDeviceReachability(); });
    dispatcher().async(QueuePriority::High, [self, lost] {
        if (!self->reconnectingDevice()) return;  // already back
        qvt::engine::setStatusLines(*self, self->localeLOST_CONNECTION_MSG_txt, lost);
        self->sendFileTransferStatusUpdate(qvt::engine::statusWithWarning(*self));
    });
}

void QVTransferPrivate::checkDeviceReachability() {
    // The state file learns that the device is unreachable.
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::Background, [self] { self->saveQVTransferDataToFile(); });

    if (deviceType() == "DAS") {
        watchForDestinationVolume();
        return;
    }
    // Only the same device, known by its serial number, is taken: another device that answers
    // at the address is never uploaded to.
    const std::string serial = deviceInfo().string("serialNumber");
    while (reconnectingDevice()) {
        const auto reply = qvt::device::requestSystemInformation(*services().http,
                                                                 deviceInfo().string("ipAddress"));
        // Once the device answers, a mount that did not work yet is tried again at once; a
        // resumption under way elsewhere (the host's discovery) is waited for.
        if (reply.serialNumber && *reply.serialNumber == serial) {
            log().write("QVTransfer: resumeTransferAfterDisconnect");
            if (resumeAfterDisconnectOnce()) continue;
        }
        if (job().waitUnlessEnded(kReachabilityPoll)) return;
    }
}

void QVTransferPrivate::resumeTransferAfterDisconnect() {
    log().write("QVTransfer: resumeTransferAfterDisconnect");
    resumeAfterDisconnectOnce();
}

bool QVTransferPrivate::resumeAfterDisconnectOnce() {
    // One resumption at a time: the watcher and the host's discovery may find the device
    // together.
    std::unique_lock lock(recoveryMutex, std::try_to_lock);
    if (!lock.owns_lock()) return false;
    if (!reconnectingDevice()) return true;
    if (deviceType() == "DAS") {
        resumeOnDestinationVolume(mountedVolumeWithUuid(selectedDASUUID.get()));
        return true;
    }
    keepOnlyPendingSources(*this);

    const qvt::Record info = deviceInfo();
    // Named, not bound: Clang 14 lets no lambda capture a structured binding.
    const auto credentials = qvt::keychain::getCredentials(info.string("serialNumber"));
    const std::string& user = credentials.first;
    const std::string& password = credentials.second;
    userName.set(user);
    userPassword.set(password);

    unmountSharesVolumes(staleMountPoints(userHomeDirectory + "/.QVTransfer"));

    // The share is mounted as a public one first, then as a private one. Only the first
    // attempt decides: after a second that worked, the next look finds the share mounted.
    const std::string share =
        qvt::engine::shareNameOfDestination(selectedDestinationShare.get(), mountDir);
    const auto mountAs = [&](const char* shareAccess) {
        return mountObject->mountNASShare(share, shareAccess, info.string("ipAddress"),
                                          info.string("productName"), info.string("hostName"),
                                          mountDir, user, password, "true");
    };
    const std::string first = mountAs("true");
    if (first.empty()) {
        mountAs("false");
        return true;
    }
    finishReconnection();
    return true;
}

void QVTransferPrivate::watchForDestinationVolume() {
    const std::string uuid = selectedDASUUID.get();
    while (reconnectingDevice()) {
        std::string path = mountedVolumeWithUuid(uuid);
        if (path.empty()) path = mountVolumeWithUuid(*this, uuid);
        if (!path.empty()) {
            {
                std::lock_guard lock(recoveryMutex);
                resumeOnDestinationVolume(path);
            }
            continue;
        }
        if (job().waitUnlessEnded(kReachabilityPoll)) return;
    }
}

void QVTransferPrivate::resumeOnDestinationVolume(const std::string& volumePath) {
    if (volumePath.empty() || !reconnectingDevice()) return;
    // The volume may be back at another mount point: the destination moves there with it,
    // with the files still to copy. The volume is known by its new identity from here on.
    const std::string oldRoot = destinationVolumeRoot.get();
    if (!oldRoot.empty() && oldRoot != volumePath) {
        destinationRebase.set({oldRoot, volumePath});
        selectedDestinationShare.with([&](std::string& destination) {
            if (isUnder(destination, oldRoot))
                destination = volumePath + destination.substr(oldRoot.size());
        });
        destinationVolumeRoot.set(volumePath);
    }
    destinationVolumeIdentity.set(
        fs::files().volumeFacts(selectedDestinationShare.get()).remountURL);
    keepOnlyPendingSources(*this);
    finishReconnection();
}

void QVTransferPrivate::finishReconnection() {
    view()->endModal(qvt::Dialog::DeviceMissing);
    // A cancel while the share settles ends the upload instead.
    if (job().waitUnlessEnded(kRemountSettle)) return;
    qvt::engine::endDevicePause(*this, PauseReason::DeviceMissing, kResumeOperation,
                                localeCONNECTION_RESTORED_txt, localeCONNECTION_RESTORED_MSG_txt);
}

std::string QVTransferPrivate::rebasedDestination(const std::string& path) const {
    const auto [oldRoot, newRoot] = destinationRebase.get();
    if (oldRoot.empty() || !isUnder(path, oldRoot)) return path;
    return newRoot + path.substr(oldRoot.size());
}
