// A network storage device on loopback: the four REST endpoints the wizard uses, served over
// real HTTP, with switches that make it misbehave the ways real devices do.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "device_config.h"

namespace qvt::devicesim {

class RawTargetServer;

enum class Endpoint { Users = 0, LocalLogin = 1, Shares = 2, SystemInformation = 3 };
inline constexpr std::size_t kEndpointCount = 4;

// Ways to misbehave. Changing them while the device runs takes effect for the next request
// (and releases requests held by `silent` when it is switched off).
struct Faults {
    // Accept the request and never answer, until switched off or the device stops.
    bool silent = false;
    // Answer with the status but no body.
    bool emptyBody = false;
    // Answer with this HTTP status instead of the usual one (0: the usual one).
    int status = 0;
    // Answer with broken markup.
    bool malformed = false;
    // Report this serial number instead of the configured one.
    std::optional<std::string> serialNumber;
    // Indented multi-line replies instead of one line.
    bool prettyPrinted = false;
    // The endpoints the first four faults apply to; empty means all of them.
    std::vector<Endpoint> only;
};

class DeviceSimulator {
  public:
    DeviceSimulator();
    ~DeviceSimulator();
    DeviceSimulator(const DeviceSimulator&) = delete;
    DeviceSimulator& operator=(const DeviceSimulator&) = delete;

    // Starts serving on host:port (port 0 picks a free one). Returns the port, or -1 when the
    // address cannot be bound. A running device is stopped first.
    int start(const DeviceConfig& config, const std::string& host = "127.0.0.1", int port = 0);
    // Stops serving; held (silent) requests are dropped without an answer.
    void stop();
    bool running() const { return running_.load(); }
    int port() const { return port_.load(); }
    // "host:port", the form a device record's ipAddress takes for a device on loopback.
    std::string address() const;

    void setConfig(const DeviceConfig& config);
    DeviceConfig config() const;

    void setFaults(const Faults& faults);
    Faults faults() const;
    void setSilent(bool on);
    void setEmptyBody(bool on);
    void setStatus(int status);
    void setMalformed(bool on);
    void setSerialNumber(std::optional<std::string> serialNumber);
    void setPrettyPrinted(bool on);
    void clearFaults();

    // Requests received per endpoint, counted as they arrive (a held request counts).
    std::size_t requestCount(Endpoint endpoint) const;
    // The query string of the last request to the endpoint, exactly as it arrived (not
    // decoded): shows how the client escaped what it sent.
    std::string lastQuery(Endpoint endpoint) const;
    void resetCounters();
    // Waits until the endpoint has received at least `count` requests, or the deadline passes.
    bool waitForRequests(Endpoint endpoint, std::size_t count,
                         std::chrono::milliseconds timeout) const;

  private:
    struct Answer {
        int status = 200;
        std::string body;
    };
    void handle(Endpoint endpoint, const std::string& rawTarget, int& status, std::string& body);
    Answer normalAnswer(Endpoint endpoint, const std::string& query, const DeviceConfig& config,
                        const Faults& faults) const;
    bool holdWhileSilent(Endpoint endpoint);
    static bool applies(const Faults& faults, Endpoint endpoint);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    DeviceConfig config_;
    Faults faults_;
    std::array<std::size_t, kEndpointCount> counts_{};
    std::array<std::string, kEndpointCount> lastQueries_{};

    std::unique_ptr<RawTargetServer> server_;
    std::thread listener_;
    std::string host_;
    std::atomic<int> port_{-1};
    std::atomic<bool> running_{false};
    std::atomic<bool> stopping_{false};
};

}  // namespace qvt::devicesim
