// The folders the walks of the sources leave out, wherever they meet them: the mount folder,
// where the device's shares are opened (a source that holds it, the home folder, would copy the
// device into itself, deeper each time), and the folder of the state file (its record changes
// while the upload runs, and a move would take the lock and the record away from under it).
#include <array>

#include "engine/path_names.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"

namespace {

std::array<std::string, 2> leftOutFolders(const std::string& home, const std::string& stateFile) {
    return {home + "/.QVTransfer", qvt::engine::deletingLastPathComponent(stateFile)};
}

}  // namespace

qvt::source::WalkOptions QVTransferPrivate::sourceWalkOptions() const {
    qvt::source::WalkOptions options;
    for (const std::string& folder : leftOutFolders(userHomeDirectory, transferDataFilePath))
        if (const auto identity = qvt::platform::files().identity(folder))
            options.skipped.push_back(
                {qvt::engine::lastPathComponent(folder), identity->device, identity->inode});
    return options;
}

bool QVTransferPrivate::isLeftOutOfWalks(const std::string& folder, bool isLink) const {
    // Only a folder of one of their names costs a look; a link to one has a name of its own.
    const std::string name = qvt::engine::lastPathComponent(folder);
    bool named = isLink;
    for (const std::string& leftOut : leftOutFolders(userHomeDirectory, transferDataFilePath))
        named = named || name == qvt::engine::lastPathComponent(leftOut);
    if (!named) return false;
    const auto identity = qvt::platform::files().identity(folder);
    if (!identity) return false;
    for (const qvt::source::SkippedFolder& skipped : sourceWalkOptions().skipped)
        if (skipped.device == identity->device && skipped.inode == identity->inode) return true;
    return false;
}
