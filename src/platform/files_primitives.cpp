// Local and SMB primitives of the file layer.
#include <blkid/blkid.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/files_internal.h"
#include "platform/smb_names.h"

namespace qvt::platform::detail {

namespace {

int errnoOr(int fallback) {
    return errno != 0 ? errno : fallback;
}

}  // namespace

int statShare(const SharePath& sp, struct stat* st) {
    const std::string u = sp.url();
    return smb::retryOnConnectionLoss([&] {
        const smb::Call call(sp.mount.credentials);
        if (!call.ctx()) return EIO;
        errno = 0;
        if (smbc_getFunctionStat(call.ctx())(call.ctx(), u.c_str(), st) == 0) return 0;
        return errnoOr(EIO);
    });
}

int statPath(const std::string& path, struct stat* st) {
    if (auto sp = shareMounts().resolve(path)) return statShare(*sp, st);
    return stat(path.c_str(), st) == 0 ? 0 : errno;
}

int makeFolder(const std::string& path) {
    if (auto sp = shareMounts().resolve(path)) {
        // The root of a share always exists.
        if (sp->relative.empty()) return EEXIST;
        if (!smb::isValidUtf8(sp->relative)) return kNameNotUtf8;
        const std::string u = sp->url();
        return smb::retryOnConnectionLoss([&] {
            const smb::Call call(sp->mount.credentials);
            if (!call.ctx()) return EIO;
            errno = 0;
            if (smbc_getFunctionMkdir(call.ctx())(call.ctx(), u.c_str(), 0755) == 0) return 0;
            return errnoOr(EIO);
        });
    }
    return mkdir(path.c_str(), 0777) == 0 ? 0 : errno;
}

std::vector<std::string> listShare(const SharePath& sp, int* error) {
    std::vector<std::string> names;
    const std::string u = sp.url();
    const int rc = smb::retryOnConnectionLoss([&] {
        names.clear();
        const smb::Call call(sp.mount.credentials);
        if (!call.ctx()) return EIO;
        errno = 0;
        SMBCFILE* dir = smbc_getFunctionOpendir(call.ctx())(call.ctx(), u.c_str());
        if (!dir) return errnoOr(EIO);
        while (smbc_dirent* e = smbc_getFunctionReaddir(call.ctx())(call.ctx(), dir)) {
            const std::string name = e->name;
            if (name != "." && name != "..") names.push_back(smb::fromShareName(name));
        }
        smbc_getFunctionClosedir(call.ctx())(call.ctx(), dir);
        return 0;
    });
    if (error) *error = rc;
    return names;
}

std::vector<std::string> listLocal(const std::string& path, int* error) {
    if (error) *error = 0;
    std::vector<std::string> names;
    DIR* dir = opendir(path.c_str());
    if (!dir) {
        if (error) *error = errno;
        return names;
    }
    while (dirent* e = readdir(dir)) {
        const std::string name = e->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
    return names;
}

int removeLocal(const std::string& path) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0) return errno;
    if (!S_ISDIR(st.st_mode)) return unlink(path.c_str()) == 0 ? 0 : errno;
    int firstError = 0;
    const auto names = listLocal(path, &firstError);
    if (firstError) return firstError;
    for (const auto& name : names) {
        const std::string child = path + "/" + name;
        struct stat cst {};
        if (lstat(child.c_str(), &cst) != 0) continue;
        // Another volume mounted below (kernel or in-process) is never emptied from here.
        if (S_ISDIR(cst.st_mode) &&
            (cst.st_dev != st.st_dev || shareMounts().isMountPoint(child))) {
            if (!firstError) firstError = EBUSY;
            continue;
        }
        if (const int rc = removeLocal(child); rc && !firstError) firstError = rc;
    }
    if (rmdir(path.c_str()) != 0 && !firstError) firstError = errno;
    return firstError;
}

int syncOne(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return errno;
    const int rc = fsync(fd) == 0 ? 0 : errno;
    close(fd);
    return rc;
}

int syncLocal(const std::string& path) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0) return errno;
    // A link has no data of its own to flush; its folder's fsync keeps the entry.
    if (!S_ISDIR(st.st_mode) && !S_ISREG(st.st_mode)) return 0;
    int firstError = 0;
    if (S_ISDIR(st.st_mode)) {
        const auto names = listLocal(path, &firstError);
        if (firstError) return firstError;
        for (const auto& name : names)
            if (const int rc = syncLocal(path + "/" + name); rc && !firstError) firstError = rc;
    }
    const int rc = syncOne(path);
    return firstError ? firstError : rc;
}

int removeShare(const SharePath& sp) {
    struct stat st {};
    if (const int rc = statShare(sp, &st)) return rc;
    const std::string u = sp.url();
    if (!S_ISDIR(st.st_mode)) {
        return smb::retryOnConnectionLoss([&] {
            const smb::Call call(sp.mount.credentials);
            if (!call.ctx()) return EIO;
            errno = 0;
            if (smbc_getFunctionUnlink(call.ctx())(call.ctx(), u.c_str()) == 0) return 0;
            return errnoOr(EIO);
        });
    }
    int error = 0;
    int firstError = 0;
    for (const auto& name : listShare(sp, &error)) {
        SharePath child = sp;
        child.relative = sp.relative.empty() ? name : sp.relative + "/" + name;
        if (const int rc = removeShare(child); rc && !firstError) firstError = rc;
    }
    if (error && !firstError) firstError = error;
    const int rc = removeEmptyShareFolder(sp);
    return firstError ? firstError : rc;
}

int removeEmptyShareFolder(const SharePath& sp) {
    const std::string u = sp.url();
    return smb::retryOnConnectionLoss([&] {
        const smb::Call call(sp.mount.credentials);
        if (!call.ctx()) return EIO;
        errno = 0;
        return smbc_getFunctionRmdir(call.ctx())(call.ctx(), u.c_str()) == 0 ? 0 : errnoOr(EIO);
    });
}

namespace {

std::string probeValue(const std::string& device, const char* name) {
    std::string value;
    blkid_probe pr = blkid_new_probe_from_filename(device.c_str());
    if (!pr) return value;
    blkid_probe_enable_superblocks(pr, 1);
    blkid_probe_set_superblocks_flags(pr, BLKID_SUBLKS_UUID | BLKID_SUBLKS_TYPE);
    if (blkid_do_safeprobe(pr) == 0) {
        const char* data = nullptr;
        if (blkid_probe_lookup_value(pr, name, &data, nullptr) == 0 && data) value = data;
    }
    blkid_free_probe(pr);
    return value;
}

}  // namespace

std::string blockDeviceUuid(const std::string& device) {
    return probeValue(device, "UUID");
}
std::string blockDeviceType(const std::string& device) {
    return probeValue(device, "TYPE");
}

}  // namespace qvt::platform::detail
