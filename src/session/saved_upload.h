// The record of an upload that did not finish, read back from the state file for the device
// it went to.
#pragma once

#include <string>

#include "platform/plist_outline.h"
#include "qvtransfer/Value.h"

namespace qvt::session {

// What the state file holds for the device.
enum class Saved { Record, Nothing, Unreadable };

struct SavedUpload {
    Saved status = Saved::Nothing;
    // The record's key (the serial number, or the volume's UUID) and the record.
    std::string key;
    qvt::Record record;
};

// Whether the record leaves anything to copy: an empty record is a cancelled upload, and a
// completed one has nothing pending.
bool leavesWork(const qvt::Record& record);
// The same question of a record's outline.
bool leavesWork(const platform::RecordOutline& record);

// The record in `file` of the upload to `deviceType` (a network device's under its serial
// number, an attached device's the file's one record) that still has sources to copy. A
// record whose destination or pending list cannot be used is Unreadable.
SavedUpload readSavedUpload(const std::string& file, const std::string& deviceType,
                            const std::string& serialNumber);

}  // namespace qvt::session
