#include "session/transfer_record.h"

#include <algorithm>

#include "engine/partial_copy.h"

namespace qvt::session {

Record reducePendingEntry(const Value& sourceEntry) {
    Record reduced;
    const Record* entry = sourceEntry.asRecord();
    if (!entry) return reduced;
    for (const char* key : kPendingEntryKeys) {
        const Value* value = entry->find(key);
        // The list of pairs ends at the first missing value; what follows it is not written
        // even when present. A null counts as missing: a property list cannot hold it.
        if (!value || value->isNull()) break;
        reduced.set(key, *value);
    }
    return reduced;
}

List pendingSourceEntries(const List& sources, const List& transferred) {
    List pending;
    for (const Value& entry : sources) {
        const bool copied =
            std::find(transferred.begin(), transferred.end(), entry) != transferred.end();
        if (!copied) pending.push_back(reducePendingEntry(entry));
    }
    return pending;
}

Record buildTransferRecord(TransferState s) {
    List inProcess;
    inProcess.reserve(s.inProcessSourceFilesArray.size());
    for (auto& path : s.inProcessSourceFilesArray) inProcess.push_back(std::move(path));
    s.inProcessSourceFilesArray = {};

    Record record;
    record.set("isFileTransferCompleted", s.isFileTransferCompleted);
    record.set("isFileTransferFailed", s.isFileTransferFailed);
    record.set("isFileTransferCancelled", s.isFileTransferCancelled);
    record.set("isFileTransferPaused", s.isFileTransferPaused);
    record.set("isDeviceReachable", s.isDeviceReachable);
    record.set("deviceType", s.deviceType);
    record.set("selectedDestinationShare", s.selectedDestinationShare);
    record.set("progressStatus", s.progressStatus);
    record.set("subProgressStatus", s.subProgressStatus);
    // A completed upload has handled every source. The copy loop leaves out of its transferred
    // list the entry inside which the upload ended (completion is reached at its last file),
    // so that entry must not be taken for one still to copy.
    record.set("sourceFilesPendingArray",
               s.isFileTransferCompleted
                   ? List{}
                   : pendingSourceEntries(s.sourceFilesArray, s.transferredSourceFilesArray));
    record.set("inProcessSourceFilesArray", std::move(inProcess));
    record.set("failedTransferArray", std::move(s.failedTransferArray));
    // A key of this program's own, written only for a move: what the user chose at the start
    // holds for the rest of the upload after a restart too.
    if (s.removeFilesAfterUpload) record.set(kMoveKey, true);
    if (s.partialCopyTag != 0)
        record.set(kPartialCopyTagKey, engine::partialCopyTagText(s.partialCopyTag));
    return record;
}

std::uint32_t partialCopyTagOf(const Record& record) {
    const Value* tag = record.find(kPartialCopyTagKey);
    return tag && tag->isString() ? engine::partialCopyTagFrom(record.string(kPartialCopyTagKey))
                                  : 0;
}

Record buildTransferDataRoot(const std::string& deviceType, const std::string& serialNumber,
                             const std::string& dasUUID, Record record) {
    Record root;
    // A network device without a serial number has no key to file its record under.
    if (deviceType == "NAS" && !serialNumber.empty())
        root.set(serialNumber, std::move(record));
    else if (deviceType == "DAS" && !dasUUID.empty())
        root.set(dasUUID, std::move(record));
    return root;
}

}  // namespace qvt::session
