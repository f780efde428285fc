// The network device of the console uploader's tests: a Samba server for a whole test suite,
// whose port the programs started from the test inherit, and the device simulator's record of
// the same account and shares.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "../../apps/devicesim/device_simulator.h"
#include "../../apps/devicesim/samba_server.h"

namespace qvt::clitest {

namespace sim = qvt::devicesim;

// A Samba server with the share "Family" for `user` (and, with `withPublic`, the guest share
// "Public"), started; programs started from here connect to it. Check running() before use.
inline sim::SambaServer* startSuiteSamba(const std::string& user, const std::string& password,
                                         bool withPublic,
                                         const std::vector<sim::SambaUser>& moreUsers,
                                         std::string* error) {
    sim::SambaConfig config;
    sim::SambaShare family;
    family.name = "Family";
    family.validUsers = {user};
    config.shares.push_back(family);
    if (withPublic) {
        sim::SambaShare open;
        open.name = "Public";
        open.guestOk = true;
        config.shares.push_back(open);
    }
    config.users.push_back({user, password, {}});
    for (const auto& u : moreUsers) config.users.push_back(u);
    auto* server = new sim::SambaServer(config);
    // The programs inherit this: their SMB connections go to the private server.
    if (server->start(error))
        setenv("QVTRANSFER_SMB_PORT", std::to_string(server->port()).c_str(), 1);
    return server;
}

// The simulator's record of a device with the serial number `serial`, the accounts `users` and
// the shares "Family" (and "Public", open to guests, with `withPublic`).
inline sim::DeviceConfig deviceWithFamilyShare(const std::string& serial,
                                               const std::vector<sim::SimUser>& users,
                                               bool withPublic) {
    sim::DeviceConfig config;
    config.serialNumber = serial;
    config.productName = "Test Cloud";
    config.users = users;
    sim::SimShare family;
    family.shareName = "Family";
    family.shareAccess = {"RW"};
    config.shares = {family};
    if (withPublic) {
        sim::SimShare open;
        open.shareName = "Public";
        open.publicAccess = true;
        open.shareAccess = {"RW"};
        config.shares.push_back(open);
    }
    return config;
}

}  // namespace qvt::clitest
