// Volume facts of a path and the list of mounted volumes.
#include <fcntl.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <unistd.h>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/files.h"
#include "platform/files_internal.h"
#include "platform/paths.h"

namespace qvt::platform {

namespace {

std::string realOrNormalPath(const std::string& path) {
    char buf[PATH_MAX];
    return realpath(path.c_str(), buf) ? std::string(buf) : normalizePath(path);
}

}  // namespace

std::string FileLayer::realPath(const std::string& path) {
    if (path.empty() || shareMounts().resolve(path)) return "";
    char buf[PATH_MAX];
    return realpath(path.c_str(), buf) ? std::string(buf) : std::string();
}

int FileLayer::flushVolume(const std::string& path) {
    if (path.empty()) return ENOENT;
    if (shareMounts().resolve(path)) return 0;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    const int rc = syncfs(fd) == 0 ? 0 : errno;
    close(fd);
    return rc;
}

int FileLayer::flushItem(const std::string& path) {
    if (path.empty()) return ENOENT;
    if (shareMounts().resolve(path)) return 0;
    if (const int rc = detail::syncLocal(path)) return rc;
    const auto slash = path.find_last_of('/');
    return slash != std::string::npos && slash > 0 ? detail::syncOne(path.substr(0, slash)) : 0;
}

VolumeFacts FileLayer::volumeFacts(const std::string& path) {
    VolumeFacts facts;
    if (path.empty()) return facts;
    if (auto sp = shareMounts().resolve(path)) {
        if (smb::serverSilentLately()) return facts;
        // One request answers both: the share still answers, and how much room it has.
        std::string u = sp->url();
        struct statvfs sv {};
        const int rc = smb::retryOnConnectionLoss([&] {
            const smb::Call call(sp->mount.credentials);
            if (!call.ctx()) return EIO;
            errno = 0;
            if (smbc_getFunctionStatVFS(call.ctx())(call.ctx(), u.data(), &sv) == 0) return 0;
            return errno != 0 ? errno : EIO;
        });
        if (rc != 0) return facts;
        facts.remountURL = sp->mount.remountURL();
        // libsmbclient reports bytes per sector in f_bsize and sectors per allocation unit in
        // f_frsize.
        const std::uint64_t unit = static_cast<std::uint64_t>(sv.f_bsize) *
                                   static_cast<std::uint64_t>(sv.f_frsize ? sv.f_frsize : 1);
        facts.availableCapacity = static_cast<std::uint64_t>(sv.f_bavail) * unit;
        facts.totalCapacity = static_cast<std::uint64_t>(sv.f_blocks) * unit;
        return facts;
    }
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return facts;
    struct statvfs sv {};
    if (statvfs(path.c_str(), &sv) == 0) {
        facts.availableCapacity = static_cast<std::uint64_t>(sv.f_bavail) * sv.f_frsize;
        facts.totalCapacity = static_cast<std::uint64_t>(sv.f_blocks) * sv.f_frsize;
    }
    // The kernel mount of the path's device whose mount point holds the path.
    const std::string real = realOrNormalPath(path);
    const KernelMount* best = nullptr;
    const auto mounts = kernelMounts();
    for (const auto& m : mounts) {
        if (m.major != major(st.st_dev) || m.minor != minor(st.st_dev)) continue;
        if (!isUnder(real, m.mountPoint)) continue;
        if (!best || m.mountPoint.size() >= best->mountPoint.size()) best = &m;
    }
    if (!best) return facts;
    facts.remountURL = localRemountURL(*best);
    if (best->source.rfind("/dev/", 0) == 0) facts.uuid = detail::blockDeviceUuid(best->source);
    return facts;
}

std::vector<MountedVolume> FileLayer::mountedVolumes() {
    std::vector<MountedVolume> out;
    for (const auto& m : kernelMounts()) {
        MountedVolume v;
        v.path = m.mountPoint;
        v.remountURL = localRemountURL(m);
        v.source = m.source;
        v.fsType = m.fsType;
        v.hidden = isHiddenLocalMount(m.mountPoint);
        out.push_back(std::move(v));
    }
    for (const auto& m : shareMounts().list()) {
        MountedVolume v;
        v.path = m.mountPoint;
        v.remountURL = m.remountURL();
        v.source = "//" + m.host + "/" + m.share;
        v.fsType = "smbfs";
        v.inProcess = true;
        v.hidden = m.hidden;
        out.push_back(std::move(v));
    }
    return out;
}

}  // namespace qvt::platform
