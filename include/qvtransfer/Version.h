// Version symbols of the library, with C linkage so any host can look them up.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

extern const double QVTransferFrameworkVersionNumber;
extern const unsigned char QVTransferFrameworkVersionString[];

#ifdef __cplusplus
}
#endif
