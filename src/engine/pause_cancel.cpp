// Pausing, resuming and cancelling an upload.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::pauseTransfer() {}
void QVTransfer::resumeTransfer() {}
void QVTransfer::cancelTransfer() {}
void QVTransfer::cancelUploadFiles(int) {}
void QVTransfer::cancelQVTransfer() {}
void QVTransfer::terminateTransfer() {}
