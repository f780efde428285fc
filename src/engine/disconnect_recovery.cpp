// Recovery after the device was lost during an upload.
#include "qvtransfer/QVTransfer.h"
#include "platform/log.h"

void QVTransfer::resumeTransferAfterDisconnect() {
    // Only the announcement exists so far: remounting the destination and releasing the paused
    // copy arrive with the disconnect handling of the copy engine.
    log().write("QVTransfer: resumeTransferAfterDisconnect");
}
