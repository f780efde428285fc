// A clock for tests that moves only when told to.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

#include "platform/clock.h"

namespace qvt::platform {

// A clock that only moves when a test moves it. sleepFor advances the clock by the requested
// time at once (so loops that sleep make progress without real waiting), after calling the
// optional hook, which a test can use to observe or gate each sleep.
class ManualClock : public Clock {
  public:
    explicit ManualClock(Date start = Date{} + std::chrono::hours(24 * 365 * 50));
    Date now() const override;
    void sleepFor(double seconds) override;
    // Asks `done()`; when it says no, sleeps as sleepFor does (the hook, then the clock moves
    // on by `seconds`) with the lock let go meanwhile, and asks again.
    bool waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                 double seconds, const std::function<bool()>& done) override;
    void advance(double seconds);
    void set(Date d);
    void setSleepHook(std::function<void(double)> hook);

  private:
    std::atomic<std::int64_t> nanos_;
    mutable std::mutex hookMutex_;
    std::function<void(double)> hook_;
};

}  // namespace qvt::platform
