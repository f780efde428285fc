#include "session/saved_upload.h"

#include <optional>
#include <string>

#include "platform/files.h"
#include "platform/paths.h"
#include "platform/plist_io.h"
#include "platform/plist_outline.h"

namespace fs = qvt::platform;

namespace qvt::session {

bool leavesWork(const fs::RecordOutline& record) {
    return !record.empty && !record.completed && record.pendingWork;
}

bool leavesWork(const qvt::Record& record) {
    const qvt::List* pending = record.list("sourceFilesPendingArray");
    return !record.empty() && !record.boolean("isFileTransferCompleted") && pending &&
           !pending->empty();
}

namespace {

// Whether the record of a device leaves work, read in one pass that keeps no list: nothing when
// the file needs reading whole to tell.
std::optional<bool> outlineLeavesWork(const std::string& file, const std::string& deviceType,
                                      const std::string& serialNumber) {
    const auto records = fs::readRecordOutlines(file);
    if (!records) return std::nullopt;
    const fs::RecordOutline* record = nullptr;
    if (deviceType == "NAS") {
        for (const auto& r : *records)
            if (r.key == serialNumber) record = &r;
    } else if (deviceType == "DAS" && !records->empty()) {
        record = &records->front();
        // The one record is a network device's: nothing of an attached device's is there.
        if (record->deviceType == "NAS") return false;
    }
    return record && leavesWork(*record);
}

}  // namespace

SavedUpload readSavedUpload(const std::string& file, const std::string& deviceType,
                            const std::string& serialNumber) {
    SavedUpload saved;
    if (!fs::files().exists(file)) return saved;
    // A finished upload's record holds the list of every file it copied: it is read whole only
    // when there is work to take up.
    if (outlineLeavesWork(file, deviceType, serialNumber) == false) return saved;
    const std::optional<qvt::Value> root = fs::readPropertyList(file);
    const qvt::Record* records = root ? root->asRecord() : nullptr;
    if (!records) {
        saved.status = Saved::Unreadable;
        return saved;
    }
    // A network device's record is under its serial number; an attached device's is the
    // file's one record, under the UUID of the volume it went to.
    const qvt::Record::Entry* entry = nullptr;
    if (deviceType == "NAS") {
        for (const auto& e : records->entries())
            if (e.first == serialNumber) entry = &e;
    } else if (deviceType == "DAS" && !records->empty()) {
        entry = &records->entries().front();
    }
    if (!entry) return saved;
    const qvt::Record* record = entry->second.asRecord();
    if (!record) {
        saved.status = Saved::Unreadable;
        return saved;
    }
    // An attached device takes the file's one record whatever its key, but not one that says it
    // is a network device's: its destination lies on that device's share.
    if (deviceType == "DAS" && record->string("deviceType") == "NAS") return saved;
    if (!leavesWork(*record)) return saved;
    const qvt::List* pending = record->list("sourceFilesPendingArray");
    const std::string destination = record->string("selectedDestinationShare");
    bool entriesAreRecords = true;
    for (const qvt::Value& v : *pending) entriesAreRecords = entriesAreRecords && v.isRecord();
    if (destination.empty() || destination.front() != '/' || fs::hasDotComponent(destination) ||
        !entriesAreRecords) {
        saved.status = Saved::Unreadable;
        return saved;
    }
    saved.status = Saved::Record;
    saved.key = entry->first;
    saved.record = *record;
    return saved;
}

}  // namespace qvt::session
