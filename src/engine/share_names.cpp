#include "engine/share_names.h"

#include <algorithm>
#include <vector>

namespace qvt::engine {

namespace {

std::string removeAll(std::string text, const std::string& part) {
    if (part.empty()) return text;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at))
        text.erase(at, part.size());
    return text;
}

// The components of `path`, the root "/" counting as the first of an absolute path.
std::vector<std::string> components(const std::string& path) {
    std::vector<std::string> parts;
    if (!path.empty() && path.front() == '/') parts.push_back("/");
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        if (end > at) parts.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

// `destination` without its mount folder (or "/Volumes" when it is not under the mount
// folder).
std::string withoutMountFolder(const std::string& destination, const std::string& mountDir) {
    const bool underMountDir = !mountDir.empty() && destination.find(mountDir) != std::string::npos;
    return removeAll(destination, underMountDir ? mountDir : "/Volumes");
}

}  // namespace

std::string shareNameOfDestination(const std::string& destination, const std::string& mountDir) {
    const auto parts = components(withoutMountFolder(destination, mountDir));
    if (parts.size() < 2) return "";
    return parts[1].substr(0, parts[1].find('-'));
}

std::string volumeNameOfDestination(const std::string& destination, const std::string& mountDir) {
    const auto parts = components(removeAll(destination, mountDir));
    return parts.size() < 2 ? "" : parts[1];
}

std::string destinationOnNewMount(const std::string& destination, const std::string& mountDir,
                                  const std::string& newMount) {
    const auto parts = components(withoutMountFolder(destination, mountDir));
    std::string result = newMount;
    // Past the root and the old mount point's name.
    for (std::size_t i = 2; i < parts.size(); ++i) {
        // Taking the mount folder out can join two pieces into "..": such a path would reach
        // outside the new mount, so it leads nowhere.
        if (parts[i] == "." || parts[i] == "..") return "";
        if (result.empty() || result.back() != '/') result += '/';
        result += parts[i];
    }
    return result;
}

}  // namespace qvt::engine
