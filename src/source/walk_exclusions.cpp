// The folders the walks of the sources leave out, wherever they meet them: the mount folder,
// where the device's shares are opened (a source that holds it, the home folder, would copy the
// device into itself, deeper each time), and the folder of the state file (its record changes
// while the upload runs, and a move would take the lock and the record away from under it).
#include "engine/path_names.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"

namespace {

constexpr const char* kMountFolderName = ".QVTransfer";

}  // namespace

qvt::source::WalkOptions QVTransferPrivate::sourceWalkOptions() const {
    qvt::source::WalkOptions options;
    const std::string stateFolder = qvt::engine::deletingLastPathComponent(transferDataFilePath);
    for (const std::string& folder : {userHomeDirectory + "/" + kMountFolderName, stateFolder})
        if (const auto identity = qvt::platform::files().identity(folder))
            options.skipped.push_back(
                {qvt::engine::lastPathComponent(folder), identity->device, identity->inode});
    return options;
}

bool QVTransferPrivate::isLeftOutOfWalks(const std::string& folder, bool isLink) const {
    const std::string name = qvt::engine::lastPathComponent(folder);
    // Only a folder of one of their names costs a look; a link to one has a name of its own.
    if (!isLink && name != kMountFolderName &&
        name != qvt::engine::lastPathComponent(
                    qvt::engine::deletingLastPathComponent(transferDataFilePath)))
        return false;
    const auto identity = qvt::platform::files().identity(folder);
    if (!identity) return false;
    for (const qvt::source::SkippedFolder& skipped : sourceWalkOptions().skipped)
        if (skipped.device == identity->device && skipped.inode == identity->inode) return true;
    return false;
}
