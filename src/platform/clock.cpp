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

bool SystemClock::waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                          double seconds, const std::function<bool()>& done) {
    seconds = clampSeconds(seconds);
    if (seconds <= 0) return done();
    return condition.wait_for(lock, std::chrono::duration<double>(seconds / scale_), done);
}

}  // namespace qvt::platform
