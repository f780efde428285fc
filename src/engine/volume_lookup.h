// Finding the mounted volume that holds a path, or the one with a given filesystem UUID.
#pragma once

#include <string>

namespace qvt::engine {

// Whether `path` is `root` or lies below it.
bool isUnder(const std::string& path, const std::string& root);

// The mount point of the volume `path` lies on: the longest mount point that holds it.
std::string mountPointOf(const std::string& path);

// The mount point of a mounted local volume whose filesystem UUID is `uuid`, or "". Shares
// have no UUID and are never answered.
std::string mountedVolumeWithUuid(const std::string& uuid);

}  // namespace qvt::engine
