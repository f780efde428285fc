// qvtransfer-devicesim: a simulated network storage device on loopback, for demos and manual
// tests of the wizard.
//
//   qvtransfer-devicesim --config FILE [--listen HOST:PORT] [--smb] [--share-size SIZE]
//                        [--outage-after SECONDS --outage-for SECONDS]
//
// Prints the address it listens on ("127.0.0.1:PORT", usable as a device's ipAddress) and
// serves until SIGINT or SIGTERM. With --smb (as root) the device's shares are served as well,
// by a private smbd on a free loopback port that knows the device's users; a second line
// "smb 127.0.0.1:PORT" names it, and the wizard reaches it with QVTRANSFER_SMB_PORT=PORT.
// --share-size gives each share a tmpfs of that size (bytes, or with K, M or G), so the device
// fills up. --outage-after takes the device away (its HTTP interface and its smbd stop) that
// many seconds after it started, and --outage-for brings it back, same addresses, that many
// seconds later; "outage: away" and "outage: back" are printed when they happen.
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "device_simulator.h"
#include "samba_server.h"

namespace {

int usage() {
    std::cerr << "usage: qvtransfer-devicesim --config FILE [--listen HOST:PORT] [--smb]\n"
                 "                            [--share-size SIZE]\n"
                 "                            [--outage-after SECONDS --outage-for SECONDS]\n";
    return 2;
}

// "8M" and the like: a number of bytes, with an optional K, M or G (powers of 1024).
std::optional<std::uint64_t> parseSize(const std::string& text) {
    std::size_t used = 0;
    unsigned long long n = 0;
    try {
        n = std::stoull(text, &used);
    } catch (...) {
        return std::nullopt;
    }
    const std::string unit = text.substr(used);
    if (unit.empty()) return n;
    if (unit == "K" || unit == "k") return n << 10;
    if (unit == "M" || unit == "m") return n << 20;
    if (unit == "G" || unit == "g") return n << 30;
    return std::nullopt;
}

std::optional<double> parseSeconds(const std::string& text) {
    try {
        std::size_t used = 0;
        const double seconds = std::stod(text, &used);
        if (used != text.size() || !(seconds >= 0)) return std::nullopt;
        return seconds;
    } catch (...) {
        return std::nullopt;
    }
}

// Takes the device away and brings it back once, on a thread of its own, unless the program
// ends first.
class Outage {
  public:
    Outage(double after, double duration, std::function<void()> away, std::function<void()> back)
        : thread_([=, this] {
              if (waitOrStop(after)) return;
              away();
              std::cout << "outage: away" << std::endl;
              if (waitOrStop(duration)) return;
              back();
              std::cout << "outage: back" << std::endl;
          }) {}
    ~Outage() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

  private:
    bool waitOrStop(double seconds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                                 [&] { return stopping_; });
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

// The device's shares and users as smbd serves them: a public share is open to guests, a
// private one to any of the device's users; a share without a folder gets one of its own.
qvt::devicesim::SambaConfig sambaConfigFor(const qvt::devicesim::DeviceConfig& device,
                                           std::uint64_t shareBytes) {
    qvt::devicesim::SambaConfig config;
    for (const auto& share : device.shares) {
        qvt::devicesim::SambaShare served;
        served.name = share.shareName;
        served.path = share.path;
        served.guestOk = share.publicAccess;
        served.tmpfsBytes = shareBytes;
        config.shares.push_back(served);
    }
    for (const auto& user : device.users)
        config.users.push_back({user.username, user.password, {}});
    return config;
}

}  // namespace

int main(int argc, char** argv) {
    std::string configPath;
    std::string listen = "127.0.0.1:0";
    bool smb = false;
    std::uint64_t shareBytes = 0;
    std::optional<double> outageAfter, outageFor;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--config" && i + 1 < argc) {
            configPath = argv[++i];
        } else if (arg == "--listen" && i + 1 < argc) {
            listen = argv[++i];
        } else if (arg == "--smb") {
            smb = true;
        } else if (arg == "--share-size" && i + 1 < argc) {
            const auto bytes = parseSize(argv[++i]);
            if (!bytes || *bytes == 0) return usage();
            shareBytes = *bytes;
        } else if (arg == "--outage-after" && i + 1 < argc) {
            if (!(outageAfter = parseSeconds(argv[++i]))) return usage();
        } else if (arg == "--outage-for" && i + 1 < argc) {
            if (!(outageFor = parseSeconds(argv[++i]))) return usage();
        } else {
            return usage();
        }
    }
    if (configPath.empty() || outageAfter.has_value() != outageFor.has_value()) return usage();
    if (shareBytes > 0 && !smb) {
        std::cerr << "qvtransfer-devicesim: --share-size needs --smb\n";
        return 2;
    }

    const std::size_t colon = listen.rfind(':');
    if (colon == std::string::npos) return usage();
    const std::string host = listen.substr(0, colon);
    int port = 0;
    try {
        port = std::stoi(listen.substr(colon + 1));
    } catch (...) {
        return usage();
    }
    if (port < 0 || port > 65535) return usage();

    auto config = qvt::devicesim::loadDeviceConfig(configPath);
    if (!config) {
        std::cerr << "qvtransfer-devicesim: cannot read configuration " << configPath << "\n";
        return 1;
    }

    // The shares first: a client that has the device's address may go on to its shares at once.
    // smbd is started before the stop signals are blocked, so it does not inherit the mask.
    std::unique_ptr<qvt::devicesim::SambaServer> samba;
    if (smb) {
        samba = std::make_unique<qvt::devicesim::SambaServer>(sambaConfigFor(*config, shareBytes));
        std::string error;
        if (!samba->start(&error)) {
            std::cerr << "qvtransfer-devicesim: smbd did not start: " << error << "\n";
            return 1;
        }
    }

    // Block the stop signals before any thread starts, so every thread inherits the mask and
    // only sigwait below receives them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    qvt::devicesim::DeviceSimulator device;
    const int bound = device.start(*config, host, port);
    if (bound < 0) {
        std::cerr << "qvtransfer-devicesim: cannot listen on " << listen << "\n";
        return 1;
    }
    std::cout << host << ":" << bound << std::endl;
    if (samba) std::cout << "smb 127.0.0.1:" << samba->port() << std::endl;

    std::unique_ptr<Outage> outage;
    if (outageAfter) {
        outage = std::make_unique<Outage>(
            *outageAfter, *outageFor,
            [&] {
                device.stop();
                if (samba) samba->stop();
            },
            [&] {
                if (samba) samba->start();
                device.start(*config, host, bound);
            });
    }

    int received = 0;
    sigwait(&stopSignals, &received);
    outage.reset();
    device.stop();
    if (samba) samba->stop();
    return 0;
}
