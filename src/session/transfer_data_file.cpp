// The state file that lets an interrupted upload be taken up again.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::saveQVTransferDataToFile() {}
void QVTransfer::saveQVTransferDataToFileForEachFile() {}
