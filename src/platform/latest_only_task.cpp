#include "platform/latest_only_task.h"

#include <utility>

namespace qvt::platform {

LatestOnlyTask::LatestOnlyTask() : state_(std::make_shared<State>()) {}

void LatestOnlyTask::post(Dispatcher& dispatcher, QueuePriority priority, Task task) {
    std::unique_lock lock(state_->mutex);
    state_->next = std::move(task);
    if (state_->running) return;
    state_->running = true;
    lock.unlock();

    dispatcher.async(priority, [state = state_] {
        std::unique_lock lock(state->mutex);
        while (state->next) {
            Task current = std::exchange(state->next, nullptr);
            lock.unlock();
            // A send that throws is logged and the newer ones still go out.
            runTaskGuarded(current);
            // What the send captured is released before the next one is taken.
            current = nullptr;
            lock.lock();
        }
        state->running = false;
    });
}

}  // namespace qvt::platform
