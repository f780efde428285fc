// A message that only its newest version matters for, sent from a background thread.
//
// The copy thread reports progress after every file; with small files that is thousands of
// reports a second. Each report on a thread of its own piles up threads as soon as the
// receiver is slower than the copy (a host delegate that hops to its GUI thread, a busy
// machine). Here at most one send is under way: reports that arrive meanwhile replace each
// other, and the newest one is sent when the current send returns. None is lost at the end:
// the last report posted is always sent.
//
// With a spacing, the sending thread stays for that long after a send and then sends the newest
// report that came meanwhile: waking a sleeping thread for every report cost the copy thread
// more than a small file's copy, and nobody reads more than a few dozen progress lines a second.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "platform/dispatch.h"

namespace qvt::platform {

class LatestOnlyTask {
  public:
    // `spacing`: the least time between two sends; zero sends each report as soon as it can.
    explicit LatestOnlyTask(std::chrono::steady_clock::duration spacing = {});

    // Runs `task` on one of the dispatcher's queues, unless a send is under way; then `task`
    // replaces whatever waits behind that send and runs after it, on the same thread.
    void post(Dispatcher& dispatcher, QueuePriority priority, Task task);

    // No more reports are coming for now: the one waiting goes out at once, and the sending
    // thread ends without waiting out its spacing. A later post starts sending again.
    void finish();

  private:
    struct State {
        std::mutex mutex;
        std::condition_variable wake;
        bool running = false;
        bool finishing = false;
        Task next;
    };
    std::chrono::steady_clock::duration spacing_;
    // Shared with the sending thread, so a send under way outlives its owner.
    std::shared_ptr<State> state_;
};

}  // namespace qvt::platform
