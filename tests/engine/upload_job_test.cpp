// The upload's state: each change of state, and the threads that wait on it (the copy thread,
// the estimator and the state-file loop) waking as soon as a change concerns them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "engine/upload_job.h"
#include "manual_clock.h"
#include "platform/clock.h"
#include "support.h"

namespace qvt::engine {
namespace {

using Steady = std::chrono::steady_clock;
constexpr auto kWakeLimit = std::chrono::milliseconds(100);

// A thread that waits on the job the way one of the upload's threads does, and notes when its
// wait returned.
class Waiter {
  public:
    Waiter(UploadJob& job, std::function<void(UploadJob&)> wait)
        : thread_([this, &job, wait] {
              wait(job);
              returnedAt_ = Steady::now().time_since_epoch().count();
              returned_ = true;
          }) {}
    ~Waiter() {
        if (thread_.joinable()) thread_.join();
    }
    bool returned() const { return returned_.load(); }
    Steady::time_point returnedAt() const {
        return Steady::time_point(Steady::duration(returnedAt_.load()));
    }

  private:
    std::atomic<bool> returned_{false};
    std::atomic<Steady::rep> returnedAt_{0};
    std::thread thread_;
};

// The copy thread at a file, and the estimator in a pass: they wait while the upload is paused.
void atPauseCheck(UploadJob& job) {
    job.waitWhilePaused();
}
// The estimator and the state-file loop between two passes: 3 seconds, unless the upload ends.
void betweenPasses(UploadJob& job) {
    job.waitUnlessEnded(3);
}

// Real time: a waiter that were not woken would sit out its 3 seconds (or its pause) and fail
// the time limit.
struct RealJob {
    std::shared_ptr<platform::SystemClock> clock = std::make_shared<platform::SystemClock>(1.0);
    UploadJob job{clock};

    bool waitersAre(int n) {
        return test::waitFor([&] { return job.waiters() == n; }, 5);
    }
};

// Every waiter has returned, each within the limit after `event`.
void expectWokenAfter(Steady::time_point event, std::initializer_list<const Waiter*> waiters) {
    for (const Waiter* w : waiters) {
        ASSERT_TRUE(test::waitFor([&] { return w->returned(); }, 5));
        EXPECT_LT(w->returnedAt() - event, kWakeLimit);
    }
}

TEST(UploadJob, StartsIdleAndBeginCopies) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    EXPECT_EQ(job.state(), UploadState::Idle);
    EXPECT_FALSE(job.paused());
    EXPECT_FALSE(job.ended());
    job.begin();
    EXPECT_EQ(job.state(), UploadState::Copying);
    EXPECT_EQ(job.startedAt(), clock->now());
    EXPECT_EQ(job.progressValue, 1);
}

TEST(UploadJob, APauseIsDatedAndASecondReasonJoinsIt) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    job.begin();
    const Date pausedAt = clock->now();
    EXPECT_TRUE(job.pause(PauseReason::User));
    EXPECT_EQ(job.state(), UploadState::Paused);
    EXPECT_EQ(job.pausedAt(), pausedAt);
    clock->advance(4);
    // The same reason again, or another one: the pause in force keeps its start.
    EXPECT_FALSE(job.pause(PauseReason::User));
    EXPECT_FALSE(job.pause(PauseReason::DeviceFull));
    EXPECT_EQ(job.pausedAt(), pausedAt);
    EXPECT_TRUE(job.pausedFor(PauseReason::User));
    EXPECT_TRUE(job.pausedFor(PauseReason::DeviceFull));
    EXPECT_FALSE(job.pausedFor(PauseReason::DeviceMissing));
    EXPECT_TRUE(job.stopped());
}

TEST(UploadJob, AResumeEndsOnlyItsOwnReasonAndMovesTheStartByTheWholePause) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    job.begin();
    const Date start = job.startedAt();
    clock->advance(10);
    job.pause(PauseReason::User);
    clock->advance(20);
    job.pause(PauseReason::DeviceMissing);
    clock->advance(30);
    // Not paused for that reason: nothing changes.
    EXPECT_FALSE(job.resume(PauseReason::DeviceFull));
    EXPECT_TRUE(job.paused());
    // The device is back, the user's pause stays.
    EXPECT_FALSE(job.resume(PauseReason::DeviceMissing));
    EXPECT_TRUE(job.paused());
    EXPECT_EQ(job.startedAt(), start);
    clock->advance(40);
    EXPECT_TRUE(job.resume(PauseReason::User));
    EXPECT_EQ(job.state(), UploadState::Copying);
    // 20 + 30 + 40 seconds paused: none of it is upload time.
    EXPECT_EQ(job.startedAt(), start + std::chrono::seconds(90));
    EXPECT_FALSE(job.resume(PauseReason::User));
}

TEST(UploadJob, CancelIsFinalAndEndsAPause) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    job.begin();
    job.pause(PauseReason::DeviceMissing);
    EXPECT_TRUE(job.cancel());
    EXPECT_EQ(job.state(), UploadState::Cancelled);
    EXPECT_FALSE(job.paused());
    EXPECT_FALSE(job.pausedFor(PauseReason::DeviceMissing));
    EXPECT_FALSE(job.cancel());
    EXPECT_FALSE(job.pause(PauseReason::User));
    job.complete();
    EXPECT_EQ(job.state(), UploadState::Cancelled);
    EXPECT_FALSE(job.resume(PauseReason::DeviceMissing));
}

TEST(UploadJob, CompletionEndsAPauseAndCannotBePaused) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    job.begin();
    job.pause(PauseReason::User);
    job.setFailed(true);
    job.complete();
    EXPECT_EQ(job.state(), UploadState::Completed);
    EXPECT_TRUE(job.completed());
    EXPECT_TRUE(job.failed());
    EXPECT_FALSE(job.paused());
    EXPECT_FALSE(job.pause(PauseReason::User));
    EXPECT_TRUE(job.ended());
}

TEST(UploadJob, ResetMakesItIdleButTheDeviceFullDialogIsShownOncePerWindow) {
    auto clock = std::make_shared<platform::ManualClock>();
    UploadJob job(clock);
    job.begin();
    EXPECT_TRUE(job.noteDeviceFullShown());
    EXPECT_FALSE(job.noteDeviceFullShown());
    job.setFailed(true);
    job.cancel();
    job.reset();
    EXPECT_EQ(job.state(), UploadState::Idle);
    EXPECT_FALSE(job.cancelled());
    EXPECT_FALSE(job.failed());
    EXPECT_TRUE(job.deviceFullShown());
    EXPECT_FALSE(job.noteDeviceFullShown());
}

TEST(UploadJob, NothingWaitsWhenNothingIsPaused) {
    RealJob r;
    r.job.begin();
    EXPECT_FALSE(r.job.waitWhilePaused());
    r.job.complete();
    EXPECT_TRUE(r.job.waitUnlessEnded(3));
    EXPECT_EQ(r.job.waiters(), 0);
}

// The watcher of a full device waits 30 seconds between two looks at the free space; a look
// asked for (the user pressed Resume) ends its wait at once, also one asked for while it was
// looking, and only that wait; the end of the upload ends it too. Without a watcher the
// request is refused, and one watcher at a time registers.
TEST(UploadJob, ALookAskedForEndsTheWatchersWaitAtOnce) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::DeviceFull);
    EXPECT_FALSE(r.job.askForLook());
    ASSERT_TRUE(r.job.startLooking());
    EXPECT_FALSE(r.job.startLooking());
    std::atomic<bool> endedSeen{true};
    Waiter watcher(r.job, [&](UploadJob& job) { endedSeen = job.waitForNextLook(30); });
    ASSERT_TRUE(r.waitersAre(1));
    const auto asked = Steady::now();
    EXPECT_TRUE(r.job.askForLook());
    expectWokenAfter(asked, {&watcher});
    EXPECT_FALSE(endedSeen.load());

    // Asked for between two waits: the next wait ends at once, and the one after runs its time.
    EXPECT_TRUE(r.job.askForLook());
    auto before = Steady::now();
    EXPECT_FALSE(r.job.waitForNextLook(30));
    EXPECT_LT(Steady::now() - before, kWakeLimit);
    before = Steady::now();
    EXPECT_FALSE(r.job.waitForNextLook(0.3));
    EXPECT_GE(Steady::now() - before, std::chrono::milliseconds(300));

    r.job.complete();
    EXPECT_TRUE(r.job.waitForNextLook(30));
    r.job.stopLooking();
    EXPECT_FALSE(r.job.askForLook());
    EXPECT_EQ(r.job.waiters(), 0);
}

// A watcher between two looks waits on the upload too, but only the copy is held by the pause:
// the count of those tells them apart while both wait.
TEST(UploadJob, OnlyThePauseCountsThoseItHolds) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::DeviceMissing);
    Waiter watcher(r.job, betweenPasses);
    ASSERT_TRUE(r.waitersAre(1));
    EXPECT_EQ(r.job.pauseWaiters(), 0);
    Waiter copy(r.job, atPauseCheck);
    ASSERT_TRUE(r.waitersAre(2));
    EXPECT_EQ(r.job.pauseWaiters(), 1);
    const auto resumed = Steady::now();
    r.job.resume(PauseReason::DeviceMissing);
    expectWokenAfter(resumed, {&copy});
    EXPECT_EQ(r.job.pauseWaiters(), 0);
    EXPECT_EQ(r.job.waiters(), 1);
    r.job.complete();
    expectWokenAfter(Steady::now(), {&watcher});
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, UserPauseThenDeviceFull) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::User);
    Waiter copy(r.job, atPauseCheck), estimator(r.job, atPauseCheck);
    Waiter stateFile(r.job, betweenPasses);
    ASSERT_TRUE(r.waitersAre(3));

    // The file in hand meets a full device while the user's pause is in force.
    r.job.pause(PauseReason::DeviceFull);
    // Space again: the user's pause still holds everyone.
    EXPECT_FALSE(r.job.resume(PauseReason::DeviceFull));
    EXPECT_FALSE(copy.returned());
    EXPECT_FALSE(estimator.returned());

    const auto event = Steady::now();
    EXPECT_TRUE(r.job.resume(PauseReason::User));
    expectWokenAfter(event, {&copy, &estimator});
    // The state-file loop goes on with its rhythm; the upload has not ended.
    EXPECT_FALSE(stateFile.returned());
    r.job.complete();
    expectWokenAfter(Steady::now(), {&stateFile});
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, DeviceFullThenUserCancel) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::DeviceFull);
    Waiter copy(r.job, atPauseCheck), estimator(r.job, atPauseCheck);
    Waiter stateFile(r.job, betweenPasses);
    ASSERT_TRUE(r.waitersAre(3));

    // The stop button while the device is full: its pause joins, then the user stops.
    r.job.pause(PauseReason::User);
    const auto event = Steady::now();
    r.job.cancel();
    expectWokenAfter(event, {&copy, &estimator, &stateFile});
    EXPECT_TRUE(r.job.cancelled());
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, DisconnectWhilePausedByTheUser) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::User);
    const Date pausedAt = r.job.pausedAt();
    Waiter copy(r.job, atPauseCheck), estimator(r.job, atPauseCheck);
    ASSERT_TRUE(r.waitersAre(2));

    r.job.pause(PauseReason::DeviceMissing);
    EXPECT_EQ(r.job.pausedAt(), pausedAt);
    // The user's resume comes first: the device is still missing, so nobody goes on.
    EXPECT_FALSE(r.job.resume(PauseReason::User));
    EXPECT_FALSE(copy.returned());
    EXPECT_FALSE(estimator.returned());

    const auto event = Steady::now();
    EXPECT_TRUE(r.job.resume(PauseReason::DeviceMissing));
    expectWokenAfter(event, {&copy, &estimator});
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, CancelWhileWaitingForTheDevice) {
    RealJob r;
    r.job.begin();
    r.job.pause(PauseReason::DeviceMissing);
    Waiter copy(r.job, atPauseCheck), estimator(r.job, atPauseCheck);
    Waiter stateFile(r.job, betweenPasses);
    ASSERT_TRUE(r.waitersAre(3));

    const auto event = Steady::now();
    r.job.cancel();
    expectWokenAfter(event, {&copy, &estimator, &stateFile});
    // A watcher looking for the device sees there is nothing left to wait for.
    EXPECT_FALSE(r.job.pausedFor(PauseReason::DeviceMissing));
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, CompletionWhileTheEstimatorSleeps) {
    RealJob r;
    r.job.begin();
    Waiter estimator(r.job, betweenPasses), stateFile(r.job, betweenPasses);
    ASSERT_TRUE(r.waitersAre(2));

    const auto event = Steady::now();
    r.job.complete();
    expectWokenAfter(event, {&estimator, &stateFile});
    EXPECT_EQ(r.job.waiters(), 0);
}

TEST(UploadJob, APauseDoesNotCutTheSleepBetweenPassesShort) {
    // A scaled clock: 3 product seconds are 30 ms.
    auto clock = std::make_shared<platform::SystemClock>(100.0);
    UploadJob job(clock);
    job.begin();
    const auto start = Steady::now();
    Waiter estimator(job, betweenPasses);
    job.pause(PauseReason::User);
    ASSERT_TRUE(test::waitFor([&] { return estimator.returned(); }, 5));
    EXPECT_GE(estimator.returnedAt() - start, std::chrono::milliseconds(25));
    job.cancel();
}

}  // namespace
}  // namespace qvt::engine
