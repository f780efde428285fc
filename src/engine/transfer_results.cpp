// The bookkeeping of each handled file and the end of the upload.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::processFileTransferStatus(const std::string&, const std::string&,
                                           const std::optional<qvt::TransferError>&) {}
void QVTransfer::finishFileTransfer() {}
