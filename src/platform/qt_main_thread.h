// The main thread of a Qt application: tasks are posted to the application object's event
// queue and run by its event loop on the GUI thread.
#pragma once

#include <memory>

#include "platform/dispatch.h"

namespace qvt::platform {

class QtMainThread : public MainThread {
  public:
    QtMainThread() = default;
    // True on the thread that owns the QCoreApplication instance.
    bool isCurrent() const override;
    // Queues `task` for the application's event loop. Without an application instance there
    // is no main thread to run it and the task is dropped.
    void post(Task task) override;
    // Processes pending events (and so the posted tasks) when called on the main thread.
    void pump() override;
};

// The Qt main thread when a Qt application exists, otherwise a queue owned by the calling
// thread.
std::shared_ptr<MainThread> makeDefaultMainThread();

}  // namespace qvt::platform
