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
        while (true) {
            if (!state->next) {
                if (spacing == spacing.zero() || state->finishing) break;
                state->wake.wait_for(lock, spacing, [&] { return state->finishing; });
                if (!state->next) break;
            }
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

void LatestOnlyTask::finish() {
    {
        std::lock_guard lock(state_->mutex);
        state_->finishing = true;
    }
    state_->wake.notify_all();
}

}  // namespace qvt::platform
