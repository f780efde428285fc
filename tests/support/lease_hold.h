// Holds a regular file so that the next one to open it waits: a write lease on it, which the
// kernel breaks when another open comes, and that open waits until the lease is given up (or
// the kernel's lease-break time, 45 seconds by default, runs out). A test makes a copy wait
// inside a chosen file this way, and knows the copy has reached it.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace qvt::test {

class LeaseHold {
  public:
    explicit LeaseHold(const std::string& path) {
        // The break is seen on the lease itself, not through the signal it also sends.
        std::signal(SIGIO, SIG_IGN);
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        held_ = fd_ >= 0 && fcntl(fd_, F_SETLEASE, F_WRLCK) == 0;
    }
    ~LeaseHold() {
        release();
        if (fd_ >= 0) ::close(fd_);
    }
    LeaseHold(const LeaseHold&) = delete;
    LeaseHold& operator=(const LeaseHold&) = delete;

    bool held() const { return held_; }
    // Whether someone is waiting to open the file: the lease is being broken.
    bool opened() const { return held_ && fcntl(fd_, F_GETLEASE) != F_WRLCK; }
    // Lets the waiting open go on.
    void release() {
        if (held_) fcntl(fd_, F_SETLEASE, F_UNLCK);
        held_ = false;
    }

  private:
    int fd_ = -1;
    bool held_ = false;
};

}  // namespace qvt::test
