// What the state file says of an upload that did not finish, for a front end that is about to
// start a new one: the file keeps one record in all, so a new upload's first write takes the
// place of any record there, whichever device it is for.
#pragma once

#include <optional>
#include <string>

namespace qvt::session {

// The state file's name, in the folder UserFolders::transferDataFolder() names.
inline constexpr const char* kStateFileName = "qvtransfer.plist";

struct RecordedUpload {
    // The key the record is filed under: a network device's serial number, or the UUID of the
    // volume an attached device's upload went to.
    std::string key;
    // "NAS" or "DAS" as the record says; empty in a record that does not say.
    std::string deviceType;
};

// The upload recorded in `stateFile` that still has sources to copy; nothing when the file is
// missing or unreadable, or records only finished or cancelled uploads.
std::optional<RecordedUpload> unfinishedUploadIn(const std::string& stateFile);

}  // namespace qvt::session
