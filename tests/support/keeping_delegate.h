// A host delegate that keeps every status message it receives, with the thread it came on, and
// counts the cancel messages: tests read them back from any thread.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "qvtransfer/QVTransferDelegate.h"

namespace qvt::test {

// One status message as the host received it.
struct StatusMessage {
    bool completed, failed, cancelled, paused, reachable;
    std::string status, subStatus;
    std::thread::id thread;
};

class KeepingDelegate : public QVTransferFullDelegate {
  public:
    void fileTransferStatusUpdate(bool completed, bool failed, bool cancelled, bool paused,
                                  bool reachable, const std::string& status,
                                  const std::string& subStatus) override {
        std::lock_guard lock(mutex_);
        messages_.push_back({completed, failed, cancelled, paused, reachable, status, subStatus,
                             std::this_thread::get_id()});
    }
    void backToVantorFromQVTransfer() override {}
    void cancelledQVTransfer() override { cancelCount++; }

    std::vector<StatusMessage> messages() const {
        std::lock_guard lock(mutex_);
        return messages_;
    }
    std::size_t messageCount() const {
        std::lock_guard lock(mutex_);
        return messages_.size();
    }
    std::atomic<int> cancelCount{0};

  private:
    mutable std::mutex mutex_;
    std::vector<StatusMessage> messages_;
};

}  // namespace qvt::test
