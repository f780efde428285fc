#include "engine/volume_lookup.h"

#include "platform/files.h"

namespace qvt::engine {

bool isUnder(const std::string& path, const std::string& root) {
    if (root.empty() || path.compare(0, root.size(), root) != 0) return false;
    return path.size() == root.size() || root.back() == '/' || path[root.size()] == '/';
}

std::string mountPointOf(const std::string& path) {
    std::string best;
    for (const auto& volume : platform::files().mountedVolumes())
        if (isUnder(path, volume.path) && volume.path.size() > best.size()) best = volume.path;
    return best;
}

std::string mountedVolumeWithUuid(const std::string& uuid) {
    if (uuid.empty()) return "";
    for (const auto& volume : platform::files().mountedVolumes()) {
        if (volume.inProcess) continue;
        if (platform::files().volumeFacts(volume.path).uuid == uuid) return volume.path;
    }
    return "";
}

}  // namespace qvt::engine
