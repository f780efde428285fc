// The waits an upload goes through in the console (for the device to come back, for room on
// it) and when each one starts and ends, so that each is told exactly once either way.
#pragma once

#include <vector>

namespace qvt::cli {

enum class Wait {
    Nothing,
    Device,      // the lost device's dialog was closed: the upload goes on once it is back
    Space,       // the full device's dialog was closed: the watcher resumes once there is room
    SpaceAgain,  // full again in the same upload: no dialog, the copy tries again by itself
};

struct WaitChange {
    bool began = false;  // false: the wait ended
    Wait wait = Wait::Nothing;
    bool operator==(const WaitChange&) const = default;
};

// What the upload's status says about the device at one moment.
struct DeviceCondition {
    bool missing = false;
    bool full = false;       // paused until there is room
    bool fullAgain = false;  // trying the file again until there is room
};

class WaitNotices {
  public:
    // A wait that the user was asked about and agreed to.
    void began(Wait wait) { current_ = wait; }
    // A stop ends any wait without a word.
    void forget() { current_ = Wait::Nothing; }
    Wait current() const { return current_; }

    // The changes since the last look, oldest first. The status is read now and then, so a
    // wait may end and the next one begin between two looks: both are told, in that order.
    std::vector<WaitChange> update(const DeviceCondition& device);

  private:
    Wait current_ = Wait::Nothing;
};

}  // namespace qvt::cli
