// The platform version record: a property list with key "ProductVersion". On Linux the
// framework ships its own record with "10.10"; its path is a setting so tests can supply others.
#pragma once

#include <string>

namespace qvt::platform {

struct PlatformVersion {
    long major = 0;
    long minor = 0;
};

// The path of the shipped record, inside the library's resources (":/qvtransfer/...") unless a
// file path was set.
std::string versionRecordPath();
// Points the record at `path`; an empty path goes back to the shipped record.
void setVersionRecordPath(const std::string& path);

// Reads the record at `path` (a file path or a Qt resource path); a missing or malformed record
// or a missing component gives 0 for that component. A component counts by the integer it
// starts with ("10.9.5" gives 10 and 9; "abc" gives 0), and a "ProductVersion" that is not a
// string gives 0 for both.
PlatformVersion readPlatformVersion(const std::string& path);
inline PlatformVersion readPlatformVersion() {
    return readPlatformVersion(versionRecordPath());
}

}  // namespace qvt::platform
