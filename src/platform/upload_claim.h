// Which process is running an upload. The state file keeps one upload in all, so two processes
// uploading at once would take turns replacing each other's record, and a resume started
// beside a running upload would clear that upload's hidden partial copies as leftovers.
//
// A process that has an upload open (from its start until the process ends, the controller that
// ran it goes, or the upload ends with every file arrived and recorded) holds an exclusive lock on
// a file beside the state file, with its process number written in it. The kernel lets the lock go
// when the process ends, however it ends, so a lock that is held tells an open upload from one that
// a crash or a kill interrupted. Two controllers of one process share the hold: the lock keeps
// processes apart, not them.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace qvt::platform {

// The lock file's name, in the folder that holds the state file.
inline constexpr const char* kUploadClaimFileName = "qvtransfer.lock";

// This process's hold on the lock; the lock goes with the last copy.
using UploadClaim = std::shared_ptr<const void>;

// Takes the lock at `path` for this process, or shares the hold this process already has
// (controllers in one process never refuse each other). Nothing when another process holds
// it; `holder` then names that process (0 when its number could not be read). A lock file that
// cannot be made (a read-only folder) refuses no one: a claim is given that holds nothing.
UploadClaim claimUploads(const std::string& path, long* holder);

// The other process that holds the lock at `path` (0 when its number could not be read);
// nothing when none does, or when the holder is this process.
std::optional<long> uploadsClaimedElsewhere(const std::string& path);

}  // namespace qvt::platform
