// The folders the walks of the sources leave out, wherever they meet them.
#include "engine/path_names.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"

namespace {

constexpr const char* kMountFolderName = ".QVTransfer";

}  // namespace

qvt::source::WalkOptions QVTransferPrivate::sourceWalkOptions() const {
    qvt::source::WalkOptions options;
    const std::string mountFolder = userHomeDirectory + "/" + kMountFolderName;
    if (const auto identity = qvt::platform::files().identity(mountFolder))
        options.skipped.push_back({kMountFolderName, identity->device, identity->inode});
    return options;
}

bool QVTransferPrivate::isLeftOutOfWalks(const std::string& folder, bool isLink) const {
    // A link to it has a name of its own.
    if (!isLink && qvt::engine::lastPathComponent(folder) != kMountFolderName) return false;
    const auto identity = qvt::platform::files().identity(folder);
    if (!identity) return false;
    for (const qvt::source::SkippedFolder& skipped : sourceWalkOptions().skipped)
        if (skipped.device == identity->device && skipped.inode == identity->inode) return true;
    return false;
}
