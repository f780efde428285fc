// What a simulated device is: its identity, its users and its shares, read from an XML
// property list.
//
//   serialNumber   string
//   productName    string
//   users          list of { username, password }   (an empty password: no password)
//   shares         list of { share_name, public_access ("true"/"false"),
//                            share_access (list of 1 or 2 strings), path }
//   samba          record, kept as it is for the SMB side of the simulator
//
// A relative share path is taken from the folder of the configuration file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::devicesim {

struct SimUser {
    std::string username;
    std::string password;
};

struct SimShare {
    std::string shareName;
    bool publicAccess = false;
    std::vector<std::string> shareAccess;
    std::string path;
};

struct DeviceConfig {
    std::string serialNumber;
    std::string productName;
    std::vector<SimUser> users;
    std::vector<SimShare> shares;
    Record samba;
};

// Reads a configuration file; nothing when it is missing or not a property-list record.
std::optional<DeviceConfig> loadDeviceConfig(const std::string& path);

// Builds a configuration from a property-list value; relative share paths are resolved
// against `baseFolder` when it is given.
std::optional<DeviceConfig> deviceConfigFromValue(const Value& value,
                                                  const std::string& baseFolder = {});

}  // namespace qvt::devicesim
