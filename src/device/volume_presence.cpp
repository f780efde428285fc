#include "device/volume_presence.h"

#include <sys/stat.h>

#include <algorithm>

namespace qvt::device {

std::vector<std::string> unreachableVolumes(const Record& device,
                                            const std::vector<std::string>& mountPoints) {
    std::vector<std::string> missing;
    const Record* info = device.record("deviceInfo");
    const List* volumes = info ? info->list("volumeArray") : nullptr;
    if (device.string("deviceType") != "DAS" || !volumes) return missing;
    for (const Value& v : *volumes) {
        const Record* volume = v.asRecord();
        if (!volume) continue;
        const std::string path = volume->string("volumePath");
        const std::string node = volume->string("bsdName");
        const bool mounted =
            std::find(mountPoints.begin(), mountPoints.end(), path) != mountPoints.end();
        struct stat st {};
        const bool attached = !node.empty() && node.find('/') == std::string::npos &&
                              ::stat(("/dev/" + node).c_str(), &st) == 0;
        if (!mounted && !attached)
            missing.push_back(volume->string("volumeName") + " (" + path + ")");
    }
    return missing;
}

std::string missingVolumesList(const std::vector<std::string>& missing) {
    std::string names;
    for (const auto& m : missing) names += (names.empty() ? "" : ", ") + m;
    return names;
}

}  // namespace qvt::device
