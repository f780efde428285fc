// Building the state file's content from a snapshot of the upload, apart from the controller so
// the record's rules can be checked on plain values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::session {

// What one write of the state file records, taken from the controller at the time of the write.
struct TransferState {
    bool isFileTransferCompleted = false;
    bool isFileTransferFailed = false;
    bool isFileTransferCancelled = false;
    bool isFileTransferPaused = false;
    bool isDeviceReachable = true;
    std::string deviceType;
    std::string selectedDestinationShare;
    std::string progressStatus;
    std::string subProgressStatus;
    List sourceFilesArray;
    List transferredSourceFilesArray;
    std::vector<std::string> inProcessSourceFilesArray;
    List failedTransferArray;
    // The upload moves its sources: recorded (only then) so that taking it up moves them too.
    bool removeFilesAfterUpload = false;
    // The tag of the upload's hidden copies; 0 (none) is not written.
    std::uint32_t partialCopyTag = 0;
};

// The record's key that says the upload moves its sources (absent: it copies them).
inline constexpr const char* kMoveKey = "removeFilesAfterUpload";
// The record's key of the tag that marks the upload's hidden copies (8 hex digits): what a
// crash left at the destination is told from another upload's copies by it.
inline constexpr const char* kPartialCopyTagKey = "partialCopyTag";
// The tag a record holds; 0 when it holds none, or none of the right form.
std::uint32_t partialCopyTagOf(const Record& record);

// The keys of a pending source entry, in the order they are written.
inline constexpr const char* kPendingEntryKeys[] = {"filesSelectCheckbox", "fileName",
                                                    "fullFilePath",        "numberOfFiles",
                                                    "numberOfFolders",     "fileSize"};

// A source entry reduced to the six keys above, in that order. The entry ends at the first key
// whose value is missing: an entry without "fileName" keeps "filesSelectCheckbox" alone. A value
// that is not a record reduces to an empty record.
Record reducePendingEntry(const Value& sourceEntry);

// The source entries not yet copied: every entry of `sources` that equals no entry of
// `transferred`, reduced, in the order of the source list.
List pendingSourceEntries(const List& sources, const List& transferred);

// The TransferRecord of a running (not cancelled) upload. The state is taken by value so the
// record takes the snapshot's lists instead of copying them. The controller's writer puts only
// a marker in `inProcessSourceFilesArray` and streams the handled paths in when it writes.
Record buildTransferRecord(TransferState state);

// The file's root: `record` under the serial number for "NAS", under `dasUUID` for "DAS" once it
// is known; no entry otherwise.
Record buildTransferDataRoot(const std::string& deviceType, const std::string& serialNumber,
                             const std::string& dasUUID, Record record);

}  // namespace qvt::session
