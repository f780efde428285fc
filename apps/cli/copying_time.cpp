#include "copying_time.h"

namespace qvt::cli {

void CopyingTime::note(bool copying, Clock::time_point now) {
    if (copying && !since_) {
        since_ = now;
    } else if (!copying && since_) {
        total_ += now - *since_;
        since_.reset();
    }
}

double CopyingTime::seconds(Clock::time_point now) const {
    const Clock::duration running = since_ ? now - *since_ : Clock::duration{};
    return std::chrono::duration<double>(total_ + running).count();
}

}  // namespace qvt::cli
