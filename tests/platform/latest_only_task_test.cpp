#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "platform/dispatch.h"
#include "platform/latest_only_task.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

// While one send blocks, a hundred more posts start no thread and run no send; when the
// blocked send returns, only the newest of them is sent.
TEST(LatestOnlyTask, PostsDuringASendCollapseIntoTheNewest) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    LatestOnlyTask task;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> firstStarted{false};
    std::mutex mutex;
    std::vector<int> sent;

    task.post(dispatcher, QueuePriority::High, [&] {
        firstStarted = true;
        released.wait_for(std::chrono::seconds(10));
        std::lock_guard lock(mutex);
        sent.push_back(0);
    });
    ASSERT_TRUE(test::waitFor([&] { return firstStarted.load(); }, 10));
    for (int i = 1; i <= 100; ++i)
        task.post(dispatcher, QueuePriority::High, [&, i] {
            std::lock_guard lock(mutex);
            sent.push_back(i);
        });
    EXPECT_EQ(dispatcher.running(), 1);
    release.set_value();
    ASSERT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(sent, (std::vector<int>{0, 100}));
}

TEST(LatestOnlyTask, APostAfterTheSendsEndedStartsANewSend) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    LatestOnlyTask task;
    std::atomic<int> sends{0};
    for (int i = 0; i < 3; ++i) {
        task.post(dispatcher, QueuePriority::Default, [&] { sends++; });
        ASSERT_TRUE(dispatcher.waitIdle(10));
        EXPECT_EQ(sends.load(), i + 1);
    }
}

// A send that throws is contained, and the newer send waiting behind it still goes out.
TEST(LatestOnlyTask, ASendThatThrowsDoesNotStopTheNext) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    LatestOnlyTask task;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> started{false};
    std::atomic<bool> newestSent{false};
    task.post(dispatcher, QueuePriority::High, [&] {
        started = true;
        released.wait_for(std::chrono::seconds(10));
        throw std::runtime_error("delegate failed");
    });
    ASSERT_TRUE(test::waitFor([&] { return started.load(); }, 10));
    task.post(dispatcher, QueuePriority::High, [&] { newestSent = true; });
    release.set_value();
    ASSERT_TRUE(dispatcher.waitIdle(10));
    EXPECT_TRUE(newestSent.load());

    // And the task is ready for the next post.
    newestSent = false;
    task.post(dispatcher, QueuePriority::High, [&] { newestSent = true; });
    ASSERT_TRUE(dispatcher.waitIdle(10));
    EXPECT_TRUE(newestSent.load());
}

// With a spacing, reports posted after a send wait for it to pass: they start no thread, and
// only the newest goes out when it is over.
TEST(LatestOnlyTask, ReportsWithinTheSpacingWaitAndOnlyTheNewestIsSent) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    LatestOnlyTask task(std::chrono::milliseconds(300));
    std::mutex mutex;
    std::vector<int> sent;
    const auto sentNow = [&] {
        std::lock_guard lock(mutex);
        return sent;
    };
    task.post(dispatcher, QueuePriority::High, [&] {
        std::lock_guard lock(mutex);
        sent.push_back(0);
    });
    ASSERT_TRUE(test::waitFor([&] { return !sentNow().empty(); }, 10));
    const auto firstSent = std::chrono::steady_clock::now();
    for (int i = 1; i <= 50; ++i)
        task.post(dispatcher, QueuePriority::High, [&, i] {
            std::lock_guard lock(mutex);
            sent.push_back(i);
        });
    // Whatever got out before the spacing was over is a fault, however the threads ran.
    const bool sentEarly = sentNow().size() > 1;
    const bool spacingPassed =
        std::chrono::steady_clock::now() - firstSent >= std::chrono::milliseconds(300);
    EXPECT_TRUE(!sentEarly || spacingPassed);
    EXPECT_EQ(dispatcher.running(), 1);
    ASSERT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(sentNow(), (std::vector<int>{0, 50}));
    EXPECT_GE(std::chrono::steady_clock::now() - firstSent, std::chrono::milliseconds(300));
}

// The end of the reports sends the one waiting at once and lets the sending thread go: the
// spacing, an hour here, never holds up the end.
TEST(LatestOnlyTask, FinishSendsTheWaitingReportAtOnceAndEndsTheSender) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    LatestOnlyTask task(std::chrono::hours(1));
    std::atomic<int> newest{-1};
    task.post(dispatcher, QueuePriority::High, [&] { newest = 0; });
    ASSERT_TRUE(test::waitFor([&] { return newest.load() == 0; }, 10));
    task.post(dispatcher, QueuePriority::High, [&] { newest = 1; });
    task.post(dispatcher, QueuePriority::High, [&] { newest = 2; });
    EXPECT_EQ(newest.load(), 0);
    task.finish();
    ASSERT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(newest.load(), 2);

    // A report after the end starts sending again, and is sent at once.
    task.post(dispatcher, QueuePriority::High, [&] { newest = 3; });
    ASSERT_TRUE(test::waitFor([&] { return newest.load() == 3; }, 10));
    task.finish();
    ASSERT_TRUE(dispatcher.waitIdle(10));
}

}  // namespace
}  // namespace qvt::platform
