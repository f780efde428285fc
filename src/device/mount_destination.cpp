#include "device/mount_destination.h"

#include <unistd.h>

#include <cerrno>

#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/smb_url.h"
#include "qvtransfer/Value.h"

namespace qvt {

namespace {

constexpr const char* kAuthenticatedForm = "%@://%@/%@";
constexpr const char* kGuestForm = "%@://;AUTH=%@@%@/%@";
constexpr const char* kGuestMechanism = "No User Authent";
constexpr const char* kMountLogLine =
    "mountStatus: %@, %d \nmountPath: %@ \nmajorVersion: %ld, \nminorVersion: %ld";

// One row of the version rules: a major (or any, -1) and a minor (or any, -1), and the rules
// that hold for every version matching it.
struct VersionRule {
    long major;
    long minor;
    bool MountVersionRules::*flag;
};

// Kept as they were shipped, deliberately: public shares as guest by URL on x.8 and x.9 and by
// open option on x.10; a private share without password goes over SMB on x.8 to x.10 (x.7 on
// the older service); only major 10 gets a mount point in the mount folder, at the folder
// itself on 10.8 and 10.9 and in a folder per share on later versions.
constexpr VersionRule kVersionRules[] = {
    {10, -1, &MountVersionRules::servedMajor},
    {-1, 8, &MountVersionRules::publicAsGuestUrl},
    {-1, 9, &MountVersionRules::publicAsGuestUrl},
    {10, 8, &MountVersionRules::mountAtMountDir},
    {10, 9, &MountVersionRules::mountAtMountDir},
    {-1, 10, &MountVersionRules::publicGuestOption},
    {-1, 8, &MountVersionRules::emptyPasswordOverSmb},
    {-1, 9, &MountVersionRules::emptyPasswordOverSmb},
    {-1, 10, &MountVersionRules::emptyPasswordOverSmb},
    {-1, 7, &MountVersionRules::olderEmptyPasswordOverSmb},
};

// A substring test as the mount rules mean it: an empty text is never found.
bool contains(const std::string& haystack, const std::string& needle) {
    return !needle.empty() && haystack.find(needle) != std::string::npos;
}

std::string joinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

std::string toSmb(const std::string& url) {
    return url.size() >= 3 ? "smb" + url.substr(3) : url;
}

// The mount point folder of a hidden mount: the mount folder itself on 10.8 and 10.9, else a
// folder per share in it (made when missing; "" when it cannot be made).
std::string hiddenMountPoint(const MountVersionRules& rules, bool hide, const std::string& mountDir,
                             const std::string& share) {
    if (!rules.servedMajor || !hide || mountDir.empty()) return "";
    if (rules.mountAtMountDir) return mountDir;
    const std::string mountPoint = joinPath(mountDir, share);
    auto& files = platform::files();
    if (!files.isFolder(mountPoint) && files.createFolder(mountPoint, true) != 0) return "";
    return mountPoint;
}

// The URL (guest or authenticated form, escaped), the mount path and the options of a mount.
platform::NetMountRequest urlMountRequest(const MountVersionRules& rules, const std::string& share,
                                          bool isPrivate, const std::string& ipAddress, bool hide,
                                          const std::string& mountPoint, const std::string& userID,
                                          const std::string& userPasswd) {
    bool withCredentials = true;
    std::string url;
    if (!isPrivate && rules.publicAsGuestUrl) {
        url = platform::format(kGuestForm, "afp", kGuestMechanism, ipAddress, share);
        withCredentials = false;
    } else {
        url = platform::format(kAuthenticatedForm, "afp", ipAddress, share);
    }
    platform::NetMountRequest request;
    request.url = platform::addPercentEscapes(url);
    if (hide) {
        request.mountPath = mountPoint;
        request.mountOptions.set("MountAtMountDir", "true");
        request.mountOptions.set("MountFlags", Value(platform::kMountFlagNoBrowse));
    }
    request.openOptions.set("UIOption", "NoUI");
    if (!isPrivate && rules.publicGuestOption) {
        request.openOptions.set("Guest", "true");
        withCredentials = false;
    } else if (isPrivate && userPasswd.empty() && rules.emptyPasswordOverSmb) {
        request.url = toSmb(request.url);
    }
    request.withCredentials = withCredentials;
    if (withCredentials) {
        request.user = userID;
        request.password = userPasswd;
    }
    return request;
}

// A share of the device that is mounted already, found among the mounted volumes by their
// remount URLs; "" when there is none. Plain substring tests, so share "Public" also matches
// "Public2".
std::string alreadyMountedShare(const std::string& share, const std::string& ipAddress,
                                const std::string& name, const std::string& hostName) {
    // The address may carry the port of the device's HTTP interface (a device on loopback);
    // the share's URL names the host alone.
    std::string host = platform::parseShareUrl("smb://" + ipAddress + "/x").host;
    if (host.empty()) host = ipAddress;
    for (const auto& volume : platform::files().mountedVolumes()) {
        const std::string remount = platform::removePercentEscapes(volume.remountURL);
        const bool device =
            contains(remount, hostName) || contains(remount, host) || contains(remount, name + ".");
        if (device && contains(remount, share)) return volume.path;
    }
    return "";
}

}  // namespace

MountVersionRules mountVersionRules(const platform::PlatformVersion& version) {
    MountVersionRules rules;
    for (const auto& row : kVersionRules) {
        if ((row.major == -1 || row.major == version.major) &&
            (row.minor == -1 || row.minor == version.minor))
            rules.*row.flag = true;
    }
    return rules;
}

QVTransferMountDestination::QVTransferMountDestination()
    : QVTransferMountDestination(std::make_shared<platform::SysLog>()) {}

QVTransferMountDestination::QVTransferMountDestination(std::shared_ptr<platform::Log> log)
    : log_(std::move(log)) {}

QVTransferMountDestination::~QVTransferMountDestination() = default;

void QVTransferMountDestination::setLog(std::shared_ptr<platform::Log> log) {
    log_.set(std::move(log));
}

void QVTransferMountDestination::record(const std::string& path) {
    // An empty result names no mount point; there is nothing to release later.
    if (path.empty()) return;
    mountedPathsArray.with([&](std::vector<std::string>& v) { v.push_back(path); });
}

void QVTransferMountDestination::logMount(const std::string& url, int status,
                                          const std::string& result,
                                          const platform::PlatformVersion& version,
                                          const std::string& password) {
    lastShareMountStatus_ = status;
    auto log = log_.get();
    if (!log) return;
    const std::string line =
        platform::format(kMountLogLine, url, status, result, version.major, version.minor);
    // The password is never part of the URL, but a password that happens to equal a share or
    // host name must not show up in the log either.
    log->write(platform::redact(line, password));
}

std::string QVTransferMountDestination::mountNASShare(
    const std::string& share, const std::string& shareAccess, const std::string& ipAddress,
    const std::string& name, const std::string& hostName, const std::string& mountDir,
    const std::string& userID, const std::string& userPasswd, const std::string& noBrowse) {
    const bool isPrivate = shareAccess == "false";
    // A share name that is not a plain folder name could point the mount point (or a later
    // removal) outside the mount folder.
    if (!platform::isSafeFolderName(share)) {
        logMount("", EINVAL, "", platform::readPlatformVersion(), userPasswd);
        return "";
    }
    switch (platform::files().mountService()) {
        case platform::MountService::Newer:
            return mountWithURLService(share, isPrivate, ipAddress, name, hostName, mountDir,
                                       userID, userPasswd, noBrowse);
        case platform::MountService::Older:
            return mountWithServerVolumeService(share, isPrivate, ipAddress, mountDir, userID,
                                                userPasswd, noBrowse);
        case platform::MountService::None:
            break;
    }
    return "";
}

std::string QVTransferMountDestination::mountWithURLService(
    const std::string& share, bool isPrivate, const std::string& ipAddress, const std::string& name,
    const std::string& hostName, const std::string& mountDir, const std::string& userID,
    const std::string& userPasswd, const std::string& noBrowse) {
    const auto version = platform::readPlatformVersion();
    const auto rules = mountVersionRules(version);
    const bool hide = noBrowse == "true";

    const bool mountPointThere = platform::files().isFolder(joinPath(mountDir, share));
    const std::string mountPoint = hiddenMountPoint(rules, hide, mountDir, share);
    const platform::NetMountRequest request =
        urlMountRequest(rules, share, isPrivate, ipAddress, hide, mountPoint, userID, userPasswd);
    const auto mounted = platform::files().mountURLSync(request);

    std::string result;
    bool foundMounted = false;
    if (mounted.status == 0) {
        // Only major 10 is served; other majors get the (empty) mount point folder.
        if (!rules.servedMajor) {
            result = mountPoint;
        } else if (noBrowse == "false") {
            result = mounted.mountPoints.empty() ? "" : mounted.mountPoints.front();
        } else {
            record(rules.mountAtMountDir ? joinPath(mountPoint, share) : mountPoint);
            result = mountPoint;
        }
    } else {
        // Typically already mounted.
        result = alreadyMountedShare(share, ipAddress, name, hostName);
        foundMounted = !result.empty();
    }

    // On 10.8 and 10.9 the share is reached below the mount folder.
    if (!foundMounted && hide && rules.servedMajor && rules.mountAtMountDir && !result.empty())
        result = joinPath(result, share);

    // A mount that failed leaves no folder of its own behind in the mount folder. Only an
    // empty folder is removed: nothing anybody put there is ever lost.
    if (result.empty() && !mountPointThere && !mountPoint.empty() && mountPoint != mountDir)
        platform::files().removeEmptyFolder(mountPoint);

    logMount(request.url, mounted.status, result, version, userPasswd);
    return result;
}

std::string QVTransferMountDestination::mountWithServerVolumeService(
    const std::string& share, bool isPrivate, const std::string& ipAddress,
    const std::string& mountDir, const std::string& userID, const std::string& userPasswd,
    const std::string& noBrowse) {
    auto& files = platform::files();
    const auto version = platform::readPlatformVersion();
    const auto rules = mountVersionRules(version);
    const bool hide = noBrowse == "true";

    // 1. The mount folder, made without parents when missing.
    std::string mountPoint;
    if (hide && !mountDir.empty() &&
        (files.isFolder(mountDir) || files.createFolder(mountDir, false) == 0))
        mountPoint = mountDir;

    // 2.-3. URL and credentials.
    std::string url;
    std::string user, password;
    if (isPrivate) {
        url = platform::format(kAuthenticatedForm, "afp", ipAddress, share);
        user = userID;
        password = userPasswd;
    } else {
        url = platform::format(kGuestForm, "afp", kGuestMechanism, ipAddress, share);
    }
    url = platform::addPercentEscapes(url);
    if (isPrivate && userPasswd.empty() && rules.olderEmptyPasswordOverSmb) url = toSmb(url);

    // 4.-5. Mount; a failed mount gives the mount folder (kept as it always was).
    std::string root;
    const int status = files.mountServerVolumeSync(url, hide ? mountPoint : "", user, password,
                                                   hide ? 1 : 0, &root);
    const std::string result = status == 0 ? root : mountPoint;

    // 6.-7.
    if (hide) record(result);
    logMount(url, status, result, version, userPasswd);
    return result;
}

std::string QVTransferMountDestination::mountDASVolume(const std::string& volumeName,
                                                       const std::string& bsdNode,
                                                       std::int64_t mounted,
                                                       const std::string& path,
                                                       const std::string& mountDir) {
    // 1. Already mounted: used where it is, nothing recorded.
    if (mounted != 0) return platform::removePercentEscapes(path);
    // A volume or device name that is not a plain name would reach outside the mount folder or
    // /dev.
    if (!platform::isSafeFolderName(volumeName) || !platform::isSafeFolderName(bsdNode) ||
        mountDir.empty())
        return "";
    auto& files = platform::files();

    // 2. Target folder, made without parents.
    std::string target = joinPath(mountDir, volumeName);
    if (!files.isFolder(target) && files.createFolder(target, false) != 0) target.clear();

    // 3.-5. Mount the device node at the target, kept off the desktop. The kernel mount is
    // done by the time this returns; callers still confirm it with isVolumeMounted.
    std::string mountedAt;
    const int status = files.mountLocalDisk(platform::format("%@%@", "/dev/", bsdNode), target,
                                            {"x-gvfs-hide"}, &mountedAt);
    // UDisks2 picks its own mount point; that is then where the volume is.
    const std::string result = status == 0 && !mountedAt.empty() ? mountedAt : target;

    // 6.
    record(result);
    return result;
}

bool QVTransferMountDestination::anyVolumePathContains(const std::string& path) {
    for (const auto& volume : platform::files().mountedVolumes())
        if (contains(volume.path, path)) return true;
    return false;
}

void QVTransferMountDestination::unmountPaths(const std::vector<std::string>& paths) {
    auto& files = platform::files();
    for (const auto& path : paths) {
        // The in-process shares can only be released by this process, so the forced unmount
        // is the file layer's rather than an external tool's. Its result is not examined.
        files.forceUnmount(path);
        // The now empty mount point folder. The removal never descends into a volume that is
        // still mounted, so a failed unmount cannot cost the volume its files.
        files.removeItem(path);
    }
}

void QVTransferMountDestination::removeMountPointFoldersAtExit() const {
    // The local folder only: through the file layer the path would lead into the share. A
    // folder that is not empty, or a kernel mount point, is refused and stays.
    for (const auto& path : mountedPathsArray.get()) ::rmdir(path.c_str());
}

std::vector<std::string> QVTransferMountDestination::pathsNotIn(
    const std::vector<std::string>& mounted, const std::string& destination) {
    std::vector<std::string> out;
    for (const auto& p : mounted)
        if (!contains(destination, p)) out.push_back(p);
    return out;
}

}  // namespace qvt
