// qvtransfer-devicesim: a simulated network storage device on loopback, for demos and manual
// tests of the wizard.
//
//   qvtransfer-devicesim --config FILE [--listen HOST:PORT] [--smb]
//
// Prints the address it listens on ("127.0.0.1:PORT", usable as a device's ipAddress) and
// serves until SIGINT or SIGTERM. With --smb (as root) the device's shares are served as well,
// by a private smbd on a free loopback port that knows the device's users; a second line
// "smb 127.0.0.1:PORT" names it, and the wizard reaches it with QVTRANSFER_SMB_PORT=PORT.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "device_simulator.h"
#include "samba_server.h"

namespace {

int usage() {
    std::cerr << "usage: qvtransfer-devicesim --config FILE [--listen HOST:PORT] [--smb]\n";
    return 2;
}

// The device's shares and users as smbd serves them: a public share is open to guests, a
// private one to any of the device's users; a share without a folder gets one of its own.
qvt::devicesim::SambaConfig sambaConfigFor(const qvt::devicesim::DeviceConfig& device) {
    qvt::devicesim::SambaConfig config;
    for (const auto& share : device.shares) {
        qvt::devicesim::SambaShare served;
        served.name = share.shareName;
        served.path = share.path;
        served.guestOk = share.publicAccess;
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
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--config" && i + 1 < argc)
            configPath = argv[++i];
        else if (arg == "--listen" && i + 1 < argc)
            listen = argv[++i];
        else if (arg == "--smb")
            smb = true;
        else
            return usage();
    }
    if (configPath.empty()) return usage();

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
        samba = std::make_unique<qvt::devicesim::SambaServer>(sambaConfigFor(*config));
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

    int received = 0;
    sigwait(&stopSignals, &received);
    device.stop();
    if (samba) samba->stop();
    return 0;
}
