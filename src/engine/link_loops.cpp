#include "engine/link_loops.h"

#include "engine/path_names.h"
#include "platform/files.h"

namespace qvt::engine {

bool leadsBackIntoItself(const std::string& path) {
    const auto target = platform::files().identity(path);
    if (!target) return false;
    std::string folder = deletingLastPathComponent(path);
    while (!folder.empty()) {
        if (platform::files().identity(folder) == target) return true;
        if (folder == "/") break;
        folder = deletingLastPathComponent(folder);
    }
    return false;
}

}  // namespace qvt::engine
