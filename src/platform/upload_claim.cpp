#include "platform/upload_claim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace qvt::platform {

namespace {

struct Held {
    int fd = -1;
    ~Held() {
        // Closing the only descriptor of the open file lets the lock go.
        if (fd >= 0) ::close(fd);
    }
};

// The lock file, whatever path names it.
using FileKey = std::pair<dev_t, ino_t>;

std::mutex heldLock;
// This process's holds; a hold ends with its last claim.
std::map<FileKey, std::weak_ptr<Held>>& holds() {
    static std::map<FileKey, std::weak_ptr<Held>> map;
    return map;
}

std::optional<FileKey> keyOf(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) return std::nullopt;
    return FileKey{st.st_dev, st.st_ino};
}

// The process number written in the lock file; 0 when there is none to read.
long holderIn(int fd) {
    char text[32] = {};
    const ssize_t n = ::pread(fd, text, sizeof text - 1, 0);
    if (n <= 0) return 0;
    char* end = nullptr;
    const long pid = std::strtol(text, &end, 10);
    return pid > 0 && end != text ? pid : 0;
}

}  // namespace

UploadClaim claimUploads(const std::string& path, long* holder) {
    std::lock_guard guard(heldLock);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return std::make_shared<Held>();
    const std::optional<FileKey> key = keyOf(fd);
    if (key) {
        if (auto held = holds()[*key].lock()) {
            ::close(fd);
            return held;
        }
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool taken = errno == EWOULDBLOCK;
        const long other = taken ? holderIn(fd) : 0;
        // This process's own number while it has no hold: its last hold is being let go on
        // another thread right now (the descriptor closes without taking this lock). That
        // takes a moment; the tries are counted all the same, so that nothing can make this
        // wait for good (a child forked at that moment holds the descriptor until it execs).
        bool ours = false;
        if (other == static_cast<long>(::getpid())) {
            for (int tries = 0; tries < 100000 && !ours; ++tries) {
                std::this_thread::yield();
                ours = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
            }
        }
        if (!ours) {
            ::close(fd);
            if (!taken) return std::make_shared<Held>();
            if (holder) *holder = other;
            return nullptr;
        }
    }
    // The number is written only once the lock is ours, so a refused claim never overwrites
    // the holder's.
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd, 0) == 0) (void)!::pwrite(fd, pid.data(), pid.size(), 0);
    auto held = std::make_shared<Held>();
    held->fd = fd;
    if (key) holds()[*key] = held;
    return held;
}

std::optional<long> uploadsClaimedElsewhere(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    std::optional<long> holder;
    if (::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        const long other = holderIn(fd);
        if (other != static_cast<long>(::getpid())) holder = other;
    }
    // Closing lets go of the shared lock taken to look.
    ::close(fd);
    return holder;
}

}  // namespace qvt::platform
