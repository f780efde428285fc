// Version symbols of the library, with C linkage so any host can look them up.
#pragma once

#include "qvtransfer/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

QVT_EXPORT extern const double QVTransferFrameworkVersionNumber;
QVT_EXPORT extern const unsigned char QVTransferFrameworkVersionString[];

#ifdef __cplusplus
}
#endif
