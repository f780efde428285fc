// Shared pieces of the progress, pause and cancel tests: a headless controller on a manual
// clock, a delegate that keeps every message, and a driver that runs the estimator one pass at a
// time.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include "keeping_delegate.h"
#include "manual_clock.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/format.h"
#include "support.h"

namespace qvt::test {

// A controller whose clock only moves when the test (or a sleep) moves it.
struct ManualSession {
    explicit ManualSession(const Record& device = nasDevice()) {
        clock = std::make_shared<platform::ManualClock>();
        h.services.clock = clock;
        c = QVTransferPrivate::initWithDevice(device, h.services);
        delegate = std::make_shared<KeepingDelegate>();
        if (c) {
            c->setDelegate(delegate);
            // Fixed wording, so the tests check the controller's composition rather than a
            // translation.
            c->localeUPLOADING_MULTIPLE_FILES_txt = "Uploading file %@ of %@";
            c->localeESTIMATED_TIME_REMAINING_txt = "Estimated time remaining: ";
            c->localeCALCULATING_txt = "calculating";
            c->localeUPLOAD_PAUSED_txt = "Upload paused";
            c->localeSECOND_txt = "%@ second";
            c->localeSECONDS_txt = "%@ seconds";
            c->localeMINUTE_txt = "%@ minute";
            c->localeMINUTES_txt = "%@ minutes";
            c->localeHOUR_txt = "%@ hour";
            c->localeHOURS_txt = "%@ hours";
            c->localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt = "%@ of %@ files uploaded";
            c->localeALL_FILES_SUCCESSFULLY_UPLOADED_txt = "All files uploaded";
        }
    }
    ~ManualSession() {
        // Let background saves and messages finish before the folders go.
        if (c) h.services.dispatch->waitIdle(10);
    }

    // The estimate line as the controller composes it for `timeText`.
    std::string estimateLine(const std::string& timeText) const {
        return "Estimated time remaining: " +
               platform::format(c->localizedString("TIME_REMAINING_ABOUT_TEXT"), timeText);
    }

    Harness h;
    std::shared_ptr<platform::ManualClock> clock;
    std::shared_ptr<QVTransferPrivate> c;
    std::shared_ptr<KeepingDelegate> delegate;
};

// Runs calculateRemainingTime on a thread of its own and stops it at the end of every pass (in
// its 3-second sleep) until the test lets it go on.
class EstimatorDriver {
  public:
    explicit EstimatorDriver(ManualSession& s) : s_(s) {
        s.clock->setSleepHook([this](double seconds) {
            lastSleep_ = seconds;
            passes_++;
            gate_.try_acquire_for(std::chrono::seconds(60));
        });
    }
    ~EstimatorDriver() { stop(); }

    void start() {
        thread_ = std::thread([this, c = s_.c] {
            estimatorThread_ = std::this_thread::get_id();
            c->calculateRemainingTime();
            finished_ = true;
        });
    }
    // Waits (serving the main thread) until `n` passes have ended.
    bool waitPasses(int n) {
        return waitFor([&] { return passes_.load() >= n; }, 20);
    }
    // Lets the parked estimator sleep out its 3 seconds and start the next pass.
    void next() { gate_.release(); }
    bool waitFinished() {
        return waitFor([&] { return finished_.load(); }, 20);
    }
    // Ends the run: marks the upload completed and lets the estimator leave.
    void stop() {
        if (!thread_.joinable()) return;
        if (!finished_) {
            s_.c->job().complete();
            gate_.release(1000);
            waitFinished();
        }
        thread_.join();
        s_.clock->setSleepHook(nullptr);
    }
    int passes() const { return passes_.load(); }
    bool finished() const { return finished_.load(); }
    double lastSleep() const { return lastSleep_.load(); }
    std::thread::id estimatorThread() const { return estimatorThread_; }

  private:
    ManualSession& s_;
    std::thread thread_;
    std::counting_semaphore<4096> gate_{0};
    std::atomic<int> passes_{0};
    std::atomic<bool> finished_{false};
    std::atomic<double> lastSleep_{0};
    std::thread::id estimatorThread_;
};

}  // namespace qvt::test
