// A destination read from the state file is taken to the share or volume mounted again. Whatever
// the saved path holds, the share name read from it never holds a "/", and the destination on
// the new mount never lies outside that mount.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/share_names.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string destination(reinterpret_cast<const char*>(data), size);
    const std::string mountDir = "/home/user/.QVTransfer";
    const std::string newMount = mountDir + "/Public";

    const std::string share = qvt::engine::shareNameOfDestination(destination, mountDir);
    if (share.find('/') != std::string::npos) std::abort();
    const std::string volume = qvt::engine::volumeNameOfDestination(destination, mountDir);
    if (volume.find('/') != std::string::npos) std::abort();

    const std::string moved = qvt::engine::destinationOnNewMount(destination, mountDir, newMount);
    if (moved.empty()) return 0;
    const std::string normal = std::filesystem::path(moved).lexically_normal().string();
    if (normal != newMount && normal.rfind(newMount + "/", 0) != 0) std::abort();
    return 0;
}
