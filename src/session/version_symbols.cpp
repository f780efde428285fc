#include "qvtransfer/Version.h"

// Defined with C linkage (declared extern "C" in the header) so that nm -D shows the plain
// names.
extern "C" {
const double QVTransferFrameworkVersionNumber = QVT_VERSION_NUMBER;
const unsigned char QVTransferFrameworkVersionString[] = "QVTransfer " QVT_VERSION_STRING;
}
