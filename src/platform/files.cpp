#include "platform/files.h"

#include <fcntl.h>
#include <pwd.h>
#include <stdio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "platform/files_internal.h"
#include "platform/smb_client.h"
#include "platform/smb_names.h"

namespace qvt::platform {

using detail::statPath;
using detail::statShare;

int platformErrorCode(int e) {
    switch (e) {
        case ENOSPC:
        case EDQUOT:
            return kOutOfSpaceWriteError;
        case EIO:
        case ENOTCONN:
        case ETIMEDOUT:
        case ECONNRESET:
        case ECONNABORTED:
        case ECONNREFUSED:
        case ENETDOWN:
        case ENETUNREACH:
        case EPIPE:
        case EHOSTDOWN:
        case EHOSTUNREACH:
        case ESTALE:
            return kUnknownWriteError;
        default:
            return e;
    }
}

std::string errorDescription(int e) {
    if (e == kNotARegularFile) return "Not a regular file";
    if (e == kNameNotUtf8) return "The name is not valid UTF-8";
    if (e == kOutOfSpaceWriteError) e = ENOSPC;
    if (e == kUnknownWriteError) e = EIO;
    char buf[256];
    const char* text = strerror_r(e, buf, sizeof buf);
    return text ? text : "";
}

namespace {

std::atomic<FileLayer*> gOverride{nullptr};
std::mutex gSettingsMutex;
std::optional<MountService> gMountServiceOverride;
std::string gDefaultMountRoot;

std::string userMountFolder() {
    const char* home = std::getenv("HOME");
    std::string h = home && *home ? home : "";
    if (h.empty()) {
        if (const passwd* pw = getpwuid(getuid())) h = pw->pw_dir;
    }
    return h + "/.QVTransfer";
}

}  // namespace

FileLayer& files() {
    static FileLayer real;
    FileLayer* o = gOverride.load();
    return o ? *o : real;
}

void setFilesForTesting(FileLayer* layer) {
    gOverride = layer;
}

void setMountServiceForTesting(std::optional<MountService> service) {
    std::lock_guard lock(gSettingsMutex);
    gMountServiceOverride = service;
}

MountService FileLayer::mountService() {
    std::lock_guard lock(gSettingsMutex);
    // The URL mount service is always there on Linux: it is this layer's own.
    return gMountServiceOverride.value_or(MountService::Newer);
}

void FileLayer::setDefaultMountRoot(const std::string& path) {
    std::lock_guard lock(gSettingsMutex);
    gDefaultMountRoot = path;
}

std::string FileLayer::defaultMountRoot() const {
    std::lock_guard lock(gSettingsMutex);
    return gDefaultMountRoot.empty() ? userMountFolder() : gDefaultMountRoot;
}

bool FileLayer::isMountPoint(const std::string& path) {
    const std::string p = normalizePath(path);
    if (p.empty()) return false;
    if (shareMounts().isMountPoint(p)) return true;
    for (const auto& m : kernelMounts())
        if (normalizePath(m.mountPoint) == p) return true;
    return false;
}

std::string FileLayer::networkURLForPath(const std::string& path) {
    if (auto sp = shareMounts().resolve(path)) return sp->url();
    return "";
}

int FileLayer::lookUp(const std::string& path, bool* isFolder) {
    struct stat st {};
    const int rc = path.empty() ? ENOENT : statPath(path, &st);
    if (rc != 0) {
        if (isFolder) *isFolder = false;
        return rc;
    }
    if (isFolder) *isFolder = S_ISDIR(st.st_mode);
    detail::rememberFoundItem(path, st);
    return 0;
}

std::vector<std::string> FileLayer::listFolder(const std::string& path, int* error) {
    if (error) *error = 0;
    if (auto sp = shareMounts().resolve(path)) return detail::listShare(*sp, error);
    return detail::listLocal(path, error);
}

int FileLayer::createFolder(const std::string& path, bool withParents) {
    if (path.empty()) return ENOENT;
    if (!withParents) return detail::makeFolder(path);
    const std::string p = normalizePath(path);
    // Walk down from the root, making each missing folder.
    std::size_t pos = p[0] == '/' ? 1 : 0;
    while (true) {
        const auto next = p.find('/', pos);
        const std::string prefix = next == std::string::npos ? p : p.substr(0, next);
        const int rc = detail::makeFolder(prefix);
        if (rc != 0 && rc != EEXIST) return rc;
        if (rc == EEXIST && !isFolder(prefix)) return ENOTDIR;
        if (next == std::string::npos) return 0;
        pos = next + 1;
    }
}

int FileLayer::copyItem(const std::string& from, const std::string& to) {
    struct stat st {};
    // The copy opens the file and looks at what it opened, so attributes found a moment ago
    // serve to choose between a file and a folder.
    if (!detail::takeFoundItem(from, &st))
        if (const int rc = statPath(from, &st)) return rc;
    // Nothing is tested at `to` first: the file is created exclusively and the folder made
    // with mkdir, so anything there (a dangling link too) gives EEXIST, and a share is not
    // asked twice.
    if (!S_ISDIR(st.st_mode)) return detail::copyFileData(from, to, &st);
    if (const int rc = detail::makeFolder(to)) return rc;
    int error = 0;
    for (const auto& name : listFolder(from, &error))
        if (const int rc = copyItem(from + "/" + name, to + "/" + name)) return rc;
    return error;
}

namespace {

int renameWithoutReplacing(FileLayer& files, const std::string& from, const std::string& to) {
    const auto fromShare = shareMounts().resolve(from);
    const auto toShare = shareMounts().resolve(to);
    if (!fromShare && !toShare) {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EINVAL) return errno;
        // A file system without the no-replace rename: a file gets a second name, which fails
        // on an existing one, then the first name goes. A folder cannot have two names: the
        // name is tested first, as on a share.
        struct stat st {};
        if (::lstat(from.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            if (::lstat(to.c_str(), &st) == 0) return EEXIST;
            return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
        }
        if (::link(from.c_str(), to.c_str()) != 0) return errno;
        return ::unlink(from.c_str()) == 0 ? 0 : errno;
    }
    if (!fromShare || !toShare || fromShare->mount.mountPoint != toShare->mount.mountPoint)
        return EXDEV;
    if (!smb::isValidUtf8(toShare->relative)) return kNameNotUtf8;
    // libsmbclient's rename replaces an existing file, as rename(2) does, and offers no way not
    // to: the name is tested first. Only another client taking the name between the test and
    // the rename could lose its file; this program's own copies never race for a name.
    if (files.exists(to)) return EEXIST;
    const std::string a = fromShare->url();
    const std::string b = toShare->url();
    return smb::retryOnConnectionLoss([&] {
        const smb::Call call(fromShare->mount.credentials);
        if (!call.ctx()) return EIO;
        errno = 0;
        if (smbc_getFunctionRename(call.ctx())(call.ctx(), a.c_str(), call.ctx(), b.c_str()) == 0)
            return 0;
        return errno != 0 ? errno : EIO;
    });
}

}  // namespace

int FileLayer::renameItem(const std::string& from, const std::string& to) {
    const int rc = renameWithoutReplacing(*this, from, to);
    if (rc == 0) detail::lastCopyRenamed(from, to);
    return rc;
}

int FileLayer::replaceItem(const std::string& from, const std::string& to) {
    if (shareMounts().resolve(from) || shareMounts().resolve(to)) return ENOTSUP;
    if (::rename(from.c_str(), to.c_str()) != 0) return errno;
    detail::lastCopyRenamed(from, to);
    return 0;
}

int FileLayer::moveItem(const std::string& from, const std::string& to) {
    if (!shareMounts().resolve(from) && !isAlias(from) && !exists(from)) return ENOENT;
    if (const int rc = renameItem(from, to); rc != EXDEV) return rc;
    // Across volumes: copy, make the copy durable, then remove the source. The data of a
    // local copy may still sit in the page cache; a share has it once its file is closed.
    if (const int rc = copyItem(from, to)) return rc;
    if (const int rc = flushItem(to)) return rc;
    return removeItem(from);
}

int FileLayer::removeItem(const std::string& path) {
    if (path.empty()) return ENOENT;
    if (isMountPoint(path)) return EBUSY;
    detail::lastCopyRemoved(path);
    if (auto sp = shareMounts().resolve(path)) return detail::removeShare(*sp);
    return detail::removeLocal(path);
}

int FileLayer::removeEmptyFolder(const std::string& path) {
    if (path.empty()) return ENOENT;
    if (isMountPoint(path)) return EBUSY;
    if (auto sp = shareMounts().resolve(path)) return detail::removeEmptyShareFolder(*sp);
    return ::rmdir(path.c_str()) == 0 ? 0 : errno;
}

std::optional<std::uint64_t> FileLayer::size(const std::string& path) {
    struct stat st {};
    if (path.empty() || statPath(path, &st) != 0) return std::nullopt;
    return static_cast<std::uint64_t>(st.st_size);
}

std::optional<std::uint64_t> FileLayer::totalSize(const std::string& path) {
    if (const auto written = detail::writtenFileSize(path)) return written;
    if (const auto inFlight = detail::shareFileBeingWrittenSize(path)) return inFlight;
    struct stat st {};
    if (path.empty() || statPath(path, &st) != 0 || S_ISDIR(st.st_mode)) return std::nullopt;
    // Linux files have a single fork: their total size is their length.
    return static_cast<std::uint64_t>(st.st_size);
}

std::optional<ItemIdentity> FileLayer::identity(const std::string& path) {
    const std::optional<ItemStamp> found = stamp(path);
    if (!found) return std::nullopt;
    return found->identity;
}

std::optional<ItemStamp> FileLayer::stamp(const std::string& path) {
    struct stat st {};
    if (path.empty() || statPath(path, &st) != 0) return std::nullopt;
    return ItemStamp{{static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)},
                     static_cast<std::uint64_t>(st.st_size),
                     static_cast<std::int64_t>(st.st_mtim.tv_sec),
                     static_cast<std::int64_t>(st.st_mtim.tv_nsec)};
}

bool FileLayer::isAlias(const std::string& path) {
    if (path.empty() || shareMounts().resolve(path)) return false;
    struct stat st {};
    return lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

}  // namespace qvt::platform
