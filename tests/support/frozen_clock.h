// A clock that never moves, for tests that prove an ending needs no time to pass.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "platform/clock.h"

namespace qvt::platform {

// Time stands still: "now" never changes, a sleep lasts until release(), and a wait with a
// deadline ends only when its condition is met (or after release()). Whatever waits for time
// to pass under this clock stays waiting, which a test sees as work that never ends.
class FrozenClock : public Clock {
  public:
    Date now() const override { return start_; }
    void sleepFor(double) override {
        ++sleepers_;
        std::unique_lock lock(mutex_);
        released_.wait(lock, [this] { return isReleased_; });
        --sleepers_;
    }
    bool waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, double,
                 const std::function<bool()>& done) override {
        // The product's condition is notified by the product; release() cannot reach it, so
        // the wait asks again at short real intervals whether the clock was let go.
        while (!done()) {
            if (released()) return done();
            condition.wait_for(lock, std::chrono::milliseconds(20));
        }
        return true;
    }
    // Lets every sleep and wait end, so a failing test does not hang at its end.
    void release() {
        std::lock_guard lock(mutex_);
        isReleased_ = true;
        released_.notify_all();
    }
    bool released() const {
        std::lock_guard lock(mutex_);
        return isReleased_;
    }
    // How many threads are in sleepFor now.
    int sleepers() const { return sleepers_.load(); }

  private:
    const Date start_ = Date{} + std::chrono::hours(24 * 365 * 50);
    mutable std::mutex mutex_;
    std::condition_variable released_;
    bool isReleased_ = false;
    std::atomic<int> sleepers_{0};
};

}  // namespace qvt::platform
