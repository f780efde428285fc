#include "lock_holder.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qvt::test {

namespace {

// The child of a process with threads may only make system calls (and plain arithmetic); the
// process number is written out by hand for that reason.
[[noreturn]] void holdInChild(const char* path, int ready, int release) {
    const int fd = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 || ::flock(fd, LOCK_EX | LOCK_NB) != 0) _exit(1);
    char digits[24];
    int size = 0;
    for (long pid = static_cast<long>(::getpid()); pid > 0; pid /= 10)
        digits[size++] = static_cast<char>('0' + pid % 10);
    char text[25];
    for (int i = 0; i < size; ++i) text[i] = digits[size - 1 - i];
    text[size++] = '\n';
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, text, static_cast<size_t>(size), 0) != size)
        _exit(1);
    if (::write(ready, "1", 1) != 1) _exit(1);
    char byte = 0;
    // Returns at the end of the pipe: the parent released the lock or is gone.
    while (::read(release, &byte, 1) > 0) {
    }
    _exit(0);
}

}  // namespace

LockHolder::LockHolder(const std::string& path) {
    int ready[2], release[2];
    if (::pipe2(ready, O_CLOEXEC) != 0) return;
    if (::pipe2(release, O_CLOEXEC) != 0) {
        ::close(ready[0]);
        ::close(ready[1]);
        return;
    }
    pid_ = ::fork();
    if (pid_ == 0) {
        ::close(ready[0]);
        ::close(release[1]);
        holdInChild(path.c_str(), ready[1], release[0]);
    }
    ::close(ready[1]);
    ::close(release[0]);
    release_ = release[1];
    if (pid_ > 0) {
        pollfd p{ready[0], POLLIN, 0};
        char byte = 0;
        held_ = ::poll(&p, 1, 10000) == 1 && ::read(ready[0], &byte, 1) == 1;
    }
    ::close(ready[0]);
}

LockHolder::~LockHolder() {
    release();
}

void LockHolder::release() {
    if (release_ >= 0) ::close(release_);
    release_ = -1;
    if (pid_ > 0) {
        int status = 0;
        ::waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    held_ = false;
}

bool anotherProcessCouldLock(const std::string& path) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        _exit(fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0 ? 0 : 1);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

}  // namespace qvt::test
