// Another process that holds an exclusive lock on a file, as a second running upload would.
#pragma once

#include <sys/types.h>

#include <string>

namespace qvt::test {

// One at a time: a child inherits every descriptor of the test process, a living holder's
// release pipe too, and would keep that holder's child from seeing its end.
class LockHolder {
  public:
    // Forks a child that locks `path` (made when missing), writes its process number in it and
    // keeps the lock until `release()` or the end of this object.
    explicit LockHolder(const std::string& path);
    ~LockHolder();
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;

    // Whether the child holds the lock.
    bool held() const { return held_; }
    pid_t pid() const { return pid_; }
    // Ends the child, and with it the lock.
    void release();

  private:
    pid_t pid_ = -1;
    int release_ = -1;
    bool held_ = false;
};

// Whether another process could take an exclusive lock on `path` now (a child tries, and
// lets it go again).
bool anotherProcessCouldLock(const std::string& path);

}  // namespace qvt::test
