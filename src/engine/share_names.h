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

// The name of the volume an attached device's destination lay on: the second component of
// `destination` once every occurrence of `mountDir` is removed ("" when there is none). A
// destination under "/Volumes" gives "Volumes".
std::string volumeNameOfDestination(const std::string& destination, const std::string& mountDir);

// `destination` moved to a share or volume mounted again at `newMount`: `mountDir` (or else
// "/Volumes") is removed from it, its first component after the root (the old mount point's
// name) is dropped, and the rest is appended to `newMount`. With the mount folder
// /home/u/.QVTransfer, /home/u/.QVTransfer/Public-1/Photos/2014 on the new mount
// /home/u/.QVTransfer/Public gives /home/u/.QVTransfer/Public/Photos/2014. "" when what is left
// holds a "." or ".." component, which would lead outside the new mount.
std::string destinationOnNewMount(const std::string& destination, const std::string& mountDir,
                                  const std::string& newMount);

}  // namespace qvt::engine
