#include "platform/mounts_table.h"
#include "platform/paths.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "platform/smb_url.h"

namespace qvt::platform {

namespace {

// Whether `path` is already in its normal form: no empty, "." or ".." component and no slash
// at the end. Every file operation asks the mount table about its path, and an upload's paths
// are almost always normal, so the general form is built only for the others.
bool isNormalPath(const std::string& path) {
    if (path == "/") return true;
    return !path.empty() && path.back() != '/' && path.find("//") == std::string::npos &&
           !hasDotComponent(path);
}

}  // namespace

std::string normalizePath(const std::string& path) {
    if (path.empty() || isNormalPath(path)) return path;
    std::string n = std::filesystem::path(path).lexically_normal().string();
    while (n.size() > 1 && n.back() == '/') n.pop_back();
    return n;
}

std::string ShareMount::remountURL() const {
    return "smb://" + authority + "/" + escapeUrlComponent(share);
}

namespace {

// mountinfo escapes blanks, tabs, newlines and backslashes as octal "\NNN".
std::string unescapeMountInfo(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 3 < s.size()) {
            const std::string oct = s.substr(i + 1, 3);
            if (oct.size() == 3 && oct.find_first_not_of("01234567") == std::string::npos) {
                out += static_cast<char>(std::stoi(oct, nullptr, 8));
                i += 3;
                continue;
            }
        }
        out += s[i];
    }
    return out;
}

std::mutex gHiddenMutex;
std::set<std::string> gHidden;

}  // namespace

std::optional<SharePath> MountTable::resolve(const std::string& path) const {
    const std::string p = normalizePath(path);
    std::lock_guard lock(mutex_);
    const ShareMount* best = nullptr;
    for (const auto& m : mounts_)
        if (isUnder(p, m.mountPoint) && (!best || m.mountPoint.size() > best->mountPoint.size()))
            best = &m;
    if (!best) return std::nullopt;
    SharePath sp{*best, ""};
    if (p.size() > best->mountPoint.size()) sp.relative = p.substr(best->mountPoint.size() + 1);
    return sp;
}

std::optional<ShareMount> MountTable::findShare(const std::string& host,
                                                const std::string& share) const {
    std::lock_guard lock(mutex_);
    for (const auto& m : mounts_)
        if (m.host == host && m.share == share) return m;
    return std::nullopt;
}

bool MountTable::isMountPoint(const std::string& path) const {
    const std::string p = normalizePath(path);
    std::lock_guard lock(mutex_);
    for (const auto& m : mounts_)
        if (m.mountPoint == p) return true;
    return false;
}

bool MountTable::add(ShareMount mount) {
    mount.mountPoint = normalizePath(mount.mountPoint);
    std::lock_guard lock(mutex_);
    for (const auto& m : mounts_)
        if (m.mountPoint == mount.mountPoint) return false;
    mounts_.push_back(std::move(mount));
    return true;
}

bool MountTable::remove(const std::string& mountPoint) {
    const std::string p = normalizePath(mountPoint);
    std::lock_guard lock(mutex_);
    for (auto it = mounts_.begin(); it != mounts_.end(); ++it) {
        if (it->mountPoint == p) {
            mounts_.erase(it);
            return true;
        }
    }
    return false;
}

std::vector<ShareMount> MountTable::list() const {
    std::lock_guard lock(mutex_);
    return mounts_;
}

MountTable& shareMounts() {
    static MountTable table;
    return table;
}

std::vector<KernelMount> kernelMounts() {
    std::vector<KernelMount> out;
    std::ifstream in("/proc/self/mountinfo");
    std::string line;
    while (std::getline(in, line)) {
        // id parent major:minor root mountpoint options [optional...] - fstype source superopts
        std::istringstream ss(line);
        std::string id, parent, devno, root, mountPoint, options, field;
        ss >> id >> parent >> devno >> root >> mountPoint >> options;
        while (ss >> field && field != "-") {
        }
        KernelMount m;
        ss >> m.fsType >> m.source;
        m.mountPoint = unescapeMountInfo(mountPoint);
        m.source = unescapeMountInfo(m.source);
        const auto colon = devno.find(':');
        if (colon != std::string::npos) {
            m.major = static_cast<unsigned>(std::stoul(devno.substr(0, colon)));
            m.minor = static_cast<unsigned>(std::stoul(devno.substr(colon + 1)));
        }
        out.push_back(std::move(m));
    }
    return out;
}

std::string localRemountURL(const KernelMount& m) {
    if (!m.source.empty() && m.source[0] == '/') return "file://" + addPercentEscapes(m.source);
    return m.fsType + "://" + addPercentEscapes(m.source.empty() ? m.fsType : m.source);
}

void rememberHiddenLocalMount(const std::string& mountPoint) {
    std::lock_guard lock(gHiddenMutex);
    gHidden.insert(normalizePath(mountPoint));
}

void forgetHiddenLocalMount(const std::string& mountPoint) {
    std::lock_guard lock(gHiddenMutex);
    gHidden.erase(normalizePath(mountPoint));
}

bool isHiddenLocalMount(const std::string& mountPoint) {
    std::lock_guard lock(gHiddenMutex);
    return gHidden.count(normalizePath(mountPoint)) > 0;
}

}  // namespace qvt::platform
