#include "source/tree_count.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace qvt::source {

ItemKind itemKind(const std::string& path) {
    struct stat st {};
    if (path.empty() || ::stat(path.c_str(), &st) != 0) return ItemKind::Missing;
    return S_ISDIR(st.st_mode) ? ItemKind::Folder : ItemKind::File;
}

bool itemSize(const std::string& path, std::uint64_t& size) {
    struct stat st {};
    if (path.empty() || ::lstat(path.c_str(), &st) != 0) return false;
    size = st.st_size > 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
    return true;
}

namespace {

using Identity = std::pair<dev_t, ino_t>;

// The folders above `path` (its parent, grandparent and so on up to the root), as the path
// reaches them.
std::vector<Identity> ancestorIdentities(std::string path) {
    std::vector<Identity> found;
    while (!path.empty() && path != "/") {
        while (path.size() > 1 && path.back() == '/') path.pop_back();
        const std::size_t slash = path.rfind('/');
        if (slash == std::string::npos) break;
        path = slash == 0 ? std::string("/") : path.substr(0, slash);
        struct stat st {};
        if (::stat(path.c_str(), &st) == 0) found.emplace_back(st.st_dev, st.st_ino);
    }
    return found;
}

bool isAmong(const std::vector<Identity>& identities, const struct stat& st) {
    return std::find(identities.begin(), identities.end(), Identity{st.st_dev, st.st_ino}) !=
           identities.end();
}

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY;

// A sub-folder to go into, by its name in the folder above.
struct Child {
    std::string name;
    bool viaLink = false;
};

// One level of the walk: the folder now being read, or an ancestor waiting for its turn.
struct Frame {
    DIR* dir = nullptr;    // the open stream; nothing once the folder has been read to its end
    int fd = -1;           // the folder's descriptor while it is open
    std::string name;      // relative to the level above (the root's is the walk's path)
    bool viaLink = false;  // reached through a link to a folder, so opened following it
    dev_t dev = 0;
    ino_t ino = 0;
    // Sub-folders still to visit, once the stream was read to its end early.
    std::vector<Child> pending;
};

Frame makeFrame(DIR* dir, int fd, const Child& child) {
    Frame frame;
    frame.dir = dir;
    frame.fd = fd;
    frame.name = child.name;
    frame.viaLink = child.viaLink;
    struct stat st {};
    if (::fstat(fd, &st) == 0) {
        frame.dev = st.st_dev;
        frame.ino = st.st_ino;
    }
    return frame;
}

class Walker {
  public:
    Walker(std::string root, const WalkOptions& options)
        : root_(std::move(root)),
          budget_(std::max<std::size_t>(2, options.openLevels)),
          skipped_(options.skipped) {}
    ~Walker() {
        for (std::size_t i = 0; i < stack_.size(); ++i) closeFrame(i);
    }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    TreeCount run() {
        count_.folders = 1;  // the folder itself
        const int fd = ::open(root_.c_str(), kDirFlags);
        if (fd < 0) return count_;
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
            return count_;
        }
        stack_.push_back(makeFrame(dir, fd, Child{root_, false}));
        if (isSkipped(stack_.back().dev, stack_.back().ino)) return {};
        open_ = 1;

        while (!stack_.empty()) {
            const std::size_t top = stack_.size() - 1;
            Child child;
            if (stack_[top].dir) {
                const dirent* entry = ::readdir(stack_[top].dir);
                if (!entry) {
                    popFrame();
                    continue;
                }
                const Visit seen = visit(stack_[top].fd, *entry);
                if (seen == Visit::Counted) continue;
                child = Child{entry->d_name, seen == Visit::EnterLink};
            } else {
                Frame& frame = stack_[top];
                if (frame.pending.empty()) {
                    popFrame();
                    continue;
                }
                child = std::move(frame.pending.back());
                frame.pending.pop_back();
                if (frame.fd < 0) {
                    if (open_ >= budget_) closeOldestBelow(top);
                    if (!reopen(top)) {
                        // The folder moved or went away meanwhile: what is left of it is lost.
                        stack_[top].pending.clear();
                        continue;
                    }
                }
            }
            descend(top, child);
        }
        return count_;
    }

  private:
    enum class Visit { Counted, Enter, EnterLink };

    // Counts one entry of the folder open as `fd`, and says whether it is a folder to go into.
    // The count is what the copy will do: a link is counted as what it leads to, a folder's
    // contents included; a link to nothing, and a link back into a folder above it (which the
    // copy reports as failed instead of following), are one file of no size each.
    Visit visit(int fd, const dirent& entry) {
        const char* name = entry.d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            return Visit::Counted;
        if (entry.d_type == DT_DIR) {
            struct stat own {};
            if (namedLikeSkipped(name) && ::fstatat(fd, name, &own, AT_SYMLINK_NOFOLLOW) == 0 &&
                isSkipped(own.st_dev, own.st_ino))
                return Visit::Counted;
            ++count_.folders;
            return Visit::Enter;
        }
        struct stat own {};
        if (::fstatat(fd, name, &own, AT_SYMLINK_NOFOLLOW) != 0) return Visit::Counted;  // gone
        if (S_ISDIR(own.st_mode)) {
            if (isSkipped(own.st_dev, own.st_ino)) return Visit::Counted;
            ++count_.folders;
            return Visit::Enter;
        }
        if (S_ISLNK(own.st_mode)) {
            // A link to nothing, or back into a folder above it, is one item that the copy
            // reports as failed: counted as a file of no size.
            struct stat target {};
            if (::fstatat(fd, name, &target, 0) != 0) {
                ++count_.files;
                return Visit::Counted;
            }
            if (S_ISDIR(target.st_mode)) {
                if (isSkipped(target.st_dev, target.st_ino)) return Visit::Counted;
                if (leadsAbove(target)) {
                    ++count_.files;
                    return Visit::Counted;
                }
                ++count_.folders;
                return Visit::EnterLink;
            }
            own = target;
        }
        ++count_.files;
        if (own.st_size > 0) count_.bytes += static_cast<std::uint64_t>(own.st_size);
        return Visit::Counted;
    }

    bool namedLikeSkipped(const char* name) const {
        for (const SkippedFolder& folder : skipped_)
            if (folder.name == name) return true;
        return false;
    }

    bool isSkipped(dev_t device, ino_t inode) const {
        for (const SkippedFolder& folder : skipped_)
            if (folder.device == static_cast<std::uint64_t>(device) &&
                folder.inode == static_cast<std::uint64_t>(inode))
                return true;
        return false;
    }

    // Whether `folder` is one of the folders the walk is in, or one above its root.
    bool leadsAbove(const struct stat& folder) {
        for (const Frame& frame : stack_)
            if (frame.dev == folder.st_dev && frame.ino == folder.st_ino) return true;
        if (!rootAncestorsRead_) {
            rootAncestorsRead_ = true;
            rootAncestors_ = ancestorIdentities(root_);
        }
        return isAmong(rootAncestors_, folder);
    }

    static int openFlags(bool viaLink) { return viaLink ? kDirFlags : kDirFlags | O_NOFOLLOW; }

    void descend(std::size_t parent, const Child& child) {
        if (open_ >= budget_) closeOldestBelow(parent);
        const int flags = openFlags(child.viaLink);
        int fd = ::openat(stack_[parent].fd, child.name.c_str(), flags);
        if (fd < 0 && (errno == EMFILE || errno == ENFILE) && closeOldestBelow(parent))
            fd = ::openat(stack_[parent].fd, child.name.c_str(), flags);
        if (fd < 0) return;  // unreadable or gone: skipped silently
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
            return;
        }
        stack_.push_back(makeFrame(dir, fd, child));
        ++open_;
    }

    // Closes the lowest level that still holds a descriptor, below `limit`, reading the rest of
    // its stream first. Returns whether one was closed.
    bool closeOldestBelow(std::size_t limit) {
        for (std::size_t i = 0; i < limit && i < stack_.size(); ++i) {
            Frame& frame = stack_[i];
            if (frame.fd < 0) continue;
            if (frame.dir) {
                while (const dirent* entry = ::readdir(frame.dir)) {
                    const Visit seen = visit(frame.fd, *entry);
                    if (seen != Visit::Counted)
                        frame.pending.push_back(Child{entry->d_name, seen == Visit::EnterLink});
                }
            }
            closeFrame(i);
            return true;
        }
        return false;
    }

    // Opens the closed level `index` again, from the nearest open level above it or from the
    // root, checking that every level reached is still the folder it was.
    bool reopen(std::size_t index) {
        std::size_t level = index;
        while (level > 0 && stack_[level - 1].fd < 0) --level;
        int fd = -1;
        if (level == 0) {
            fd = ::open(root_.c_str(), kDirFlags);
            if (fd < 0 || !sameFolder(0, fd)) return closeAndFail(fd);
            level = 1;
        }
        for (; level <= index; ++level) {
            const int base = fd >= 0 ? fd : stack_[level - 1].fd;
            const int next =
                ::openat(base, stack_[level].name.c_str(), openFlags(stack_[level].viaLink));
            if (fd >= 0) ::close(fd);
            fd = next;
            if (fd < 0 || !sameFolder(level, fd)) return closeAndFail(fd);
        }
        stack_[index].fd = fd;
        ++open_;
        return true;
    }

    bool sameFolder(std::size_t level, int fd) const {
        const Frame& frame = stack_[level];
        struct stat st {};
        return ::fstat(fd, &st) == 0 && st.st_dev == frame.dev && st.st_ino == frame.ino;
    }

    static bool closeAndFail(int fd) {
        if (fd >= 0) ::close(fd);
        return false;
    }

    void closeFrame(std::size_t index) {
        Frame& frame = stack_[index];
        if (frame.dir) {
            ::closedir(frame.dir);  // closes frame.fd too
            --open_;
        } else if (frame.fd >= 0) {
            ::close(frame.fd);
            --open_;
        }
        frame.dir = nullptr;
        frame.fd = -1;
    }

    void popFrame() {
        closeFrame(stack_.size() - 1);
        stack_.pop_back();
    }

    std::string root_;
    std::size_t budget_;
    std::vector<SkippedFolder> skipped_;
    std::size_t open_ = 0;
    std::vector<Frame> stack_;
    TreeCount count_;
    bool rootAncestorsRead_ = false;
    std::vector<Identity> rootAncestors_;
};

}  // namespace

TreeCount countItem(const std::string& path, const WalkOptions& options) {
    TreeCount count;
    struct stat own {};
    const bool link = !path.empty() && ::lstat(path.c_str(), &own) == 0 && S_ISLNK(own.st_mode);
    switch (itemKind(path)) {
        case ItemKind::Missing:
            // A link to nothing is an item the copy reports as failed; a path that is not
            // there at all is nothing.
            if (link) count.files = 1;
            return count;
        case ItemKind::File: {
            // A link is counted as the file it leads to, which is what the copy writes.
            count.files = 1;
            struct stat st {};
            if (::stat(path.c_str(), &st) == 0 && st.st_size > 0)
                count.bytes = static_cast<std::uint64_t>(st.st_size);
            return count;
        }
        case ItemKind::Folder: {
            struct stat target {};
            if (link && ::stat(path.c_str(), &target) == 0 &&
                isAmong(ancestorIdentities(path), target)) {
                count.files = 1;  // a link back into a folder above it: reported, not followed
                return count;
            }
            return Walker(path, options).run();
        }
    }
    return count;
}

}  // namespace qvt::source
