#include "platform/clock.h"

#include <cmath>
#include <thread>

namespace qvt::platform {

namespace {

// A century: far beyond any wait the product makes, far inside the nanosecond range of int64.
constexpr double kMaxSeconds = 100.0 * 365 * 24 * 3600;

double clampSeconds(double seconds) {
    if (std::isnan(seconds)) return 0;
    if (seconds > kMaxSeconds) return kMaxSeconds;
    if (seconds < -kMaxSeconds) return -kMaxSeconds;
    return seconds;
}

}  // namespace

Date::duration secondsToDuration(double seconds) {
    return std::chrono::duration_cast<Date::duration>(
        std::chrono::duration<double>(clampSeconds(seconds)));
}

SystemClock::SystemClock(double scale)
    : scale_(std::isfinite(scale) && scale > 0 ? scale : 1.0),
      startSteady_(std::chrono::steady_clock::now()),
      startWall_(std::chrono::system_clock::now()) {}

Date SystemClock::now() const {
    if (scale_ == 1.0) return std::chrono::system_clock::now();
    // Scaled time runs from the moment the clock was made, measured on the steady clock so a
    // change of the system time does not make it jump.
    const double real =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - startSteady_).count();
    return startWall_ + secondsToDuration(real * scale_);
}

void SystemClock::sleepFor(double seconds) {
    seconds = clampSeconds(seconds);
    if (seconds <= 0) return;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds / scale_));
}

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

void ManualClock::advance(double seconds) {
    const auto step = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(clampSeconds(seconds)));
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
