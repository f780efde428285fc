// The time an upload has spent copying. A pause, a wait for the device or a wait for room is no
// copying: a rate taken over such a wait would only fall, as if the copy had become slow.
#pragma once

#include <chrono>
#include <optional>

namespace qvt::cli {

class CopyingTime {
  public:
    using Clock = std::chrono::steady_clock;

    void restart() {
        total_ = {};
        since_.reset();
    }
    // The upload copies, or does not, from this moment on.
    void note(bool copying, Clock::time_point now);
    double seconds(Clock::time_point now) const;

  private:
    Clock::duration total_{};
    std::optional<Clock::time_point> since_;
};

}  // namespace qvt::cli
