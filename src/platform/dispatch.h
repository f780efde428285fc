// Background work and the hand-off to the main thread.
//
// Background tasks never wait for a free worker: each asynchronous task gets a thread of its
// own. A pool bounded by the core count would deadlock on a two-core machine, where an upload
// starts four tasks that block for as long as the upload runs.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace qvt::platform {

enum class QueuePriority { High, Default, Low, Background };

using Task = std::function<void()>;

// Runs `task`; an exception it throws is written to the system log instead of ending the
// process (a posted or background task has nobody to hand it to).
void runTaskGuarded(const Task& task);

// The main thread: the GUI thread in the window, the test's own thread in headless runs.
class MainThread {
  public:
    virtual ~MainThread() = default;
    virtual bool isCurrent() const = 0;
    // Runs `task` on the main thread later.
    virtual void post(Task task) = 0;
    // Runs `task` on the main thread and waits for it; runs it inline on the main thread. An
    // exception thrown by the task reaches the caller. If the main thread drops the task
    // without running it (it is shutting down), sync returns without it having run.
    void sync(const Task& task);
    // Runs the work already posted to the main thread, when called on the main thread; lets a
    // main thread that waits for background work serve that work's hand-offs meanwhile.
    virtual void pump() {}
};

// A main thread for headless use: the thread that created it owns it, and tasks posted from
// other threads run when that thread calls runPending() or waitUntil().
class QueueMainThread : public MainThread {
  public:
    QueueMainThread();
    bool isCurrent() const override;
    void post(Task task) override;
    // Runs the tasks posted so far; returns how many ran.
    std::size_t runPending();
    void pump() override {
        if (isCurrent()) runPending();
    }
    // Runs posted tasks until `done()` is true or `timeoutSeconds` of real time pass. Returns
    // whether `done()` became true.
    bool waitUntil(const std::function<bool()>& done, double timeoutSeconds);

  private:
    std::thread::id owner_;
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<Task> tasks_;
};

class Dispatcher {
  public:
    explicit Dispatcher(std::shared_ptr<MainThread> main);
    ~Dispatcher();

    // Submits `task` to one of the four global concurrent queues.
    void async(QueuePriority priority, Task task);
    // Starts `task` on a new detached thread.
    void detach(Task task);
    void mainAsync(Task task);
    void mainSync(const Task& task);
    bool onMainThread() const;

    MainThread& main() { return *main_; }
    // Background tasks started and not yet finished.
    int running() const;
    // Blocks until no background task runs or `timeoutSeconds` pass; returns whether idle.
    // Called on the main thread it keeps serving the main thread's posted work meanwhile, so
    // a background task that hands off synchronously to the main thread can still finish.
    bool waitIdle(double timeoutSeconds);
    // Threads of the process-wide pool waiting for their next task.
    static std::size_t idleThreads();

  private:
    // Shared with the running threads, so a task that outlives the dispatcher still has
    // somewhere to report its end.
    struct State {
        std::atomic<int> running{0};
        std::mutex mutex;
        std::condition_variable idle;
    };
    void start(const char* name, Task task);
    std::shared_ptr<MainThread> main_;
    std::shared_ptr<State> state_;
};

}  // namespace qvt::platform
