// Stored credentials of a network device: one keychain item per device serial number, holding
// "user:password". The two functions have C linkage so any host can call them by name.
#pragma once

#include <stdint.h>

#include "qvtransfer/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Status codes returned by SetKeychainUsernameAndPasswordForNAS (the keychain's 32-bit status).
enum {
    QVTransferKeychainSuccess = 0,
    QVTransferKeychainParamError = -50,
    QVTransferKeychainNotAvailable = -25291,  // no secret service is reachable at all
    QVTransferKeychainAuthFailed = -25293,    // unlock refused or dismissed, or access denied
    QVTransferKeychainItemNotFound = -25300,
    QVTransferKeychainInternalError = -26276  // any other failure of the secret service
};

// Reads the user name and password stored for the device. Both outputs are always set to
// strings allocated with malloc (free them with QVTransferFreeString); a missing item, a
// keychain that cannot be read or data without a colon give "admin" and "".
QVT_EXPORT void GetKeychainUsernameAndPasswordForNAS(const char* serialNumber, char** userName,
                                                     char** password);

// Stores "userName:password" for the device, replacing the data of an existing item. Returns 0
// on success, QVTransferKeychainAuthFailed (and writes nothing) when the keychain refuses
// access, or another keychain status.
QVT_EXPORT int32_t SetKeychainUsernameAndPasswordForNAS(const char* serialNumber,
                                                        const char* userName, const char* password);

// Frees a string returned by GetKeychainUsernameAndPasswordForNAS. NULL is allowed.
QVT_EXPORT void QVTransferFreeString(char* string);

#ifdef __cplusplus
}
#endif
