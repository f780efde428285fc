// The file layer: every file operation of the product, by path, and the mount services.
//
// One process-wide service. A path under a share mounted in-process (see mountURLSync) is served
// over SMB on that share; every other path is local. Operations report errno-style codes: 0 is
// success, anything else an errno value (platformErrorCode maps them to the product's codes).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::platform {

// The product's write-error codes.
constexpr int kUnknownWriteError = 512;
constexpr int kOutOfSpaceWriteError = 640;

// ENOSPC and EDQUOT -> 640; lost-connection errors (EIO, ENOTCONN, ETIMEDOUT, ECONNRESET,
// EHOSTDOWN, EHOSTUNREACH, ESTALE) -> 512; every other errno keeps its value.
int platformErrorCode(int errnoValue);
// The readable description of an errno value (of the mapped code for 512 and 640).
std::string errorDescription(int errnoValue);

// A copy's source that is neither a regular file nor a folder (a FIFO, a socket, a device
// node): it is never read, since reading it could wait for ever. Outside the errno range.
inline constexpr int kNotARegularFile = 10001;
// A name that is not UTF-8, for a share: SMB names are Unicode, so it cannot be written there.
inline constexpr int kNameNotUtf8 = 10002;

struct VolumeFacts {
    // An SMB mount: its smb://host/share URL while the connection answers, "" once it is lost.
    // A local volume: an identity of its device while the volume is there; "" when the path
    // cannot be read.
    std::string remountURL;
    std::optional<std::uint64_t> availableCapacity;
    // The size of the whole volume, free or not.
    std::optional<std::uint64_t> totalCapacity;
    std::string uuid;  // the filesystem UUID; "" when the filesystem has none
};

struct MountedVolume {
    std::string path;        // mount point
    std::string remountURL;  // smb://host/share or an identity of the local device
    std::string source;      // the device or share the volume comes from
    std::string fsType;      // "smbfs" for in-process shares
    bool inProcess = false;
    bool hidden = false;  // asked to stay off the desktop
};

// Which network mount service the platform offers: the newer URL mount or the older
// server-volume mount. Linux offers the newer one; tests switch to reach the other.
enum class MountService { Newer, Older, None };

// A synchronous network mount: the URL (scheme "afp" or "smb", both served over SMB), an
// optional mount path, credentials (none for guest), open options ("UIOption", "Guest") and
// mount options ("MountAtMountDir", "MountFlags").
struct NetMountRequest {
    std::string url;
    std::string mountPath;
    bool withCredentials = false;
    std::string user;
    std::string password;
    Record openOptions;
    Record mountOptions;
};

struct NetMountResult {
    int status = 0;                        // 0 mounted; an errno value otherwise
    std::vector<std::string> mountPoints;  // where the share is mounted (status 0)
};

// The no-browse mount flag: the volume stays off the desktop and out of the side bar.
constexpr std::int64_t kMountFlagNoBrowse = 0x100000;

struct ItemIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    bool operator==(const ItemIdentity&) const = default;
};

// What a file's contents are known by without reading them: a write moves its modification
// time (and may change its length), a file put in its place has another identity.
struct ItemStamp {
    ItemIdentity identity;
    std::uint64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    bool operator==(const ItemStamp&) const = default;
};

class FileLayer {
  public:
    virtual ~FileLayer() = default;

    // ---- Items ----
    // Existence and folder test, following symbolic links (a broken link does not exist).
    bool exists(const std::string& path, bool* isFolder = nullptr) {
        return lookUp(path, isFolder) == 0;
    }
    // The same, answering 0 or why the item cannot be reached: ENOENT when it is not there,
    // EACCES when a folder on its way may not be searched, and so on.
    virtual int lookUp(const std::string& path, bool* isFolder = nullptr);
    bool isFolder(const std::string& path) {
        bool folder = false;
        return exists(path, &folder) && folder;
    }
    // The names in a folder in listing order, hidden ones included ("." and ".." left out).
    virtual std::vector<std::string> listFolder(const std::string& path, int* error = nullptr);
    // Creates a folder; with parents, missing parents too and an existing folder is no error.
    virtual int createFolder(const std::string& path, bool withParents);
    // Copies a file (or a folder with everything in it) to a destination that must not exist.
    // The destination grows while the copy runs. A failed copy may leave a partial destination.
    virtual int copyItem(const std::string& from, const std::string& to);
    // Moves an item; across volumes it is copied and then the source removed.
    virtual int moveItem(const std::string& from, const std::string& to);
    // Gives an item another name on the same volume (or share) without ever replacing what is
    // there: EEXIST when `to` exists, EXDEV when the two are on different volumes.
    virtual int renameItem(const std::string& from, const std::string& to);
    // Gives a file the name `to` on a local volume, replacing the file there in one step, so
    // that the name is never without a file: only for a file of this upload's own that is made
    // whole again. ENOTSUP on a share.
    virtual int replaceItem(const std::string& from, const std::string& to);
    // Removes a file, a link or a folder with everything in it. Mount points met on the way
    // are left alone (their contents are never removed through a parent).
    virtual int removeItem(const std::string& path);
    // Removes a folder only while it holds nothing: ENOTEMPTY (or the share's refusal) leaves
    // it and everything in it as it is.
    virtual int removeEmptyFolder(const std::string& path);
    // The size in bytes (following links); nothing when the item cannot be read.
    virtual std::optional<std::uint64_t> size(const std::string& path);
    // The total file size of a file (following links); nothing for a folder or when unreadable.
    virtual std::optional<std::uint64_t> totalSize(const std::string& path);
    // Whether the item itself is a symbolic link (Linux's aliases); false when unknown.
    virtual bool isAlias(const std::string& path);
    // Which item the path leads to (following links): its device and inode, equal for two
    // paths exactly when they reach the same item; nothing when it cannot be read.
    virtual std::optional<ItemIdentity> identity(const std::string& path);
    // The stamp of the item the path leads to (following links); nothing when it cannot be read.
    virtual std::optional<ItemStamp> stamp(const std::string& path);
    // The path of a local item with every link and "." or ".." resolved, as the kernel reaches
    // it; "" when it cannot be read, and for a share's path (a share keeps its links to itself).
    virtual std::string realPath(const std::string& path);
    virtual VolumeFacts volumeFacts(const std::string& path);
    // Writes out what the kernel still holds in memory for the local volume of `path`, so a disk
    // unplugged after the upload has every byte. A share has nothing to flush: its writes are
    // done when each file is closed. 0, or an errno value.
    virtual int flushVolume(const std::string& path);
    // Writes a local file, or a folder with everything below it, to its disk, and the entry
    // for it in its folder. A move across volumes does this before it removes the source.
    // Nothing to do on a share. 0, or the first errno value met.
    virtual int flushItem(const std::string& path);

    // ---- Mounts ----
    // Kernel mounts in /proc/self/mountinfo order, then the in-process shares in mount order.
    virtual std::vector<MountedVolume> mountedVolumes();
    // Connects a share and registers its mount point; status EEXIST when the share is already
    // mounted, EBUSY when the mount point is taken, EACCES for refused credentials.
    virtual NetMountResult mountURLSync(const NetMountRequest& request);
    // The older service: mounts the share in a folder of its own inside `mountDir` (or inside
    // the default mount root when `mountDir` is ""); `flags` 1 keeps it off the desktop. Gives
    // the root folder of the mounted volume.
    virtual int mountServerVolumeSync(const std::string& url, const std::string& mountDir,
                                      const std::string& user, const std::string& password,
                                      std::uint32_t flags, std::string* rootPath);
    // Mounts a local disk's device node at `target` (mount(2)); when the process may not mount,
    // through UDisks2, which picks its own mount point. `options` are mount options;
    // "x-gvfs-hide" is a desktop hint, recorded with the mount. `mountedAt` receives the path.
    virtual int mountLocalDisk(const std::string& devicePath, const std::string& target,
                               const std::vector<std::string>& options, std::string* mountedAt);
    // Forced unmount: of the in-process share that holds `path`, or of the kernel mount whose
    // mount point is `path`.
    virtual int forceUnmount(const std::string& path);
    virtual MountService mountService();

    // The folder for mounts that were given no mount path (normally the user's mount folder).
    void setDefaultMountRoot(const std::string& path);
    std::string defaultMountRoot() const;
    // Whether `path` is the mount point of a kernel mount or an in-process share.
    bool isMountPoint(const std::string& path);
    // The smb:// URL of a path under an in-process share ("" for any other path), so that a
    // file manager can be pointed at a folder this process alone has mounted.
    std::string networkURLForPath(const std::string& path);
};

// While one lives, the file copies this thread makes ask `goOn` between two pieces of a file,
// telling it how many bytes of the file are written so far, and end there with ECANCELED when
// it answers false: a stop in a large file takes effect within a piece rather than once the
// whole file is written, and the progress moves within the file. Without one a file is copied
// whole.
class CopyGate {
  public:
    explicit CopyGate(std::function<bool(std::uint64_t written)> goOn);
    ~CopyGate();
    CopyGate(const CopyGate&) = delete;
    CopyGate& operator=(const CopyGate&) = delete;
    bool goOn(std::uint64_t written) const { return goOn_(written); }

  private:
    std::function<bool(std::uint64_t)> goOn_;
    const CopyGate* outer_;
};

// The process-wide file layer.
FileLayer& files();
// Tests: replace the process-wide layer (nullptr restores the real one).
void setFilesForTesting(FileLayer* layer);
// Tests: pretend the platform offers another mount service (nothing restores the real one).
void setMountServiceForTesting(std::optional<MountService> service);

}  // namespace qvt::platform
