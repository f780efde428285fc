// Marks what the library exports. Everything else in it is hidden: a host sees only the
// controller's host interface, the delegate interfaces, device records, the stored-credentials
// functions and the version symbols.
#pragma once

#define QVT_EXPORT __attribute__((visibility("default")))
