// The upload's start and its copy loop over the source list.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::uploadFiles() {}
void QVTransfer::copySourceFiles() {}
void QVTransfer::moveSourceToTrash(const std::string&) {}
