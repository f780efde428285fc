#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

#include <set>

#include "platform/dispatch.h"
#include "platform/files_internal.h"
#include "platform/qt_main_thread.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

// A gate that background tasks wait at until the test opens it (with a deadline, so a broken
// dispatcher fails the test instead of hanging it).
class Gate {
  public:
    void open() {
        std::lock_guard lock(mutex_);
        open_ = true;
        cv_.notify_all();
    }
    bool wait(double seconds = 10) {
        std::unique_lock lock(mutex_);
        return cv_.wait_for(lock, std::chrono::duration<double>(seconds), [&] { return open_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable cv_;
    bool open_ = false;
};

TEST(Dispatcher, FourBlockingHighPriorityTasksRunAtOnce) {
    // An upload starts four tasks that block for as long as it runs; on a two-core machine a
    // pool of core-count threads would never start the last two. Each task here waits until
    // all four have started, which only happens if all four run at the same time.
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    std::mutex mutex;
    std::condition_variable cv;
    int started = 0;
    std::atomic<int> sawAllFour{0};
    for (int i = 0; i < 4; ++i) {
        dispatcher.async(QueuePriority::High, [&] {
            std::unique_lock lock(mutex);
            ++started;
            cv.notify_all();
            if (cv.wait_for(lock, std::chrono::seconds(10), [&] { return started == 4; }))
                sawAllFour++;
        });
    }
    EXPECT_TRUE(dispatcher.waitIdle(30));
    EXPECT_EQ(sawAllFour.load(), 4);
    EXPECT_EQ(dispatcher.running(), 0);
}

TEST(Dispatcher, ManyBlockedTasksOnEveryQueueStillLeaveRoom) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    Gate gate;
    std::atomic<int> reached{0};
    const QueuePriority queues[] = {QueuePriority::High, QueuePriority::Default, QueuePriority::Low,
                                    QueuePriority::Background};
    for (QueuePriority q : queues)
        for (int i = 0; i < 3; ++i)
            dispatcher.async(q, [&] {
                reached++;
                gate.wait();
            });
    dispatcher.detach([&] {
        reached++;
        gate.wait();
    });
    EXPECT_TRUE(test::waitFor([&] { return reached.load() == 13; }, 10));
    EXPECT_EQ(dispatcher.running(), 13);
    EXPECT_FALSE(dispatcher.waitIdle(0.02));
    gate.open();
    EXPECT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(dispatcher.running(), 0);
}

TEST(Dispatcher, WaitIdleTimesOutWhileWorkRuns) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    Gate gate;
    dispatcher.async(QueuePriority::Default, [&] { gate.wait(); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(dispatcher.waitIdle(0.05));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(dispatcher.running(), 1);
    gate.open();
    EXPECT_TRUE(dispatcher.waitIdle(10));
}

TEST(Dispatcher, ExceptionInBackgroundTaskIsContained) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    dispatcher.async(QueuePriority::Low, [] { throw std::runtime_error("boom"); });
    EXPECT_TRUE(dispatcher.waitIdle(10));
    std::atomic<bool> ran{false};
    dispatcher.async(QueuePriority::Low, [&] { ran = true; });
    EXPECT_TRUE(dispatcher.waitIdle(10));
    EXPECT_TRUE(ran.load());
}

// Waits until the pool has a thread waiting for work, so the next task goes to it.
bool idleThreadAtHand() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (Dispatcher::idleThreads() == 0) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

// A message per copied file must not cost a new thread each, and what one task leaves in its
// thread's storage (the size of its last write to a share) must not reach the next task.
TEST(Dispatcher, FinishedThreadsTakeTheNextTaskWithNothingCarriedOver) {
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher d(main);
    std::mutex mutex;
    std::set<long> threads;
    auto threadOfTask = [&] {
        std::lock_guard lock(mutex);
        threads.insert(static_cast<long>(::syscall(SYS_gettid)));
    };
    d.async(QueuePriority::High, [&] {
        threadOfTask();
        detail::rememberWrittenFile("/mnt/share/a.bin", 5);
    });
    ASSERT_TRUE(d.waitIdle(10));
    ASSERT_TRUE(idleThreadAtHand());
    const std::size_t poolBefore = Dispatcher::idleThreads();

    std::atomic<int> carriedOver{0};
    constexpr int kTasks = 30;
    for (int i = 0; i < kTasks; ++i) {
        d.async(QueuePriority::High, [&] {
            threadOfTask();
            if (detail::writtenFileSize("/mnt/share/a.bin")) ++carriedOver;
        });
        ASSERT_TRUE(d.waitIdle(10));
        ASSERT_TRUE(idleThreadAtHand());
    }
    EXPECT_EQ(carriedOver.load(), 0);
    // Kernel thread ids are not reused soon, so a thread per task would show 31 of them.
    EXPECT_LE(threads.size(), poolBefore + 1) << threads.size() << " threads for 31 tasks";
}

TEST(QueueMainThread, SyncOnTheMainThreadRunsInline) {
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher dispatcher(main);
    EXPECT_TRUE(dispatcher.onMainThread());
    bool ran = false;
    std::thread::id ranOn;
    dispatcher.mainSync([&] {
        ran = true;
        ranOn = std::this_thread::get_id();
    });
    // Ran already, without anybody serving the queue: no deadlock.
    EXPECT_TRUE(ran);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_EQ(main->runPending(), 0u);
}

TEST(QueueMainThread, SyncFromBackgroundRunsOnTheMainThread) {
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher dispatcher(main);
    std::thread::id ranOn;
    std::atomic<bool> returned{false};
    std::atomic<bool> wasMainInside{false};
    std::atomic<bool> wasMainOutside{true};
    dispatcher.async(QueuePriority::High, [&] {
        wasMainOutside = dispatcher.onMainThread();
        dispatcher.mainSync([&] {
            ranOn = std::this_thread::get_id();
            wasMainInside = dispatcher.onMainThread();
        });
        returned = true;
    });
    EXPECT_TRUE(main->waitUntil([&] { return returned.load(); }, 10));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(wasMainInside.load());
    EXPECT_FALSE(wasMainOutside.load());
    EXPECT_TRUE(dispatcher.waitIdle(10));
}

TEST(QueueMainThread, SyncPassesTheTasksExceptionBack) {
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher dispatcher(main);
    std::atomic<bool> caught{false};
    dispatcher.async(QueuePriority::Default, [&] {
        try {
            dispatcher.mainSync([] { throw std::runtime_error("on main"); });
        } catch (const std::runtime_error& e) {
            caught = std::string(e.what()) == "on main";
        }
    });
    EXPECT_TRUE(main->waitUntil([&] { return dispatcher.running() == 0; }, 10));
    EXPECT_TRUE(caught.load());
}

TEST(QueueMainThread, AsyncPostsRunInOrderWhenServed) {
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher dispatcher(main);
    std::vector<int> order;
    dispatcher.mainAsync([&] { order.push_back(1); });
    dispatcher.mainAsync([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(main->runPending(), 2u);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(QueueMainThread, WaitUntilGivesUpAtItsDeadline) {
    QueueMainThread main;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(main.waitUntil([] { return false; }, 0.05));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST(QueueMainThread, WaitIdleOnTheMainThreadServesHandOffs) {
    // The main thread waits for background work that itself waits for the main thread.
    auto main = std::make_shared<QueueMainThread>();
    Dispatcher dispatcher(main);
    std::atomic<int> handOffs{0};
    for (int i = 0; i < 3; ++i)
        dispatcher.async(QueuePriority::High, [&] { dispatcher.mainSync([&] { handOffs++; }); });
    EXPECT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(handOffs.load(), 3);
}

TEST(QtMainThread, IsTheApplicationThread) {
    ASSERT_NE(QCoreApplication::instance(), nullptr);
    QtMainThread main;
    EXPECT_TRUE(main.isCurrent());
    std::atomic<bool> elsewhere{true};
    std::thread([&] { elsewhere = main.isCurrent(); }).join();
    EXPECT_FALSE(elsewhere.load());
    EXPECT_NE(dynamic_cast<QtMainThread*>(makeDefaultMainThread().get()), nullptr);
}

TEST(QtMainThread, SyncOnTheMainThreadRunsInline) {
    Dispatcher dispatcher(std::make_shared<QtMainThread>());
    bool ran = false;
    dispatcher.mainSync([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(QtMainThread, SyncFromBackgroundRunsOnTheGuiThread) {
    Dispatcher dispatcher(std::make_shared<QtMainThread>());
    std::atomic<bool> onGui{false};
    std::atomic<bool> returned{false};
    dispatcher.async(QueuePriority::High, [&] {
        dispatcher.mainSync(
            [&] { onGui = QThread::currentThread() == QCoreApplication::instance()->thread(); });
        returned = true;
    });
    EXPECT_TRUE(test::waitFor([&] { return returned.load(); }, 10));
    EXPECT_TRUE(onGui.load());
    EXPECT_TRUE(dispatcher.waitIdle(10));
}

TEST(QtMainThread, AsyncRunsFromTheEventLoop) {
    Dispatcher dispatcher(std::make_shared<QtMainThread>());
    std::atomic<int> ran{0};
    dispatcher.async(QueuePriority::Background, [&] {
        dispatcher.mainAsync([&] {
            if (QThread::currentThread() == QCoreApplication::instance()->thread()) ran++;
        });
    });
    EXPECT_TRUE(test::waitFor([&] { return ran.load() == 1; }, 10));
    EXPECT_TRUE(dispatcher.waitIdle(10));
}

TEST(QtMainThread, WaitIdleOnTheGuiThreadServesHandOffs) {
    Dispatcher dispatcher(std::make_shared<QtMainThread>());
    std::atomic<int> handOffs{0};
    for (int i = 0; i < 3; ++i)
        dispatcher.async(QueuePriority::High, [&] { dispatcher.mainSync([&] { handOffs++; }); });
    EXPECT_TRUE(dispatcher.waitIdle(10));
    EXPECT_EQ(handOffs.load(), 3);
}

TEST(Dispatcher, WaitIdleWaitsForATaskThatIsBlocked) {
    Dispatcher dispatcher(std::make_shared<QueueMainThread>());
    std::counting_semaphore<1> semaphore(0);
    std::atomic<bool> passed{false};
    dispatcher.async(QueuePriority::High, [&] {
        semaphore.acquire();
        passed = true;
    });
    EXPECT_FALSE(dispatcher.waitIdle(0.05));
    EXPECT_FALSE(passed.load());
    semaphore.release();
    EXPECT_TRUE(dispatcher.waitIdle(10));
    EXPECT_TRUE(passed.load());
}

}  // namespace
}  // namespace qvt::platform
