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

}  // namespace

std::string shareNameOfDestination(const std::string& destination, const std::string& mountDir) {
    const bool underMountDir = !mountDir.empty() && destination.find(mountDir) != std::string::npos;
    const std::string rest = removeAll(destination, underMountDir ? mountDir : "/Volumes");
    // The path's components, the root "/" counting as the first of an absolute path.
    std::vector<std::string> components;
    if (!rest.empty() && rest.front() == '/') components.push_back("/");
    for (std::size_t at = 0; at < rest.size();) {
        const std::size_t end = std::min(rest.find('/', at), rest.size());
        if (end > at) components.push_back(rest.substr(at, end - at));
        at = end + 1;
    }
    if (components.size() < 2) return "";
    return components[1].substr(0, components[1].find('-'));
}

}  // namespace qvt::engine
