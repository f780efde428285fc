// Whether the volumes of an attached device's record are there to be written to.
#pragma once

#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::device {

// The volumes of an attached device's record that cannot be reached: neither mounted at their
// "volumePath" (one of `mountPoints`) nor with a device node (/dev/ + "bsdName") to mount them
// from. Each as "NAME (PATH)". Empty for a network device.
std::vector<std::string> unreachableVolumes(const Record& device,
                                            const std::vector<std::string>& mountPoints);

// The missing volumes as one list for a sentence in the user's language: "A (PATH), B (PATH)".
std::string missingVolumesList(const std::vector<std::string>& missing);

}  // namespace qvt::device
