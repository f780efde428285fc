// A simulated device for the device tests, started in-process on a free loopback port.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "device/rest_client.h"
#include "device_simulator.h"

namespace qvt::test {

inline devicesim::DeviceConfig threeUserDevice() {
    devicesim::DeviceConfig c;
    c.serialNumber = "SN-0042";
    c.productName = "Test Storage";
    c.users = {{"admin", "a b"}, {"bob", ""}, {"cut", "x"}};
    c.shares = {{"Public", true, {"RW"}, ""}, {"Backup", false, {"RW", "RO"}, ""}};
    return c;
}

// Forwards to the real client and remembers every request.
class CountingClient : public HttpClient {
  public:
    HttpReply get(const std::string& url, double timeoutSeconds) override {
        {
            std::lock_guard lock(mutex_);
            urls_.push_back(url);
            timeouts_.push_back(timeoutSeconds);
        }
        return real_.get(url, timeoutSeconds);
    }
    std::vector<std::string> urls() const {
        std::lock_guard lock(mutex_);
        return urls_;
    }
    std::vector<double> timeouts() const {
        std::lock_guard lock(mutex_);
        return timeouts_;
    }

  private:
    CurlHttpClient real_;
    mutable std::mutex mutex_;
    std::vector<std::string> urls_;
    std::vector<double> timeouts_;
};

}  // namespace qvt::test
