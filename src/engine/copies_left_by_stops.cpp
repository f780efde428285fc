// Hidden copies nothing else would find again: one a stop could not remove because the device
// was away, and the folder of an unfinished upload that a new one replaced from another share.
// Noted when that happens, removed when an upload next reaches the share or volume they lie on.
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine/volume_lookup.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/paths.h"
#include "platform/smb_url.h"
#include "session/leftover_copies.h"
#include "session/qvtransfer_private.h"

namespace fs = qvt::platform;
using qvt::session::LeftoverCopy;

namespace {

// The share or volume a path lies on: its device's key, the share's name ("" on a volume)
// and its root as mounted here.
struct Place {
    std::string device;
    std::string share;
    std::string root;
};

std::optional<Place> placeOf(QVTransferPrivate& c, const std::string& path) {
    if (c.deviceType() == "NAS") {
        const std::string root = qvt::engine::mountPointOf(path);
        if (root.empty()) return std::nullopt;
        const fs::ShareUrl url = fs::parseShareUrl(fs::files().networkURLForPath(root));
        const std::string serial = c.deviceInfo().string("serialNumber");
        if (!url.valid || serial.empty()) return std::nullopt;
        return Place{serial, url.share, root};
    }
    // An attached volume that went away is no longer in the mount table: its root is the one
    // the upload found at its start.
    const std::string uuid = c.selectedDASUUID.get();
    const std::string root = c.destinationVolumeRoot.get();
    if (uuid.empty() || root.empty()) return std::nullopt;
    return Place{uuid, "", root};
}

std::string leftoverFile(const QVTransferPrivate& c) {
    return qvt::engine::deletingLastPathComponent(c.transferDataFilePath) + "/" +
           qvt::session::kLeftoverCopiesFileName;
}

// A noted path that names one of this program's hidden copies strictly inside the root: the
// file is read back from the disk, and nothing it says may lead a removal anywhere else.
bool removable(const std::string& relative) {
    return !relative.empty() && relative.front() != '/' && !fs::hasDotComponent(relative) &&
           qvt::engine::isTemporaryName(qvt::engine::lastPathComponent(relative));
}

// A replaced upload's folder: the root itself, or a folder strictly inside it.
bool sweepable(const std::string& relative) {
    return relative.empty() || (relative.front() != '/' && !fs::hasDotComponent(relative));
}

bool usable(const LeftoverCopy& copy) {
    return copy.pendingSources.empty()
               ? removable(copy.path)
               : sweepable(copy.path) && qvt::engine::partialCopyTagFrom(copy.tag) != 0;
}

// Removes what the note `copy` names below `root`; false when it must be kept for later.
bool removeNoted(QVTransferPrivate& c, const LeftoverCopy& copy, const std::string& root) {
    const std::string path = copy.path.empty() ? root : root + "/" + copy.path;
    if (!copy.pendingSources.empty()) {
        qvt::List sources;
        for (const std::string& s : copy.pendingSources)
            sources.emplace_back(qvt::Record{{"fullFilePath", s}});
        if (fs::files().isFolder(path))
            qvt::engine::removeLeftoverCopiesOf(sources, path,
                                                qvt::engine::partialCopyTagFrom(copy.tag));
        c.log().write(
            fs::format("QVTransfer: removeCopiesLeftByStops: replaced upload's %@\n", path));
        return true;
    }
    const int rc = fs::files().removeItem(path);
    c.log().write(fs::format("QVTransfer: removeCopiesLeftByStops: %@ %d\n", path, rc));
    return rc == 0 || rc == ENOENT;
}

}  // namespace

void QVTransferPrivate::noteReplacedUploadFolder(const std::string& device,
                                                 const std::string& share,
                                                 const std::string& folder,
                                                 const qvt::List& pendingSources,
                                                 std::uint32_t tag) {
    LeftoverCopy note{device, share, folder, {}, qvt::engine::partialCopyTagText(tag)};
    for (const qvt::Value& row : pendingSources)
        if (const qvt::Record* r = row.asRecord())
            if (const std::string source = r->string("fullFilePath"); !source.empty())
                note.pendingSources.push_back(source);
    if (device.empty() || note.pendingSources.empty() || tag == 0 || !sweepable(folder)) return;
    if (!qvt::session::noteLeftoverCopy(leftoverFile(*this), note))
        log().write("QVTransfer: noteReplacedUploadFolder: the note could not be written\n");
}

void QVTransferPrivate::noteCopyLeftByStop(const std::string& partial) {
    const auto place = placeOf(*this, partial);
    if (!place || !fs::isUnder(partial, place->root) || partial.size() <= place->root.size() + 1) {
        log().write(fs::format("QVTransfer: noteCopyLeftByStop: %@ cannot be placed\n", partial));
        return;
    }
    const std::string relative = partial.substr(place->root.size() + 1);
    if (!removable(relative)) return;
    if (!qvt::session::noteLeftoverCopy(leftoverFile(*this),
                                        {place->device, place->share, relative, {}}))
        log().write("QVTransfer: noteCopyLeftByStop: the note could not be written\n");
}

bool QVTransferPrivate::removeCopiesLeftByStops(const std::string& destination) {
    const std::string file = leftoverFile(*this);
    std::vector<LeftoverCopy> copies = qvt::session::readLeftoverCopies(file);
    if (copies.empty()) return false;
    const auto place = placeOf(*this, destination);
    // Only the volume the destination lies on is known to be this one, mounted and here.
    if (!place || fs::files().volumeFacts(place->root).remountURL.empty()) return false;
    std::vector<LeftoverCopy> kept;
    bool keptHere = false;
    for (const LeftoverCopy& copy : copies) {
        // A note that could lead anywhere else is dropped unread.
        if (!usable(copy)) continue;
        const bool here = copy.device == place->device && copy.share == place->share;
        if (!here || !removeNoted(*this, copy, place->root)) {
            kept.push_back(copy);
            keptHere = keptHere || here;
        }
    }
    if (kept.size() != copies.size()) qvt::session::writeLeftoverCopies(file, kept);
    return keptHere;
}
