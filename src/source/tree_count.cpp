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

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY;

// One level of the walk: the folder now being read, or an ancestor waiting for its turn.
struct Frame {
    DIR* dir = nullptr;  // the open stream; nothing once the folder has been read to its end
    int fd = -1;         // the folder's descriptor while it is open
    std::string name;    // relative to the level above (the root's is the walk's path)
    bool identified = false;
    dev_t dev = 0;
    ino_t ino = 0;
    // Sub-folders still to visit, once the stream was read to its end early.
    std::vector<std::string> pending;
};

Frame makeFrame(DIR* dir, int fd, const std::string& name) {
    Frame frame;
    frame.dir = dir;
    frame.fd = fd;
    frame.name = name;
    return frame;
}

class Walker {
  public:
    Walker(std::string root, const WalkOptions& options)
        : root_(std::move(root)), budget_(std::max<std::size_t>(2, options.openLevels)) {}
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
        stack_.push_back(makeFrame(dir, fd, root_));
        open_ = 1;

        while (!stack_.empty()) {
            const std::size_t top = stack_.size() - 1;
            std::string child;
            if (stack_[top].dir) {
                const dirent* entry = ::readdir(stack_[top].dir);
                if (!entry) {
                    popFrame();
                    continue;
                }
                if (!visit(stack_[top].fd, *entry)) continue;
                child = entry->d_name;
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
    // Counts one entry of the folder open as `fd`. Returns true for a real folder (not a link)
    // to go into.
    bool visit(int fd, const dirent& entry) {
        const char* name = entry.d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            return false;
        if (entry.d_type == DT_DIR) {
            ++count_.folders;
            return true;
        }
        struct stat own {};
        if (::fstatat(fd, name, &own, AT_SYMLINK_NOFOLLOW) != 0) return false;  // gone
        if (S_ISDIR(own.st_mode)) {
            ++count_.folders;
            return true;
        }
        bool folder = false;
        if (S_ISLNK(own.st_mode)) {
            // A link is counted as what it points to but never followed; a broken link or a
            // loop of links points to nothing and is left out.
            struct stat target {};
            if (::fstatat(fd, name, &target, 0) != 0) return false;
            folder = S_ISDIR(target.st_mode);
        }
        if (folder)
            ++count_.folders;
        else
            ++count_.files;
        if (own.st_size > 0) count_.bytes += static_cast<std::uint64_t>(own.st_size);
        return false;
    }

    void descend(std::size_t parent, const std::string& name) {
        if (open_ >= budget_) closeOldestBelow(parent);
        const int flags = kDirFlags | O_NOFOLLOW;
        int fd = ::openat(stack_[parent].fd, name.c_str(), flags);
        if (fd < 0 && (errno == EMFILE || errno == ENFILE) && closeOldestBelow(parent))
            fd = ::openat(stack_[parent].fd, name.c_str(), flags);
        if (fd < 0) return;  // unreadable or gone: skipped silently
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
            return;
        }
        stack_.push_back(makeFrame(dir, fd, name));
        ++open_;
    }

    // Closes the lowest level that still holds a descriptor, below `limit`, reading the rest of
    // its stream first. Returns whether one was closed.
    bool closeOldestBelow(std::size_t limit) {
        for (std::size_t i = 0; i < limit && i < stack_.size(); ++i) {
            Frame& frame = stack_[i];
            if (frame.fd < 0) continue;
            struct stat st {};
            if (!frame.identified && ::fstat(frame.fd, &st) == 0) {
                frame.identified = true;
                frame.dev = st.st_dev;
                frame.ino = st.st_ino;
            }
            if (frame.dir) {
                while (const dirent* entry = ::readdir(frame.dir))
                    if (visit(frame.fd, *entry)) frame.pending.emplace_back(entry->d_name);
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
            const int next = ::openat(base, stack_[level].name.c_str(), kDirFlags | O_NOFOLLOW);
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
        if (!frame.identified) return true;
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
    std::size_t open_ = 0;
    std::vector<Frame> stack_;
    TreeCount count_;
};

}  // namespace

TreeCount countItem(const std::string& path, const WalkOptions& options) {
    TreeCount count;
    switch (itemKind(path)) {
        case ItemKind::Missing:
            return count;
        case ItemKind::File:
            count.files = 1;
            itemSize(path, count.bytes);
            return count;
        case ItemKind::Folder:
            return Walker(path, options).run();
    }
    return count;
}

}  // namespace qvt::source
