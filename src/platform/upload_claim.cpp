#include "platform/upload_claim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

namespace qvt::platform {

namespace {

struct Held {
    int fd = -1;
    ~Held() {
        // Closing the only descriptor of the open file lets the lock go.
        if (fd >= 0) ::close(fd);
    }
};

std::mutex heldLock;
// This process's holds by path; a hold ends with its last claim.
std::map<std::string, std::weak_ptr<Held>>& holds() {
    static std::map<std::string, std::weak_ptr<Held>> map;
    return map;
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
    if (auto held = holds()[path].lock()) return held;
    auto held = std::make_shared<Held>();
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return held;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool taken = errno == EWOULDBLOCK;
        if (taken && holder) *holder = holderIn(fd);
        ::close(fd);
        if (taken) return nullptr;
        return held;
    }
    // The number is written only once the lock is ours, so a refused claim never overwrites
    // the holder's.
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd, 0) == 0) (void)!::pwrite(fd, pid.data(), pid.size(), 0);
    held->fd = fd;
    holds()[path] = held;
    return held;
}

}  // namespace qvt::platform
