#include "wait_notices.h"

namespace qvt::cli {

namespace {

bool stillWaiting(Wait wait, const DeviceCondition& device) {
    switch (wait) {
        case Wait::Nothing:
            return false;
        case Wait::Device:
            return device.missing;
        case Wait::Space:
            return device.full;
        case Wait::SpaceAgain:
            return device.full || device.fullAgain;
    }
    return false;
}

}  // namespace

std::vector<WaitChange> WaitNotices::update(const DeviceCondition& device) {
    std::vector<WaitChange> changes;
    if (current_ != Wait::Nothing && !stillWaiting(current_, device)) {
        changes.push_back({false, current_});
        current_ = Wait::Nothing;
    }
    if (current_ == Wait::Nothing && device.fullAgain) {
        current_ = Wait::SpaceAgain;
        changes.push_back({true, current_});
    }
    return changes;
}

}  // namespace qvt::cli
