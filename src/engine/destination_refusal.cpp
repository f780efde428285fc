// The checks of a destination folder before anything is copied to it: it lies on the device's
// volume, inside no source folder, and holds no source itself (each item would be copied onto
// itself, and with the move option its copies would leave with it).
#include <map>
#include <string>

#include "engine/path_names.h"
#include "engine/volume_lookup.h"
#include "platform/files.h"
#include "platform/format.h"
#include "session/qvtransfer_private.h"
#include "source/source_entry.h"

namespace fmt = qvt::platform;

namespace {

// The folder the device's volume starts at, as the destination names it: the longest of the
// device's volume paths and the mount point that hold it by their text. A volume the wizard
// mounted itself lies in the mount folder, not at its recorded path.
std::string volumeRootOf(const qvt::Record& device, const std::string& destination) {
    std::string root = qvt::engine::mountPointOf(destination);
    if (const qvt::List* volumes = device.list("volumeArray"))
        for (const qvt::Value& value : *volumes)
            if (const qvt::Record* volume = value.asRecord()) {
                const std::string path = volume->string("volumePath");
                if (!path.empty() && path.size() > root.size() &&
                    qvt::engine::isUnder(destination, path))
                    root = path;
            }
    return root;
}

}  // namespace

bool QVTransferPrivate::sourceHoldsDestination(const std::string& source,
                                               const std::string& realDestination) {
    if (realDestination.empty() || !fmt::files().isFolder(source)) return false;
    const std::string realSource = fmt::files().realPath(source);
    if (realSource.empty()) return false;
    if (qvt::engine::isUnder(realDestination, realSource)) return true;
    // The same folder can be reached by two paths that no link joins: a folder mounted again
    // somewhere else (a bind mount) is the one folder under another name. Each folder the
    // destination lies in is compared with the source by what it is, not by its name.
    const auto identity = fmt::files().identity(realSource);
    if (!identity) return false;
    for (std::string folder = realDestination; folder.size() > 1;
         folder = qvt::engine::deletingLastPathComponent(folder)) {
        const auto other = fmt::files().identity(folder);
        if (other && *other == *identity) return true;
    }
    return false;
}

std::string QVTransferPrivate::destinationRefusal(const std::string& destination) {
    // A share's folders are reached through the device, which keeps its links to itself, and
    // no local folder holds them.
    if (deviceType() != "DAS") return "";
    const std::string real = fmt::files().realPath(destination);
    if (real.empty()) return "";  // a folder that cannot be read fails in the copy, as any

    const qvt::Record device = deviceInfo();
    const std::string root = volumeRootOf(device, destination);
    const std::string realRoot = root.empty() ? std::string() : fmt::files().realPath(root);
    if (!realRoot.empty() && !qvt::engine::isUnder(real, realRoot))
        return fmt::format(localizedString("DESTINATION_OFF_VOLUME_txt"), destination,
                           device.string("productName"));

    const qvt::List sources = sourceFilesArray.get();
    // Thousands of sources given one by one mostly share a few folders: each folder is
    // resolved once.
    std::map<std::string, bool> holdsItsSources;
    for (const qvt::Value& row : sources) {
        const qvt::Record* entry = row.asRecord();
        const std::string source = entry ? entry->string("fullFilePath") : std::string();
        if (source.empty()) continue;
        const std::string parent = qvt::engine::deletingLastPathComponent(source);
        auto found = holdsItsSources.find(parent);
        if (found == holdsItsSources.end())
            found = holdsItsSources.emplace(parent, fmt::files().realPath(parent) == real).first;
        // A source given as a link is what it leads to: a link to an item of the destination
        // folder would be copied onto that item the same.
        const auto linkToAnItemThere = [&] {
            if (!fmt::files().isAlias(source)) return false;
            const std::string target = fmt::files().realPath(source);
            return !target.empty() &&
                   target == fmt::files().realPath(qvt::engine::appendingPathComponent(
                                 destination, qvt::engine::lastPathComponent(source)));
        };
        if (found->second || linkToAnItemThere())
            return fmt::format(localizedString("SOURCE_IN_DESTINATION_txt"), source);
        // A file: no need to ask the disk again (the window waits).
        if (entry && qvt::source::countedWithoutFolders(*entry)) continue;
        if (sourceHoldsDestination(source, real))
            return fmt::format(localizedString("DESTINATION_IN_SOURCE_txt"), source);
    }
    return "";
}
