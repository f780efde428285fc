// Which share a destination folder lies on, read from its path the way the recovery and the
// resume find the share to mount again.
#pragma once

#include <string>

namespace qvt::engine {

// The share of `destination`: every occurrence of `mountDir` is removed from it when it holds
// it (otherwise every occurrence of "/Volumes"), the second component of what is left (the
// first is the root "/") is the old mount point's name, and the share's name is that name up to
// its first "-". The cut drops the number the system adds to a mount point whose name was taken
// ("Public-1" is the share "Public"); a share whose own name holds "-" is cut too, deliberately.
// "" when there is no such component.
std::string shareNameOfDestination(const std::string& destination, const std::string& mountDir);

}  // namespace qvt::engine
