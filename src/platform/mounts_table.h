// The process's table of in-process share mounts, and the kernel's mount list.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/smb_client.h"

namespace qvt::platform {

struct ShareMount {
    std::string mountPoint;  // normalised local path
    std::string host;        // where SMB connects
    std::string authority;   // host as the caller named it (for the remount URL)
    std::string share;
    smb::Credentials credentials;
    bool hidden = false;
    std::string remountURL() const;
};

// A path under a share mount: the mount and the path inside the share ("" for its root).
struct SharePath {
    ShareMount mount;
    std::string relative;
    std::string url() const { return smb::url(mount.host, mount.share, relative); }
};

class MountTable {
  public:
    // The share mount holding `path` (the deepest when mounts nest).
    std::optional<SharePath> resolve(const std::string& path) const;
    std::optional<ShareMount> findShare(const std::string& host, const std::string& share) const;
    bool isMountPoint(const std::string& path) const;
    // Adds a mount; false when its mount point is taken.
    bool add(ShareMount mount);
    bool remove(const std::string& mountPoint);
    std::vector<ShareMount> list() const;

  private:
    mutable std::mutex mutex_;
    std::vector<ShareMount> mounts_;
};

MountTable& shareMounts();

// A kernel mount from /proc/self/mountinfo.
struct KernelMount {
    unsigned major = 0, minor = 0;
    std::string mountPoint;
    std::string fsType;
    std::string source;
};
std::vector<KernelMount> kernelMounts();
// The identity a local volume is remounted by: "file://" + its device for a block device,
// else "<fstype>://<source>".
std::string localRemountURL(const KernelMount& m);

// Local hidden-mount hints ("x-gvfs-hide") kept for kernel mounts made by this process.
void rememberHiddenLocalMount(const std::string& mountPoint);
bool isHiddenLocalMount(const std::string& mountPoint);
void forgetHiddenLocalMount(const std::string& mountPoint);

// Lexically normalised absolute path without a trailing slash ("" stays "").
std::string normalizePath(const std::string& path);

}  // namespace qvt::platform
