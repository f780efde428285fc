// Recovery after the device was lost during an upload.
#include "platform/log.h"
#include "qvtransfer/QVTransfer.h"

void QVTransfer::resumeTransferAfterDisconnect() {
    // Only the announcement exists so far: remounting the destination and releasing the paused
    // copy arrive with the disconnect handling of the copy engine.
    log().write("QVTransfer: resumeTransferAfterDisconnect");
}

void QVTransfer::displayDeviceDisconnect() {}
void QVTransfer::displayDeviceFullDialog() {}
