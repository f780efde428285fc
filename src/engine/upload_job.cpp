#include "engine/upload_job.h"

#include <chrono>

#include "platform/clock.h"

namespace qvt::engine {

namespace {

// A waiter looks at the state again at least this often, even if no change woke it.
constexpr auto kRecheck = std::chrono::seconds(1);

unsigned bit(PauseReason reason) {
    return static_cast<unsigned>(reason);
}

}  // namespace

const char* stateName(UploadState state) {
    switch (state) {
        case UploadState::Idle:
            return "idle";
        case UploadState::Copying:
            return "copying";
        case UploadState::Paused:
            return "paused";
        case UploadState::Completed:
            return "completed";
        case UploadState::Cancelled:
            return "cancelled";
    }
    return "";
}

UploadJob::UploadJob(std::shared_ptr<platform::Clock> clock) : clock_(std::move(clock)) {}

bool UploadJob::endedLocked() const {
    return state_ == UploadState::Completed || state_ == UploadState::Cancelled;
}

void UploadJob::changed() {
    condition_.notify_all();
}

void UploadJob::reset() {
    {
        std::lock_guard lock(mutex_);
        state_ = UploadState::Idle;
        reasons_ = 0;
        failed_ = false;
        // The device-full dialog is shown once per window; a new upload in the same window
        // does not show it again.
    }
    changed();
}

void UploadJob::begin() {
    takenNames.clear();
    arrivalsSinceFlush.clear();
    deviceLossesLookedAt = deviceLosses.load();
    resumesLookedAt = resumes.load();
    stopLeftPartialCopy = false;
    stillFull = false;
    bytesOfFileInHand = 0;
    {
        std::lock_guard lock(mutex_);
        state_ = UploadState::Copying;
        reasons_ = 0;
        failed_ = false;
        startedAt_ = clock_->now();
    }
    changed();
}

bool UploadJob::pause(PauseReason reason) {
    bool started = false;
    {
        std::lock_guard lock(mutex_);
        if (endedLocked()) return false;
        started = reasons_ == 0;
        if (reason == PauseReason::DeviceMissing && (reasons_ & bit(reason)) == 0) ++deviceLosses;
        reasons_ |= bit(reason);
        if (started) {
            state_ = UploadState::Paused;
            pausedAt_ = clock_->now();
        }
    }
    changed();
    return started;
}

bool UploadJob::resume(PauseReason reason) {
    {
        std::lock_guard lock(mutex_);
        if (state_ != UploadState::Paused || (reasons_ & bit(reason)) == 0) return false;
        reasons_ &= ~bit(reason);
        if (reasons_ != 0) return false;
        state_ = UploadState::Copying;
        startedAt_ += clock_->now() - pausedAt_;
        ++resumes;
    }
    changed();
    return true;
}

bool UploadJob::cancel() {
    {
        std::lock_guard lock(mutex_);
        if (state_ == UploadState::Cancelled) return false;
        state_ = UploadState::Cancelled;
        reasons_ = 0;
    }
    changed();
    return true;
}

void UploadJob::complete() {
    {
        std::lock_guard lock(mutex_);
        if (state_ == UploadState::Cancelled) return;
        state_ = UploadState::Completed;
        reasons_ = 0;
    }
    changed();
}

void UploadJob::setFailed(bool failed) {
    {
        std::lock_guard lock(mutex_);
        failed_ = failed;
    }
    changed();
}

bool UploadJob::noteDeviceFullShown() {
    std::lock_guard lock(mutex_);
    const bool first = !deviceFullShown_;
    deviceFullShown_ = true;
    return first;
}

UploadState UploadJob::state() const {
    std::lock_guard lock(mutex_);
    return state_;
}

bool UploadJob::paused() const {
    std::lock_guard lock(mutex_);
    return reasons_ != 0;
}

bool UploadJob::pausedFor(PauseReason reason) const {
    std::lock_guard lock(mutex_);
    return (reasons_ & bit(reason)) != 0;
}

bool UploadJob::cancelled() const {
    std::lock_guard lock(mutex_);
    return state_ == UploadState::Cancelled;
}

bool UploadJob::completed() const {
    std::lock_guard lock(mutex_);
    return state_ == UploadState::Completed;
}

bool UploadJob::failed() const {
    std::lock_guard lock(mutex_);
    return failed_;
}

bool UploadJob::ended() const {
    std::lock_guard lock(mutex_);
    return endedLocked();
}

bool UploadJob::stopped() const {
    std::lock_guard lock(mutex_);
    return endedLocked() || reasons_ != 0;
}

bool UploadJob::deviceFullShown() const {
    std::lock_guard lock(mutex_);
    return deviceFullShown_;
}

Date UploadJob::startedAt() const {
    std::lock_guard lock(mutex_);
    return startedAt_;
}

void UploadJob::setStartedAt(Date start) {
    std::lock_guard lock(mutex_);
    startedAt_ = start;
}

Date UploadJob::pausedAt() const {
    std::lock_guard lock(mutex_);
    return pausedAt_;
}

bool UploadJob::waitWhilePaused() {
    std::unique_lock lock(mutex_);
    if (reasons_ == 0 || endedLocked()) return false;
    ++waiters_;
    ++pauseWaiters_;
    // A pause may last hours; the wait looks again now and then, but every change of state
    // wakes it at once.
    while (reasons_ != 0 && !endedLocked())
        condition_.wait_for(lock, kRecheck, [&] { return reasons_ == 0 || endedLocked(); });
    --pauseWaiters_;
    --waiters_;
    return true;
}

bool UploadJob::waitUnlessEnded(double seconds) {
    std::unique_lock lock(mutex_);
    if (endedLocked()) return true;
    ++waiters_;
    const bool ended = clock_->waitFor(condition_, lock, seconds, [&] { return endedLocked(); });
    --waiters_;
    return ended;
}

bool UploadJob::waitForNextLook(double seconds) {
    std::unique_lock lock(mutex_);
    if (endedLocked()) return true;
    ++waiters_;
    clock_->waitFor(condition_, lock, seconds, [&] { return endedLocked() || lookAsked_; });
    lookAsked_ = false;
    --waiters_;
    return endedLocked();
}

bool UploadJob::startLooking() {
    std::lock_guard lock(mutex_);
    if (looking_) return false;
    looking_ = true;
    lookAsked_ = false;
    return true;
}

void UploadJob::stopLooking() {
    std::lock_guard lock(mutex_);
    looking_ = false;
    lookAsked_ = false;
}

bool UploadJob::askForLook() {
    {
        std::lock_guard lock(mutex_);
        if (!looking_) return false;
        lookAsked_ = true;
    }
    condition_.notify_all();
    return true;
}

int UploadJob::waiters() const {
    std::lock_guard lock(mutex_);
    return waiters_;
}

UploadJob::ArrivalsFlush UploadJob::flushArrivals(const std::function<int()>& flush) {
    ArrivalsFlush answer;
    const std::uint64_t losses = deviceLosses.load();
    if (losses != deviceLossesLookedAt.load()) return answer;
    const std::uint64_t covered = arrivalsSinceFlush.lastNumber();
    answer.rc = flush();
    answer.vouched = flushLeavesNothing(answer.rc) && deviceLosses.load() == losses;
    if (answer.vouched) arrivalsSinceFlush.dropThrough(covered);
    return answer;
}

int UploadJob::pauseWaiters() const {
    std::lock_guard lock(mutex_);
    return pauseWaiters_;
}

}  // namespace qvt::engine
