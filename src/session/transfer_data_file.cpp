// The state file that lets an interrupted upload be taken up again.
//
// The file is a property list whose root holds one entry: the device's key (a network device's
// serial number, a local volume's UUID) and its TransferRecord. Every write builds a new root,
// so it replaces whatever the file held, another device's record included. The user name and
// the password are never written here; they live in the keychain.
#include <mutex>
#include <string>

#include "platform/clock.h"
#include "platform/plist_io.h"
#include "qvtransfer/QVTransfer.h"
#include "session/transfer_record.h"

void QVTransfer::saveQVTransferDataToFile() {
    const std::string serial = deviceInfo().string("serialNumber");
    const std::string uuid = selectedDASUUID.get();
    if (serial.empty() && uuid.empty()) return;

    std::lock_guard lock(transferDataFileLock);
    qvt::Record record;
    if (!uploadCancelled) {
        qvt::session::TransferState state;
        state.isFileTransferCompleted = isFileTransferCompleted;
        state.isFileTransferFailed = isFileTransferFailed;
        state.isFileTransferCancelled = uploadCancelled;
        state.isFileTransferPaused = uploadPaused;
        state.isDeviceReachable = !reconnectingDevice;
        state.deviceType = deviceType();
        state.selectedDestinationShare = selectedDestinationShare.get();
        state.progressStatus = progressStatus.get();
        state.subProgressStatus = subProgressStatus.get();
        // Copies taken now: the copy thread goes on changing the live lists meanwhile.
        state.sourceFilesArray = sourceFilesArray.get();
        state.transferredSourceFilesArray = transferredSourceFilesArray.get();
        state.inProcessSourceFilesArray = inProcessSourceFilesArray.get();
        state.failedTransferArray = failedTransferArray.get();
        record = qvt::session::buildTransferRecord(std::move(state));
    }
    // Each step hands its result on rather than copying it, so a write holds the handled-files
    // list about twice (the record and the writer's own nodes), not once per step.
    qvt::Record root =
        qvt::session::buildTransferDataRoot(deviceType(), serial, uuid, std::move(record));
    // A failed write leaves the old file; the next periodic write tries again.
    (void)qvt::platform::writePropertyList(transferDataFilePath, qvt::Value(std::move(root)));
}

void QVTransfer::saveQVTransferDataToFileForEachFile() {
    if (uploadCancelled) return;
    while (!isFileTransferCompleted && !isFileTransferFailed) {
        saveQVTransferDataToFile();
        clock().sleepFor(3);
        // A cancel during the sleep writes its own (empty) record.
        if (uploadCancelled) return;
    }
}
