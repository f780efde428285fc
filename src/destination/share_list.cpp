// The shares of a network device as the roots of the destination tree: each share is mounted
// (hidden, under the mount folder) and only shares that mount are listed.
#include "destination/share_list.h"

#include <algorithm>
#include <optional>

#include "destination/folder_listing.h"
#include "destination/folder_node.h"
#include "destination/tree_building.h"
#include "device/device_requests.h"
#include "device/mount_destination.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "session/view.h"

using qvt::List;
using qvt::Record;
using qvt::Value;
namespace dst = qvt::destination;

namespace {

// What the lost-connection sheet's Retry starts again: the share list.
constexpr int kRetrySharesTag = 3;

std::optional<std::string> sortKey(const Record& entry, const char* key) {
    const Value* v = entry.find(key);
    if (!v || v->isNull()) return std::nullopt;
    return v->toString();
}

// Missing before present; present values in plain byte order.
int compareKeys(const std::optional<std::string>& a, const std::optional<std::string>& b) {
    if (!a && !b) return 0;
    if (!a) return -1;
    if (!b) return 1;
    return a->compare(*b) < 0 ? -1 : (a->compare(*b) > 0 ? 1 : 0);
}

void showLostConnection(QVTransferPrivate& owner) {
    owner.dispatcher().mainSync([&owner] { owner.runLostConnectionDialog(kRetrySharesTag); });
}

}  // namespace

namespace qvt::destination {

Record makeShareEntry(const Value& share) {
    Record entry;
    const Record* record = share.asRecord();
    if (!record) return entry;
    for (const char* key : {"share_name", "public_access", "share_access"}) {
        const Value* value = record->find(key);
        if (!value || value->isNull()) break;
        entry.set(key, *value);
    }
    return entry;
}

void sortShareEntries(std::vector<Record>& entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const Record& a, const Record& b) {
        const int byAccess = compareKeys(sortKey(a, "public_access"), sortKey(b, "public_access"));
        if (byAccess != 0) return byAccess < 0;
        return compareKeys(sortKey(a, "share_name"), sortKey(b, "share_name")) < 0;
    });
}

std::vector<std::string> leftoverMountPoints(const std::string& mountFolder) {
    std::vector<std::string> paths;
    for (const FolderEntry& entry : listVisibleEntries(mountFolder)) paths.push_back(entry.path);
    return paths;
}

}  // namespace qvt::destination

void QVTransferPrivate::populateNASDestinationFoldersList() {
    setUploadFilesButtonEnable(false);

    const Record info = deviceInfo();
    const std::string address = info.string("ipAddress");
    const std::string user = userName.get();
    const std::string password = userPassword.get();
    const std::optional<List> shares =
        qvt::device::getAllShares(*services().http, address, user, password, log());

    std::vector<Record> entries;
    if (shares)
        for (const Value& share : *shares) entries.push_back(dst::makeShareEntry(share));
    if (!shares || shares->empty() || !shares->front().isRecord()) {
        showLostConnection(*this);
        return;
    }
    dst::sortShareEntries(entries);

    // Mounts left by an earlier run go before the shares are mounted again; while another
    // process has an upload open they may be its own, and stay.
    const std::string mountFolder = userHomeDirectory + "/.QVTransfer";
    if (qvt::platform::files().exists(mountFolder) &&
        !qvt::platform::uploadsClaimedElsewhere(uploadClaimPath))
        unmountSharesVolumes(dst::leftoverMountPoints(mountFolder));

    for (const Record& entry : entries) {
        const std::string path = mountObject->mountNASShare(
            entry.string("share_name"), entry.string("public_access"), address,
            info.string("productName"), info.string("hostName"), mountDir, user, password, "true");
        if (path.empty()) continue;

        std::string image = dst::kShareImage;
        std::string selectedImage = dst::kShareSelectedImage;
        // A home share would carry both access keys; the entry never holds the second one, so
        // every share keeps the cloud icons.
        if (entry.contains("share_access") && entry.contains("share_access_1")) {
            image = dst::kHomeShareImage;
            selectedImage = dst::kHomeShareSelectedImage;
        }
        dst::appendRoot(
            *this, dst::makeProbedNode(dst::displayNameAtPath(path), path, image, selectedImage));
    }

    const bool listed =
        destinationFoldersList.with([](const List& roots) { return !roots.empty(); });
    if (!listed) {
        // Each share is opened in a folder inside the mount folder: without it (a home folder
        // that cannot be written to) none can be, and the device is not to blame.
        const bool noMountFolder = !qvt::platform::files().isFolder(mountFolder);
        dispatcher().mainSync([this, noMountFolder, &mountFolder] {
            if (noMountFolder)
                tellConnectionProblem(qvt::platform::format(
                    localizedString("MOUNT_FOLDER_UNAVAILABLE_txt"), mountFolder));
            else
                tellDeviceProblem(qvt::device::ReplyProblem::NoAnswer);
        });
        showLostConnection(*this);
        return;
    }
    dst::finishRootBuild(*this);
}
