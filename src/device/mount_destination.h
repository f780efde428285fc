// Mounting a network device's shares and a local disk's volumes under the mount folder, and
// remembering the mount points made, so the wizard can release them later.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/guarded.h"
#include "platform/version.h"

namespace qvt {

namespace platform {
class Log;
}

// The version rules of the share mount, as data: which (major, minor) pairs take which form.
struct MountVersionRules {
    bool servedMajor = false;                // only this major gets mount points and recorded paths
    bool publicAsGuestUrl = false;           // public share: the ";AUTH=No User Authent" URL form
    bool mountAtMountDir = false;            // mount at the mount folder itself, result + share
    bool publicGuestOption = false;          // public share: the "Guest" open option
    bool emptyPasswordOverSmb = false;       // private share without password: SMB (newer service)
    bool olderEmptyPasswordOverSmb = false;  // the same for the older service
};
MountVersionRules mountVersionRules(const platform::PlatformVersion& version);

class QVTransferMountDestination {
  public:
    // Logs to the system log.
    QVTransferMountDestination();
    explicit QVTransferMountDestination(std::shared_ptr<platform::Log> log);
    ~QVTransferMountDestination();

    void setLog(std::shared_ptr<platform::Log> log);

    // Mount points this object made, that the wizard may unmount later; appended to, never
    // pruned.
    Guarded<std::vector<std::string>> mountedPathsArray;

    // Mounts a network share; the local path of the mounted share, or "" on failure. Blocks
    // until the mount service answers; called from background threads.
    std::string mountNASShare(const std::string& share, const std::string& shareAccess,
                              const std::string& ipAddress, const std::string& name,
                              const std::string& hostName, const std::string& mountDir,
                              const std::string& userID, const std::string& userPasswd,
                              const std::string& noBrowse);

    // Mounts a local disk's volume (device "/dev/" + bsdNode) in the mount folder, unless
    // `mounted` says it already is; returns the volume's path ("" on failure).
    std::string mountDASVolume(const std::string& volumeName, const std::string& bsdNode,
                               std::int64_t mounted, const std::string& path,
                               const std::string& mountDir);

    // The status of the last share mount this object tried (0, or the error number): a
    // mount refused for the account (EACCES, EPERM) is told apart from a device not reached.
    int lastShareMountStatus() const { return lastShareMountStatus_.load(); }

    // ---- Shared with the controller's mount operations ----
    // Whether some mounted volume's path contains `path` (plain substring test).
    static bool anyVolumePathContains(const std::string& path);
    // Forced unmount of each path, then removal of its (now empty) folder; errors ignored.
    static void unmountPaths(const std::vector<std::string>& paths);
    // For a process about to end in the middle of an upload: the folders under the shares this
    // object mounted go, while the shares stay mounted for the copy that may still be writing
    // (they live in the process and end with it). A disk the kernel mounted keeps its folder.
    void removeMountPointFoldersAtExit() const;
    // The recorded paths that do not occur inside `destination`, in order.
    static std::vector<std::string> pathsNotIn(const std::vector<std::string>& mounted,
                                               const std::string& destination);

  private:
    std::string mountWithURLService(const std::string& share, bool isPrivate,
                                    const std::string& ipAddress, const std::string& name,
                                    const std::string& hostName, const std::string& mountDir,
                                    const std::string& userID, const std::string& userPasswd,
                                    const std::string& noBrowse);
    std::string mountWithServerVolumeService(const std::string& share, bool isPrivate,
                                             const std::string& ipAddress,
                                             const std::string& mountDir, const std::string& userID,
                                             const std::string& userPasswd,
                                             const std::string& noBrowse);
    void logMount(const std::string& url, int status, const std::string& result,
                  const platform::PlatformVersion& version, const std::string& password);
    void record(const std::string& path);

    Guarded<std::shared_ptr<platform::Log>> log_;
    std::atomic<int> lastShareMountStatus_{0};
};

}  // namespace qvt
