// qvtransfer-devicesim: a simulated network storage device on loopback, for demos and manual
// tests of the wizard.
//
//   qvtransfer-devicesim --config FILE [--listen HOST:PORT]
//
// Prints the address it listens on ("127.0.0.1:PORT", usable as a device's ipAddress) and
// serves until SIGINT or SIGTERM.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "device_simulator.h"

namespace {

int usage() {
    std::cerr << "usage: qvtransfer-devicesim --config FILE [--listen HOST:PORT]\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::string configPath;
    std::string listen = "127.0.0.1:0";
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--config" && i + 1 < argc)
            configPath = argv[++i];
        else if (arg == "--listen" && i + 1 < argc)
            listen = argv[++i];
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

    int received = 0;
    sigwait(&stopSignals, &received);
    device.stop();
    return 0;
}
