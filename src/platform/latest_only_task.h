// A message that only its newest version matters for, sent from a background thread.
//
// The copy thread reports progress after every file; with small files that is thousands of
// reports a second. Each report on a thread of its own piles up threads as soon as the
// receiver is slower than the copy (a host delegate that hops to its GUI thread, a busy
// machine). Here at most one send is under way: reports that arrive meanwhile replace each
// other, and the newest one is sent when the current send returns. None is lost at the end:
// the last report posted is always sent.
#pragma once

#include <memory>
#include <mutex>

#include "platform/dispatch.h"

namespace qvt::platform {

class LatestOnlyTask {
  public:
    LatestOnlyTask();

    // Runs `task` on one of the dispatcher's queues, unless a send is under way; then `task`
    // replaces whatever waits behind that send and runs after it, on the same thread.
    void post(Dispatcher& dispatcher, QueuePriority priority, Task task);

  private:
    struct State {
        std::mutex mutex;
        bool running = false;
        Task next;
    };
    // Shared with the sending thread, so a send under way outlives its owner.
    std::shared_ptr<State> state_;
};

}  // namespace qvt::platform
