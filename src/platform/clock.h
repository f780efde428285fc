// One clock for every "now", sleep and poll, so tests can run the product's 3-second and
// 30-second rhythms faster while the shipped build uses real time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "qvtransfer/Value.h"

namespace qvt::platform {

class Clock {
  public:
    virtual ~Clock() = default;
    // Wall-clock time as the product sees it (scaled clocks run faster).
    virtual Date now() const = 0;
    // Sleeps for the given number of product seconds.
    virtual void sleepFor(double seconds) = 0;
    // Waits on `condition`, whose mutex `lock` holds, until `done()` answers true or `seconds`
    // product seconds have passed; answers done(). Every notification of `condition` makes it
    // ask `done()` again at once, so a change that ends the wait is seen without delay.
    virtual bool waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                         double seconds, const std::function<bool()>& done) = 0;
    // Seconds from `earlier` to `later` as the product measures them.
    static double secondsBetween(Date earlier, Date later) {
        return std::chrono::duration<double>(later - earlier).count();
    }
};

// Real time divided by `scale`: with scale 100 a 3-second sleep lasts 30 ms and "now" advances
// 100 product seconds per real second. Scale 1 is the shipped behaviour.
class SystemClock : public Clock {
  public:
    explicit SystemClock(double scale = 1.0);
    Date now() const override;
    void sleepFor(double seconds) override;
    bool waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                 double seconds, const std::function<bool()>& done) override;
    double scale() const { return scale_; }

  private:
    double scale_;
    std::chrono::steady_clock::time_point startSteady_;
    Date startWall_;
};

// The product seconds given as a system-clock duration; NaN and values beyond a century are
// clamped so a hostile or uninitialised number never overflows the conversion.
Date::duration secondsToDuration(double seconds);

}  // namespace qvt::platform
