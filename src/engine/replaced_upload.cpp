// A new upload takes the place of an unfinished one in the state file: nothing can take that
// one up afterwards, so the hidden copies it left go.
#include <string>

#include "engine/path_names.h"
#include "engine/share_names.h"
#include "engine/volume_lookup.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"
#include "session/saved_upload.h"

namespace fs = qvt::platform;

std::string QVTransferPrivate::replacedUploadDestination(const std::string& newDestination,
                                                         qvt::List* pending) {
    const qvt::session::SavedUpload saved = qvt::session::readSavedUpload(
        transferDataFilePath, deviceType(), deviceInfo().string("serialNumber"));
    if (saved.status != qvt::session::Saved::Record) return "";
    const std::string old = saved.record.string("selectedDestinationShare");
    std::string now = old;
    if (deviceType() == "NAS") {
        // A share is reached through this session's mount of it, and the new destination's
        // share is the one known to be mounted: the old folder is found there only when it
        // lies on the same share.
        const std::string share = qvt::engine::shareNameOfDestination(old, mountDir);
        const std::string mount = qvt::engine::mountPointOf(newDestination);
        if (share.empty() || mount.empty() || qvt::engine::lastPathComponent(mount) != share)
            return "";
        now = qvt::engine::destinationOnNewMount(old, mountDir, mount);
    }
    // An attached volume's folder is where it was, if the volume is there.
    if (now.empty() || !fs::files().isFolder(now)) return "";
    if (const qvt::List* list = saved.record.list("sourceFilesPendingArray")) *pending = *list;
    return now;
}
