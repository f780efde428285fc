#include "manual_clock.h"

namespace qvt::platform {

ManualClock::ManualClock(Date start)
    : nanos_(
          std::chrono::duration_cast<std::chrono::nanoseconds>(start.time_since_epoch()).count()) {}

Date ManualClock::now() const {
    return Date{} + std::chrono::duration_cast<Date::duration>(
                        std::chrono::nanoseconds(nanos_.load(std::memory_order_acquire)));
}

void ManualClock::sleepFor(double seconds) {
    std::function<void(double)> hook;
    {
        std::lock_guard lock(hookMutex_);
        hook = hook_;
    }
    if (hook) hook(seconds);
    if (seconds > 0) advance(seconds);
}

bool ManualClock::waitFor(std::condition_variable&, std::unique_lock<std::mutex>& lock,
                          double seconds, const std::function<bool()>& done) {
    if (done()) return true;
    lock.unlock();
    sleepFor(seconds);
    lock.lock();
    return done();
}

void ManualClock::advance(double seconds) {
    const auto step =
        std::chrono::duration_cast<std::chrono::nanoseconds>(secondsToDuration(seconds));
    nanos_.fetch_add(step.count(), std::memory_order_acq_rel);
}

void ManualClock::set(Date d) {
    nanos_.store(std::chrono::duration_cast<std::chrono::nanoseconds>(d.time_since_epoch()).count(),
                 std::memory_order_release);
}

void ManualClock::setSleepHook(std::function<void(double)> hook) {
    std::lock_guard lock(hookMutex_);
    hook_ = std::move(hook);
}

}  // namespace qvt::platform
