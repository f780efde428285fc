// Real components for the mount and file tests: one private smbd on loopback for the whole
// test program, loop-mounted ext4 images, tmpfs, and per-test folders that are always cleaned
// up (mounts released first, so a removal never reaches into a mounted volume).
#pragma once

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "../../apps/devicesim/samba_server.h"
#include "platform/files.h"
#include "platform/plist_io.h"
#include "platform/version.h"

namespace qvt::mounttest {

inline constexpr const char* kUser = "qvtalice";
inline constexpr const char* kPassword = "s3cret pw";
inline constexpr const char* kUserWithBlank = "qvt alice";  // another login of kUser

// Runs a shell command and returns its standard output (trailing newline removed).
inline std::string run(const std::string& command, int* status = nullptr) {
    std::string out;
    FILE* p = popen(command.c_str(), "r");
    if (!p) return out;
    std::array<char, 4096> buf{};
    std::size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
    const int rc = pclose(p);
    if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

inline std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void writeAll(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

// Waits for `done` with a deadline in real seconds; true when it became true.
inline bool waitUntil(const std::function<bool()>& done, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    while (std::chrono::steady_clock::now() < deadline) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return done();
}

// The program-wide Samba server: shares "Public" (guest), "Private", "Backup" and "My Share"
// (accounts only), and "Small" (a 2 MiB tmpfs, for a full device).
class SambaEnvironment : public ::testing::Environment {
  public:
    static devicesim::SambaServer* server() { return server_; }

    void SetUp() override {
        devicesim::SambaConfig config;
        config.shares = {{"Public", "", 0, true, {}},
                         {"Private", "", 0, false, {kUser}},
                         {"Backup", "", 0, false, {kUser}},
                         {"My Share", "", 0, false, {kUser}},
                         {"Small", "", 2u << 20, false, {kUser}}};
        config.users = {{kUser, kPassword, {kUserWithBlank}}};
        server_ = new devicesim::SambaServer(config);
        std::string error;
        if (!server_->start(&error)) {
            startError_ = error;
            return;
        }
        setenv("QVTRANSFER_SMB_PORT", std::to_string(server_->port()).c_str(), 1);
    }

    void TearDown() override {
        delete server_;
        server_ = nullptr;
    }

    static const std::string& startError() { return startError_; }

  private:
    static inline devicesim::SambaServer* server_ = nullptr;
    static inline std::string startError_;
};

// Registers the program-wide Samba server once, however many test files of one program ask
// for it: a second registration would start a second server and lose the first.
inline ::testing::Environment* sambaEnvironment() {
    static ::testing::Environment* const environment =
        ::testing::AddGlobalTestEnvironment(new SambaEnvironment);
    return environment;
}

// A loop device over a small ext4 image; detached (and unmounted) when the object goes.
class LoopVolume {
  public:
    explicit LoopVolume(const std::string& folder, int megabytes = 8) {
        image_ = folder + "/volume.img";
        int rc = 0;
        run("truncate -s " + std::to_string(megabytes) + "M " + image_, &rc);
        run("mkfs.ext4 -q -F " + image_ + " 2>&1", &rc);
        if (rc != 0) return;
        device_ = run("losetup --find --show " + image_ + " 2>/dev/null", &rc);
        if (rc != 0) device_.clear();
        if (!device_.empty()) uuid_ = run("blkid -p -s UUID -o value " + device_);
    }
    ~LoopVolume() {
        if (device_.empty()) return;
        // Release every mount of the device before detaching it.
        for (int i = 0; i < 8; ++i) {
            const std::string where =
                run("findmnt -n -o TARGET --source " + device_ + " | head -1");
            if (where.empty()) break;
            umount2(where.c_str(), MNT_DETACH);
        }
        run("losetup -d " + device_);
    }
    LoopVolume(const LoopVolume&) = delete;
    LoopVolume& operator=(const LoopVolume&) = delete;

    bool ok() const { return !device_.empty(); }
    const std::string& device() const { return device_; }      // "/dev/loopN"
    std::string bsdName() const { return device_.substr(5); }  // "loopN"
    const std::string& uuid() const { return uuid_; }

  private:
    std::string image_;
    std::string device_;
    std::string uuid_;
};

// A per-test home: "<root>/home/.QVTransfer" is the mount folder, and the layer's default
// mount root. On the way out every in-process share and every kernel mount below the root is
// released before the folder is removed.
class MountSandbox {
  public:
    MountSandbox() {
        std::string tmpl = "/tmp/qvt-mount-XXXXXX";
        if (mkdtemp(tmpl.data())) root_ = tmpl;
        home_ = root_ + "/home";
        mountDir_ = home_ + "/.QVTransfer";
        std::filesystem::create_directories(home_);
        platform::files().setDefaultMountRoot(mountDir_);
    }
    ~MountSandbox() {
        releaseMounts();
        platform::setVersionRecordPath("");
        platform::setMountServiceForTesting(std::nullopt);
        if (!root_.empty() && !hasKernelMountBelow()) {
            std::error_code ec;
            std::filesystem::remove_all(root_, ec);
        }
    }
    MountSandbox(const MountSandbox&) = delete;
    MountSandbox& operator=(const MountSandbox&) = delete;

    const std::string& root() const { return root_; }
    const std::string& home() const { return home_; }
    const std::string& mountDir() const { return mountDir_; }
    void makeMountDir() const { std::filesystem::create_directories(mountDir_); }

    // Points the platform version at a record with this ProductVersion ("" = no record).
    void useVersion(const std::string& productVersion) {
        const std::string path = root_ + "/SystemVersion-" + productVersion + ".plist";
        if (!productVersion.empty()) {
            Record r;
            r.set("ProductVersion", productVersion);
            platform::writePropertyList(path, Value(r));
        }
        platform::setVersionRecordPath(productVersion.empty() ? root_ + "/missing.plist" : path);
    }

    // Mounts a tmpfs of `bytes` at `path` (made if missing).
    bool mountTmpfs(const std::string& path, std::uint64_t bytes) const {
        std::filesystem::create_directories(path);
        const std::string opts = "size=" + std::to_string(bytes);
        return mount("tmpfs", path.c_str(), "tmpfs", 0, opts.c_str()) == 0;
    }

    void releaseMounts() const {
        for (const auto& v : platform::files().mountedVolumes())
            if (v.inProcess) platform::files().forceUnmount(v.path);
        for (int round = 0; round < 16 && hasKernelMountBelow(); ++round) {
            for (const auto& v : platform::files().mountedVolumes())
                if (!v.inProcess && under(v.path)) umount2(v.path.c_str(), MNT_DETACH);
        }
    }

  private:
    bool under(const std::string& p) const {
        return !root_.empty() && p.rfind(root_ + "/", 0) == 0;
    }
    bool hasKernelMountBelow() const {
        for (const auto& v : platform::files().mountedVolumes())
            if (!v.inProcess && under(v.path)) return true;
        return false;
    }

    std::string root_, home_, mountDir_;
};

// Skips nothing: a missing Samba server is a failure of the test that needs it.
#define QVT_REQUIRE_SAMBA()                                              \
    ASSERT_NE(::qvt::mounttest::SambaEnvironment::server(), nullptr);    \
    ASSERT_TRUE(::qvt::mounttest::SambaEnvironment::server()->running()) \
        << ::qvt::mounttest::SambaEnvironment::startError()

}  // namespace qvt::mounttest
