#include "platform/paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QStandardPaths>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace qvt::platform {

namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return withoutTrailingSlash(home);
    // No HOME (a service started without an environment): ask the user database.
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buf(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd pw{};
    passwd* result = nullptr;
    if (::getpwuid_r(::getuid(), &pw, buf.data(), buf.size(), &result) == 0 && result &&
        result->pw_dir)
        return withoutTrailingSlash(result->pw_dir);
    return {};
}

}  // namespace

UserFolders UserFolders::current() {
    UserFolders f;
    f.home = homeFolder();
    f.applicationSupport = withoutTrailingSlash(
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toStdString());
    if (f.applicationSupport.empty() && !f.home.empty())
        f.applicationSupport = f.home + "/.local/share";
    return f;
}

bool createFolderWithParents(const std::string& path) {
    if (path.empty()) return false;
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    return folderExists(path);
}

bool folderExists(const std::string& path) {
    struct stat st {};
    return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool fileExists(const std::string& path) {
    struct stat st {};
    return !path.empty() && ::stat(path.c_str(), &st) == 0;
}

bool isUnder(const std::string& path, const std::string& root) {
    if (path == root) return true;
    if (root == "/") return !path.empty() && path[0] == '/';
    return path.size() > root.size() && path.compare(0, root.size(), root) == 0 &&
           path[root.size()] == '/';
}

bool hasDotComponent(const std::string& path) {
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        const std::size_t length = end - start;
        if ((length == 1 || length == 2) && path.compare(start, length, "..", length) == 0)
            return true;
        start = end + 1;
    }
    return false;
}

}  // namespace qvt::platform
