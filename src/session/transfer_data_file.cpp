// The state file that lets an interrupted upload be taken up again.
//
// The file is a property list whose root holds one entry: the device's key (a network device's
// serial number, a local volume's UUID) and its TransferRecord. Every write builds a new root,
// so it replaces whatever the file held, another device's record included. The user name and
// the password are never written here; they live in the keychain.
#include <cerrno>
#include <cstdio>
#include <functional>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/plist_io.h"
#include "session/qvtransfer_private.h"
#include "session/transfer_record.h"

namespace {

// Stands for the handled-files list in the record until the file is written. No path looks
// like it (paths start with "/"), and its random part keeps any other text from matching it.
const std::string& handledPathsMarker() {
    static const std::string marker = [] {
        std::random_device random;
        char text[64];
        std::snprintf(text, sizeof text, "qvt-handled-paths-%08x%08x", random(), random());
        return std::string(text);
    }();
    return marker;
}

// The file's identity and size, "" when it is not there: a file written again, removed or
// replaced has another.
std::string fileStamp(const std::string& path) {
    auto& files = qvt::platform::files();
    const auto identity = files.identity(path);
    const auto size = files.size(path);
    if (!identity || !size) return "";
    return std::to_string(identity->device) + ":" + std::to_string(identity->inode) + ":" +
           std::to_string(*size);
}

}  // namespace

void QVTransferPrivate::saveQVTransferDataToFile() {
    writeTransferData(false);
}

void QVTransferPrivate::saveQVTransferDataToFileForExit() {
    writeTransferData(true);
}

void QVTransferPrivate::openRecordForWrites() {
    std::lock_guard lock(transferDataFileLock);
    recordSealedForExit = false;
    lastRootWritten.reset();
}

void QVTransferPrivate::sealRecord() {
    std::lock_guard lock(transferDataFileLock);
    recordSealedForExit = true;
}

void QVTransferPrivate::writeTransferData(bool last) {
    std::unique_lock lock(transferDataFileLock);
    if (last) {
        // Sealed before the write, under the same lock: from here on no other write starts.
        recordSealedForExit = true;
    } else if (recordSealedForExit) {
        // Still suspended, or ended since: the last record stands.
        if (job().state() != qvt::engine::UploadState::Copying) return;
        recordSealedForExit = false;  // the process did not end, and the upload went on
    }
    const std::string serial = deviceInfo().string("serialNumber");
    const std::string uuid = selectedDASUUID.get();
    if (serial.empty() && uuid.empty()) return;

    qvt::Record record;
    // The handled-files list can be long: it is written into the file straight from where it
    // is kept, in the place of a marker in the record, and is never copied whole.
    std::optional<qvt::HandledPaths::Snapshot> handled;
    if (!uploadCancelled()) {
        qvt::session::TransferState state;
        state.isFileTransferCompleted = isFileTransferCompleted();
        state.isFileTransferFailed = isFileTransferFailed();
        state.isFileTransferCancelled = uploadCancelled();
        state.isFileTransferPaused = uploadPaused();
        state.isDeviceReachable = !reconnectingDevice();
        state.deviceType = deviceType();
        state.selectedDestinationShare = selectedDestinationShare.get();
        state.progressStatus = progressStatus.get();
        state.subProgressStatus = subProgressStatus.get();
        // Copies taken now: the copy thread goes on changing the live lists meanwhile.
        state.sourceFilesArray = sourceFilesArray.get();
        state.transferredSourceFilesArray = transferredSourceFilesArray.get();
        handled = inProcessSourceFilesArray.snapshot();
        state.inProcessSourceFilesArray = {handledPathsMarker()};
        state.failedTransferArray = failedTransferArray.get();
        state.removeFilesAfterUpload = removeFilesAfterUpload;
        state.partialCopyTag = job().partialCopyTag;
        record = qvt::session::buildTransferRecord(std::move(state));
    }
    qvt::Record root =
        qvt::session::buildTransferDataRoot(deviceType(), serial, uuid, std::move(record));
    // The handled-files list only grows while an upload runs, so its length tells whether it
    // changed. A last write always goes to the file.
    const std::size_t handledCount = handled ? handled->size() : 0;
    if (!last && lastRootWritten && handledCount == lastHandledCountWritten &&
        *lastRootWritten == root && fileStamp(transferDataFilePath) == lastFileStampWritten)
        return;
    const std::uint64_t begun = ++transferDataWritesBegun;
    if (!last && !flushDestinationBeforeRecording(lock, begun)) return;
    lastRootWritten.reset();
    // A failed write leaves the old file; the next periodic write tries again.
    bool written = false;
    if (!handled || root.empty()) {
        written = qvt::platform::writePropertyList(transferDataFilePath, qvt::Value(root));
    } else {
        const qvt::platform::StreamedStrings paths{
            handledPathsMarker(), [&](const std::function<bool(std::string_view)>& each) {
                return handled->forEach(each);
            }};
        written = qvt::platform::writePropertyList(transferDataFilePath, qvt::Value(root), paths);
    }
    // A file removed again at once leaves no stamp, and the next pass writes it again.
    lastFileStampWritten = written ? fileStamp(transferDataFilePath) : std::string();
    if (!lastFileStampWritten.empty()) {
        lastRootWritten = std::move(root);
        lastHandledCountWritten = handledCount;
    }
}

bool QVTransferPrivate::flushDestinationBeforeRecording(std::unique_lock<std::mutex>& lock,
                                                        std::uint64_t begun) {
    // A file renamed to its final name may still sit in memory only: after a power cut, or a
    // disk pulled out, it would be there empty or cut short. The record says which sources are
    // done, and taking the upload up never copies a done source again; so the disk is flushed
    // before the record says so. A share's files are done at the server when they close. The last
    // write before the process ends goes without: the end of a session flushes the disks anyway,
    // and that write must not wait for a slow one.
    const qvt::engine::UploadState state = job().state();
    if (state != qvt::engine::UploadState::Copying && state != qvt::engine::UploadState::Paused)
        return true;
    const std::string destination = selectedDestinationShare.get();
    if (deviceType() != "DAS" || destination.empty()) return true;
    // The files renamed so far are what the flush covers; after a loss of the disk, the record
    // written before stands until the copy has looked behind it. The flush may take as long as
    // the disk needs for what is waiting to be written: the lock is let go meanwhile, so a
    // pause's or the session end's write is not held up by it.
    lock.unlock();
    const auto flush = job().flushArrivals(
        [&destination] { return qvt::platform::files().flushVolume(destination); });
    lock.lock();
    if (begun != transferDataWritesBegun || recordSealedForExit) return false;
    if (flush.vouched) return true;
    // The disk did not take what was written (gone, or failing): the record written before
    // stands, and what it calls done is on the disk.
    if (flush.rc != 0)
        log().write(qvt::platform::format(
            "QVTransfer: saveQVTransferDataToFile: flushVolume: %@ error %d; the record is not "
            "written\n",
            destination, flush.rc));
    return false;
}

void QVTransferPrivate::saveQVTransferDataToFileForEachFile() {
    qvt::engine::UploadJob& upload = job();
    if (upload.cancelled()) return;
    while (!upload.completed() && !upload.failed()) {
        saveQVTransferDataToFile();
        // The end of the upload ends the wait at once: a cancel writes its own (empty) record,
        // the completion its final one.
        if (upload.waitUnlessEnded(3)) return;
    }
}
