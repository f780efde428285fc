// The mount services: network shares connected in-process, local disks mounted by the kernel,
// and forced unmounts.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "platform/files_internal.h"
#include "platform/smb_url.h"

namespace qvt::platform {

namespace {

constexpr const char* kGuestMechanism = "No User Authent";

// Connects to the share's root once, on a connection of its own, so that a mount that reports
// success really works with the credentials it was given.
int checkShare(const ShareMount& m) {
    const SharePath sp{m, ""};
    const smb::Call call(m.credentials, true);
    if (!call.ctx()) return EIO;
    const std::string u = sp.url();
    struct stat st {};
    errno = 0;
    if (smbc_getFunctionStat(call.ctx())(call.ctx(), u.c_str(), &st) == 0) return 0;
    return errno != 0 ? errno : EIO;
}

// Registers a share mounted at `mountPoint`; `makeFolder` creates the mount point folder.
int mountShare(const ShareUrl& u, const smb::Credentials& credentials, std::string mountPoint,
               bool makeFolder, bool hidden) {
    mountPoint = normalizePath(mountPoint);
    if (mountPoint.empty()) return ENOENT;
    if (shareMounts().findShare(u.host, u.share)) return EEXIST;
    if (files().isMountPoint(mountPoint)) return EBUSY;
    ShareMount m;
    m.mountPoint = mountPoint;
    m.host = u.host;
    m.authority = u.authority;
    m.share = u.share;
    m.credentials = credentials;
    m.hidden = hidden;
    if (const int rc = checkShare(m)) return rc;
    if (makeFolder) {
        const int rc = detail::makeFolder(mountPoint);
        if (rc != 0 && rc != EEXIST) return rc;
    }
    if (!files().isFolder(mountPoint)) return ENOENT;
    if (!shareMounts().add(m)) return EBUSY;
    return 0;
}

smb::Credentials credentialsFor(const ShareUrl& u, bool guestAsked, bool withCredentials,
                                const std::string& user, const std::string& password) {
    smb::Credentials c;
    c.guest = guestAsked || u.authMechanism == kGuestMechanism || !withCredentials;
    if (!c.guest) {
        c.user = user;
        c.password = password;
    }
    return c;
}

std::string runAndRead(const std::vector<std::string>& argv, int* status) {
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) return "";
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], 1);
        dup2(out[1], 2);
        execvp(args[0], args.data());
        _exit(127);
    }
    close(out[1]);
    std::string text;
    std::array<char, 512> buf{};
    ssize_t n;
    while ((n = read(out[0], buf.data(), buf.size())) > 0) text.append(buf.data(), n);
    close(out[0]);
    int st = 0;
    if (pid > 0) waitpid(pid, &st, 0);
    *status = pid > 0 && WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return text;
}

bool haveTool(const std::string& name) {
    for (const char* dir : {"/usr/bin/", "/bin/", "/usr/sbin/", "/sbin/"})
        if (access((std::string(dir) + name).c_str(), X_OK) == 0) return true;
    return false;
}

// UDisks2 mounts for a user that may not call mount(2); it picks the mount point itself.
int mountWithUDisks(const std::string& device, bool hidden, std::string* mountedAt) {
    if (!haveTool("udisksctl")) return EPERM;
    std::vector<std::string> argv = {"udisksctl", "mount", "--no-user-interaction", "-b", device};
    if (hidden) {
        argv.push_back("-o");
        argv.push_back("x-gvfs-hide");
    }
    int status = 0;
    const std::string text = runAndRead(argv, &status);
    const auto at = text.find(" at ");
    if (status != 0 || at == std::string::npos) return EPERM;
    std::string path = text.substr(at + 4);
    while (!path.empty() && (path.back() == '\n' || path.back() == '.')) path.pop_back();
    *mountedAt = path;
    if (hidden) rememberHiddenLocalMount(path);
    return 0;
}

}  // namespace

NetMountResult FileLayer::mountURLSync(const NetMountRequest& request) {
    NetMountResult result;
    const ShareUrl u = parseShareUrl(request.url);
    if (!u.valid) {
        result.status = EINVAL;
        return result;
    }
    const auto option = [](const Record& r, const char* key) {
        const Value* v = r.find(key);
        return v ? v->toString() : std::string();
    };
    const bool guest = option(request.openOptions, "Guest") == "true";
    const bool atMountDir = option(request.mountOptions, "MountAtMountDir") == "true";
    const Value* flags = request.mountOptions.find("MountFlags");
    const bool hidden = flags && (flags->toInt64() & kMountFlagNoBrowse) != 0;
    const auto credentials =
        credentialsFor(u, guest, request.withCredentials, request.user, request.password);
    // Without a mount path the share gets a folder of its own in the default mount root;
    // with one, the share is mounted at that folder (MountAtMountDir) or in a folder of the
    // share's name inside it. The share name was checked to be a plain folder name, so the
    // mount point never leaves the folder it was asked for.
    const std::string base = request.mountPath.empty() ? defaultMountRoot() : request.mountPath;
    std::string mountPoint;
    bool makeFolder = true;
    if (!request.mountPath.empty() && atMountDir) {
        mountPoint = request.mountPath;
        makeFolder = false;
    } else {
        if (request.mountPath.empty()) createFolder(base, true);
        mountPoint = base + "/" + u.share;
    }
    result.status = mountShare(u, credentials, mountPoint, makeFolder, hidden);
    if (result.status == 0) result.mountPoints.push_back(normalizePath(mountPoint));
    return result;
}

int FileLayer::mountServerVolumeSync(const std::string& url, const std::string& mountDir,
                                     const std::string& user, const std::string& password,
                                     std::uint32_t flags, std::string* rootPath) {
    const ShareUrl u = parseShareUrl(url);
    if (!u.valid) return EINVAL;
    const auto credentials = credentialsFor(u, false, !user.empty(), user, password);
    const std::string base = mountDir.empty() ? defaultMountRoot() : mountDir;
    if (mountDir.empty()) createFolder(base, true);
    const std::string mountPoint = normalizePath(base + "/" + u.share);
    const int rc = mountShare(u, credentials, mountPoint, true, (flags & 1) != 0);
    if (rc == 0 && rootPath) *rootPath = mountPoint;
    return rc;
}

int FileLayer::mountLocalDisk(const std::string& devicePath, const std::string& target,
                              const std::vector<std::string>& options, std::string* mountedAt) {
    // Options the kernel knows go to mount(2). "x-gvfs-hide" (and every other "x-" option) is
    // a hint for desktop file managers that only userspace mounters pass on; the kernel would
    // refuse it, so it is kept in this process's table and shown in mountedVolumes().
    bool hidden = false;
    std::string data;
    for (const auto& o : options) {
        if (o == "x-gvfs-hide" || o == "nobrowse") {
            hidden = true;
        } else if (o.rfind("x-", 0) != 0) {
            data += (data.empty() ? "" : ",") + o;
        }
    }
    if (!target.empty()) {
        const std::string type = detail::blockDeviceType(devicePath);
        if (type.empty()) return access(devicePath.c_str(), F_OK) == 0 ? EINVAL : ENOENT;
        if (mount(devicePath.c_str(), target.c_str(), type.c_str(), MS_NOSUID | MS_NODEV,
                  data.empty() ? nullptr : data.c_str()) == 0) {
            if (hidden) rememberHiddenLocalMount(target);
            if (mountedAt) *mountedAt = normalizePath(target);
            return 0;
        }
        if (errno != EPERM && errno != EACCES) return errno;
    }
    std::string at;
    const int rc = mountWithUDisks(devicePath, hidden, &at);
    if (rc == 0 && mountedAt) *mountedAt = at;
    return rc;
}

int FileLayer::forceUnmount(const std::string& path) {
    const std::string p = normalizePath(path);
    if (p.empty()) return EINVAL;
    if (auto sp = shareMounts().resolve(p)) {
        // The share's connection stays cached in the client contexts and is reused by a later
        // mount of the same share; dropping the mount is what makes the path local again.
        shareMounts().remove(sp->mount.mountPoint);
        return 0;
    }
    for (const auto& m : kernelMounts()) {
        if (normalizePath(m.mountPoint) != p) continue;
        // A busy volume is detached: it disappears from the tree now and is released when its
        // last user lets go.
        if (umount2(p.c_str(), MNT_FORCE) != 0 && umount2(p.c_str(), MNT_DETACH) != 0) return errno;
        forgetHiddenLocalMount(p);
        return 0;
    }
    return EINVAL;
}

}  // namespace qvt::platform
