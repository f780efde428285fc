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

// The translation a device may be set up with to show names holding characters SMB refuses
// as they were given: the same table the program writes them with.
inline constexpr const char* kCatiaMappings =
    "catia:mappings = 0x01:0xf001,0x02:0xf002,0x03:0xf003,0x04:0xf004,0x05:0xf005,0x06:0xf006,"
    "0x07:0xf007,0x08:0xf008,0x09:0xf009,0x0a:0xf00a,0x0b:0xf00b,0x0c:0xf00c,0x0d:0xf00d,"
    "0x0e:0xf00e,0x0f:0xf00f,0x10:0xf010,0x11:0xf011,0x12:0xf012,0x13:0xf013,0x14:0xf014,"
    "0x15:0xf015,0x16:0xf016,0x17:0xf017,0x18:0xf018,0x19:0xf019,0x1a:0xf01a,0x1b:0xf01b,"
    "0x1c:0xf01c,0x1d:0xf01d,0x1e:0xf01e,0x1f:0xf01f,0x22:0xf020,0x2a:0xf021,0x3a:0xf022,"
    "0x3c:0xf023,0x3e:0xf024,0x3f:0xf025,0x5c:0xf026,0x7c:0xf027";

// The program-wide Samba server: shares "Public" (guest), "Private", "Backup" and "My Share"
// (accounts only), "Small" (a 2 MiB tmpfs, for a full device) and "Mapped" (translating the
// private-use characters of mapped names back, as a device may be set up to).
class SambaEnvironment : public ::testing::Environment {
  public:
    static devicesim::SambaServer* server() { return server_; }

    void SetUp() override {
        devicesim::SambaConfig config;
        config.shares = {
            {"Public", "", 0, true, {}},
            {"Private", "", 0, false, {kUser}},
            {"Backup", "", 0, false, {kUser}},
            {"My Share", "", 0, false, {kUser}},
            {"Small", "", 2u << 20, false, {kUser}},
            {"Mapped", "", 0, false, {kUser}, {"vfs objects = catia", kCatiaMappings}}};
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
