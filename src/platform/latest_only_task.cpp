#include "platform/latest_only_task.h"

#include <utility>

namespace qvt::platform {

LatestOnlyTask::LatestOnlyTask(std::chrono::steady_clock::duration spacing)
    : spacing_(spacing), state_(std::make_shared<State>()) {}

void LatestOnlyTask::post(Dispatcher& dispatcher, QueuePriority priority, Task task) {
    std::unique_lock lock(state_->mutex);
    state_->next = std::move(task);
    // A sender under way takes it; it is not woken: it looks when its spacing is over.
    if (state_->running) return;
    state_->running = true;
    state_->finishing = false;
    lock.unlock();

    dispatcher.async(priority, [state = state_, spacing = spacing_] {
        std::unique_lock lock(state->mutex);
        while (state->next) {
            Task current = std::exchange(state->next, nullptr);
            lock.unlock();
            // A send that throws is logged and the newer ones still go out.
            runTaskGuarded(current);
            // What the send captured is released before the next one is taken.
            current = nullptr;
            lock.lock();
            // The spacing follows every send, also one that reports came in during; the
            // newest of them goes out when it is over.
            if (spacing != spacing.zero())
                state->wake.wait_for(lock, spacing, [&] { return state->finishing; });
        }
        state->running = false;
    });
}

void LatestOnlyTask::finish() {
    {
        std::lock_guard lock(state_->mutex);
        state_->finishing = true;
    }
    state_->wake.notify_all();
}

}  // namespace qvt::platform
