// A new upload takes the place of an unfinished one in the state file: nothing can take that
// one up afterwards, so the hidden copies it left go.
#include <string>

#include "engine/path_names.h"
#include "engine/share_names.h"
#include "engine/volume_lookup.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"
#include "session/recorded_upload.h"
#include "session/saved_upload.h"
#include "session/transfer_record.h"

namespace fs = qvt::platform;

std::string QVTransferPrivate::replacedUploadDestination(const std::string& newDestination,
                                                         qvt::List* pending, std::uint32_t* tag) {
    namespace session = qvt::session;
    session::SavedUpload saved = session::readSavedUpload(transferDataFilePath, deviceType(),
                                                          deviceInfo().string("serialNumber"));
    const bool thisDevices = saved.status == session::Saved::Record;
    if (!thisDevices) {
        // The one record may be another device's. A network device's share is found again by
        // the device's serial number and the share's name; an attached disk's folder lay under
        // a mount point that is not known any more.
        const auto other = session::unfinishedUploadIn(transferDataFilePath);
        if (!other || other->deviceType != "NAS") return "";
        saved = session::readSavedUpload(transferDataFilePath, "NAS", other->key);
        if (saved.status != session::Saved::Record) return "";
    }
    const std::string old = saved.record.string("selectedDestinationShare");
    const qvt::List* sources = saved.record.list("sourceFilesPendingArray");
    const std::uint32_t recordedTag = session::partialCopyTagOf(saved.record);
    // Copies of no known tag cannot be told from another upload's: nothing is swept.
    if (recordedTag == 0) return "";
    std::string now = old;
    if (!thisDevices || deviceType() == "NAS") {
        // A share is reached through this session's mount of it, and the new destination's
        // share is the one known to be mounted: the old folder is found there only when it
        // lies on the same share of the same device. Another share's is noted for the next
        // upload that reaches it.
        const std::string share = qvt::engine::shareNameOfDestination(old, mountDir);
        if (share.empty()) return "";
        const std::string mount = thisDevices ? qvt::engine::mountPointOf(newDestination) : "";
        if (mount.empty() || qvt::engine::lastPathComponent(mount) != share) {
            // The folder below the share's root: the old path on a stand-in mount point.
            const std::string onStandIn = qvt::engine::destinationOnNewMount(old, mountDir, "/-");
            if (sources && onStandIn.starts_with("/-"))
                noteReplacedUploadFolder(saved.key, share,
                                         onStandIn.size() > 3 ? onStandIn.substr(3) : "", *sources,
                                         recordedTag);
            return "";
        }
        now = qvt::engine::destinationOnNewMount(old, mountDir, mount);
    }
    // An attached volume's folder is where it was, if the volume is there.
    if (now.empty() || !fs::files().isFolder(now)) return "";
    if (sources) *pending = *sources;
    *tag = recordedTag;
    return now;
}
