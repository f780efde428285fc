#include "platform/dispatch.h"

#include <pthread.h>

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

#include "platform/log.h"
#include "platform/thread_resources.h"

namespace qvt::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

SteadyClock::time_point deadlineAfter(double seconds) {
    if (!(seconds > 0)) return SteadyClock::now();
    // Beyond a day is "as long as it takes"; the cap keeps the time arithmetic in range.
    if (seconds > 86400.0) seconds = 86400.0;
    return SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(
                                    std::chrono::duration<double>(seconds));
}

const char* queueName(QueuePriority priority) {
    switch (priority) {
        case QueuePriority::High:
            return "qvt-high";
        case QueuePriority::Default:
            return "qvt-default";
        case QueuePriority::Low:
            return "qvt-low";
        case QueuePriority::Background:
            return "qvt-background";
    }
    return "qvt-queue";
}

// What a synchronous hand-off waits for. It is marked done when the last copy of the posted
// wrapper goes away: after the task ran, or when the main thread discarded it unrun.
struct SyncState {
    std::mutex mutex;
    std::condition_variable cv;
    bool done = false;
    std::exception_ptr error;
};

struct SyncFinisher {
    std::shared_ptr<SyncState> state;
    ~SyncFinisher() {
        std::lock_guard lock(state->mutex);
        state->done = true;
        state->cv.notify_all();
    }
};

// Threads that ran a task wait a little for the next one before they end. An upload sends a
// message per file from the copy thread; starting a thread for each one costs more than the
// copy of a small file. The pool never makes a task wait: with no idle thread at hand a new
// one is started, however many are busy.
class WorkerPool {
  public:
    // Never destroyed: idle threads may still be waiting on it while the process ends.
    static WorkerPool& instance() {
        static auto* pool = new WorkerPool;
        return *pool;
    }

    // Returns false when no thread could be started for the task (it is then not queued).
    bool run(std::function<void()> work) {
        std::unique_lock lock(mutex_);
        pending_.push_back(std::move(work));
        // Every queued task has a waiting thread of its own, or gets a new one.
        if (idle_ >= pending_.size()) {
            lock.unlock();
            ready_.notify_one();
            return true;
        }
        try {
            std::thread([this] { serve(); }).detach();
        } catch (const std::system_error&) {
            pending_.pop_back();
            return false;
        }
        return true;
    }

    std::size_t idle() {
        std::lock_guard lock(mutex_);
        return idle_;
    }

  private:
    static constexpr auto kIdleLinger = std::chrono::seconds(2);

    void serve() {
        std::unique_lock lock(mutex_);
        for (;;) {
            if (pending_.empty()) {
                ++idle_;
                const bool got =
                    ready_.wait_for(lock, kIdleLinger, [this] { return !pending_.empty(); });
                --idle_;
                if (!got) return;
            }
            std::function<void()> work = std::move(pending_.front());
            pending_.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            // What a task leaves in the thread's own storage ends with the task, as it would
            // with the thread: a share connection made for it, the size of its last write.
            releaseThreadResources();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::function<void()>> pending_;
    std::size_t idle_ = 0;
};

}  // namespace

void runTaskGuarded(const Task& task) {
    try {
        task();
    } catch (const std::exception& e) {
        SysLog().write(std::string("exception: ") + e.what() + " \n");
    } catch (...) {
        SysLog().write("exception: unknown \n");
    }
}

void MainThread::sync(const Task& task) {
    if (isCurrent()) {
        task();
        return;
    }
    auto state = std::make_shared<SyncState>();
    auto finisher = std::make_shared<SyncFinisher>();
    finisher->state = state;
    // The caller blocks until the wrapper is gone, so referring to `task` is safe.
    post([finisher, &task] {
        try {
            task();
        } catch (...) {
            std::lock_guard lock(finisher->state->mutex);
            finisher->state->error = std::current_exception();
        }
    });
    finisher.reset();
    std::unique_lock lock(state->mutex);
    state->cv.wait(lock, [&] { return state->done; });
    // Taken out of the shared state, so the exception ends on this thread, which reads it,
    // and not on whichever thread happens to let go of the state last.
    const std::exception_ptr error = std::exchange(state->error, nullptr);
    lock.unlock();
    if (error) std::rethrow_exception(error);
}

QueueMainThread::QueueMainThread() : owner_(std::this_thread::get_id()) {}

bool QueueMainThread::isCurrent() const {
    return std::this_thread::get_id() == owner_;
}

void QueueMainThread::post(Task task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    cv_.notify_all();
}

std::size_t QueueMainThread::runPending() {
    std::deque<Task> batch;
    {
        std::lock_guard lock(mutex_);
        batch.swap(tasks_);
    }
    std::size_t ran = 0;
    while (!batch.empty()) {
        Task task = std::move(batch.front());
        batch.pop_front();
        runTaskGuarded(task);
        ++ran;
    }
    return ran;
}

bool QueueMainThread::waitUntil(const std::function<bool()>& done, double timeoutSeconds) {
    const auto deadline = deadlineAfter(timeoutSeconds);
    for (;;) {
        runPending();
        if (done()) return true;
        if (SteadyClock::now() >= deadline) return false;
        // `done` may turn true without a post (a background thread sets a flag), so the wait
        // is sliced; a post wakes it at once.
        std::unique_lock lock(mutex_);
        cv_.wait_until(lock, std::min(deadline, SteadyClock::now() + std::chrono::milliseconds(2)),
                       [&] { return !tasks_.empty(); });
    }
}

Dispatcher::Dispatcher(std::shared_ptr<MainThread> main)
    : main_(std::move(main)), state_(std::make_shared<State>()) {}

// Detached tasks keep their own reference to the shared state; nothing to wait for here.
Dispatcher::~Dispatcher() = default;

void Dispatcher::async(QueuePriority priority, Task task) {
    start(queueName(priority), std::move(task));
}

void Dispatcher::detach(Task task) {
    start("qvt-thread", std::move(task));
}

void Dispatcher::start(const char* name, Task task) {
    std::shared_ptr<State> state = state_;
    state->running.fetch_add(1);
    auto body = [state, name, task = std::move(task)]() mutable {
        // Pool threads run many tasks: the name is set only when it changes, as each setting
        // is a system call.
        thread_local const char* current = nullptr;
        if (current != name) {
            pthread_setname_np(pthread_self(), name);
            current = name;
        }
        runTaskGuarded(task);
        // Release what the task holds before it counts as finished, so a waiter that sees the
        // dispatcher idle also sees the task's captures gone.
        task = nullptr;
        std::lock_guard lock(state->mutex);
        state->running.fetch_sub(1);
        state->idle.notify_all();
    };
    // Held by pointer so the task is still there to run inline if no thread can be made.
    auto holder = std::make_shared<decltype(body)>(std::move(body));
    if (!WorkerPool::instance().run([holder] { (*holder)(); })) {
        // No thread to be had: the work still has to happen, so it runs on the caller.
        SysLog().write("dispatch: no thread for a task, running it inline \n");
        (*holder)();
    }
}

void Dispatcher::mainAsync(Task task) {
    main_->post(std::move(task));
}

void Dispatcher::mainSync(const Task& task) {
    main_->sync(task);
}

bool Dispatcher::onMainThread() const {
    return main_->isCurrent();
}

std::size_t Dispatcher::idleThreads() {
    return WorkerPool::instance().idle();
}

int Dispatcher::running() const {
    return state_->running.load();
}

bool Dispatcher::waitIdle(double timeoutSeconds) {
    const auto deadline = deadlineAfter(timeoutSeconds);
    const bool serveMain = main_->isCurrent();
    std::unique_lock lock(state_->mutex);
    for (;;) {
        if (state_->running.load() == 0) return true;
        if (SteadyClock::now() >= deadline) return false;
        if (!serveMain) {
            state_->idle.wait_until(lock, deadline, [&] { return state_->running.load() == 0; });
            continue;
        }
        lock.unlock();
        main_->pump();
        lock.lock();
        state_->idle.wait_until(
            lock, std::min(deadline, SteadyClock::now() + std::chrono::milliseconds(2)),
            [&] { return state_->running.load() == 0; });
    }
}

}  // namespace qvt::platform
