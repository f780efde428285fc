#include "platform/qt_main_thread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>
#include <deque>
#include <mutex>

namespace qvt::platform {

namespace {

// The tasks waiting for the main thread. They are handed over through this mutex-guarded queue
// and not inside Qt's posted event, so that a task's data is published to the main thread by
// a lock both sides take (which also lets ThreadSanitizer see the hand-off). The queued Qt
// call only wakes the main thread up and carries nothing.
struct MainQueue {
    std::mutex mutex;
    std::deque<Task> tasks;
    const QCoreApplication* shutdownHookFor = nullptr;
};

MainQueue& mainQueue() {
    // Never destroyed: background threads may still post while the process exits.
    static MainQueue* queue = new MainQueue;
    return *queue;
}

void drainMainQueue() {
    MainQueue& q = mainQueue();
    for (;;) {
        Task task;
        {
            std::lock_guard lock(q.mutex);
            if (q.tasks.empty()) return;
            task = std::move(q.tasks.front());
            q.tasks.pop_front();
        }
        runTaskGuarded(task);
    }
}

// Runs when the application object is destroyed: what was posted can no longer run. Dropping
// the tasks releases anybody waiting in a synchronous hand-off.
void dropMainQueue() {
    MainQueue& q = mainQueue();
    std::deque<Task> dropped;
    {
        std::lock_guard lock(q.mutex);
        dropped.swap(q.tasks);
        q.shutdownHookFor = nullptr;
    }
}

}  // namespace

bool QtMainThread::isCurrent() const {
    const QCoreApplication* app = QCoreApplication::instance();
    return app != nullptr && QThread::currentThread() == app->thread();
}

void QtMainThread::post(Task task) {
    QCoreApplication* app = QCoreApplication::instance();
    if (!app) return;
    MainQueue& q = mainQueue();
    bool addHook = false;
    {
        // The wake-up is posted under the queue's lock. The main thread takes the same lock
        // when the wake-up arrives, before Qt frees the event, so everything this thread did
        // for the post (Qt's allocations included) is ordered before the main thread's use.
        std::lock_guard lock(q.mutex);
        q.tasks.push_back(std::move(task));
        if (q.shutdownHookFor != app) {
            q.shutdownHookFor = app;
            addHook = true;
        }
        // A queued call with the application as context runs in the application's thread.
        QMetaObject::invokeMethod(
            app, [] { drainMainQueue(); }, Qt::QueuedConnection);
    }
    if (addHook) qAddPostRoutine(&dropMainQueue);
}

void QtMainThread::pump() {
    if (!isCurrent()) return;
    drainMainQueue();
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

std::shared_ptr<MainThread> makeDefaultMainThread() {
    if (QCoreApplication::instance()) return std::make_shared<QtMainThread>();
    return std::make_shared<QueueMainThread>();
}

}  // namespace qvt::platform
