#include "state_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files.h"
#include "platform/paths.h"

namespace qvt::cli {

std::string stateFolder() {
    return platform::UserFolders::current().transferDataFolder();
}

std::optional<std::string> stateFolderProblem(const std::string& folder) {
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) {
        // Not made yet: the first write makes it, if it can be made.
        if (errno != ENOENT) return platform::errorDescription(errno);
        if (const int rc = platform::files().createFolder(folder, true))
            return platform::errorDescription(rc);
        if (::stat(folder.c_str(), &st) != 0) return platform::errorDescription(errno);
    }
    if (!S_ISDIR(st.st_mode)) return platform::errorDescription(ENOTDIR);
    if (::access(folder.c_str(), W_OK | X_OK) != 0) return platform::errorDescription(errno);
    return std::nullopt;
}

}  // namespace qvt::cli
