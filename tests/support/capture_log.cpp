#include "capture_log.h"

#include <algorithm>

namespace qvt::platform {

std::vector<std::string> CaptureLog::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

bool CaptureLog::contains(const std::string& fragment) const {
    return count(fragment) > 0;
}

std::size_t CaptureLog::count(const std::string& fragment) const {
    std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(
        lines_.begin(), lines_.end(),
        [&](const std::string& line) { return line.find(fragment) != std::string::npos; }));
}

void CaptureLog::clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
}

void CaptureLog::writeLine(const std::string& line) {
    {
        std::lock_guard lock(mutex_);
        lines_.push_back(line);
    }
    if (forward_) forward_->write(line);
}

}  // namespace qvt::platform
