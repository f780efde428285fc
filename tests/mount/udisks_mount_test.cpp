// A process that may not call mount(2) still gets its disk: the layer asks UDisks2, which
// mounts the volume at a place of its own choosing. The test runs the real daemons (a system
// D-Bus, udevd so the daemon knows the loop device's filesystem, and udisksd) and takes the
// mount capability away from the one thread that mounts.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>

#include <cerrno>
#include <iostream>
#include <thread>

#include "capture_log.h"
#include "device/mount_destination.h"
#include "mount_test_support.h"
#include "platform/log.h"

namespace qvt::mounttest {
namespace {

// Capabilities are per thread: dropping CAP_SYS_ADMIN here makes mount(2) refuse this thread
// only, the way it refuses an ordinary user, while the rest of the test keeps its rights.
bool dropMountCapabilityOfThisThread() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    if (syscall(SYS_capget, &header, data) != 0) return false;
    const unsigned word = CAP_SYS_ADMIN / 32;
    const unsigned bit = 1u << (CAP_SYS_ADMIN % 32);
    data[word].effective &= ~bit;
    data[word].permitted &= ~bit;
    return syscall(SYS_capset, &header, data) == 0;
}

bool udisksAnswers() {
    int rc = 0;
    run("timeout 5 udisksctl status >/dev/null 2>&1", &rc);
    return rc == 0;
}

// Starts what is not yet running and stops, at the end, only what it started.
class UDisksDaemons {
  public:
    UDisksDaemons() {
        if (run("command -v udisksctl").empty()) {
            error_ = "udisksctl is not installed (package udisks2)";
            return;
        }
        int rc = 0;
        if (!std::filesystem::exists("/run/dbus/system_bus_socket")) {
            std::filesystem::create_directories("/run/dbus");
            run("dbus-daemon --system --fork --print-pid", &rc);
            if (rc != 0) {
                error_ = "the system D-Bus did not start";
                return;
            }
            startedBus_ = true;
        }
        if (run("pgrep -x systemd-udevd").empty()) {
            run("/lib/systemd/systemd-udevd --daemon 2>/dev/null", &rc);
            if (rc != 0) {
                error_ = "udevd did not start";
                return;
            }
            startedUdev_ = true;
        }
        if (!udisksAnswers()) {
            run("/usr/libexec/udisks2/udisksd --no-debug >/dev/null 2>&1 & echo $! > " + pidFile_);
            startedUDisks_ = true;
            if (!waitUntil(udisksAnswers, 30)) error_ = "udisksd did not answer";
        }
    }
    ~UDisksDaemons() {
        if (startedUDisks_) run("kill $(cat " + pidFile_ + ") 2>/dev/null; rm -f " + pidFile_);
        if (startedUdev_) run("udevadm control --exit 2>/dev/null");
        if (startedBus_)
            run("kill $(cat /run/dbus/pid) 2>/dev/null; rm -f /run/dbus/pid "
                "/run/dbus/system_bus_socket");
    }
    UDisksDaemons(const UDisksDaemons&) = delete;
    UDisksDaemons& operator=(const UDisksDaemons&) = delete;

    const std::string& error() const { return error_; }

  private:
    std::string error_;
    std::string pidFile_ = "/tmp/qvt-test-udisksd.pid";
    bool startedBus_ = false;
    bool startedUdev_ = false;
    bool startedUDisks_ = false;
};

const platform::MountedVolume* findVolume(std::vector<platform::MountedVolume>& volumes,
                                          const std::string& path) {
    volumes = platform::files().mountedVolumes();
    for (const auto& v : volumes)
        if (v.path == path) return &v;
    return nullptr;
}

TEST(UDisksFallback, RefusedMountGoesThroughUDisksWhichPicksThePlace) {
    UDisksDaemons daemons;
    ASSERT_EQ(daemons.error(), "");
    MountSandbox box;
    box.makeMountDir();
    LoopVolume disk(box.root());
    ASSERT_TRUE(disk.ok());
    // The daemon learns the filesystem of the new loop device from udev.
    run("udevadm trigger --action=change " + disk.device() + " && udevadm settle -t 20");

    auto log = std::make_shared<platform::CaptureLog>();
    QVTransferMountDestination mounter{log};
    std::string result;
    int directMount = 0;
    bool dropped = false;
    std::thread userThread([&] {
        dropped = dropMountCapabilityOfThisThread();
        // The kernel now says no to this thread, as it does to an ordinary user.
        const std::string probe = box.root() + "/probe";
        std::filesystem::create_directories(probe);
        directMount = mount("tmpfs", probe.c_str(), "tmpfs", 0, nullptr) == 0 ? 0 : errno;
        result = mounter.mountDASVolume("Volume Two", disk.bsdName(), 0, "", box.mountDir());
    });
    userThread.join();
    ASSERT_TRUE(dropped);
    ASSERT_EQ(directMount, EPERM);

    // Not the folder the layer asked for: the place UDisks2 chose.
    std::cout << "mounted by UDisks2 at " << result << std::endl;
    ASSERT_FALSE(result.empty());
    EXPECT_NE(result, box.mountDir() + "/Volume Two");
    EXPECT_EQ(mounter.mountedPathsArray.get(), std::vector<std::string>{result});
    EXPECT_TRUE(QVTransferMountDestination::anyVolumePathContains(result));
    std::vector<platform::MountedVolume> volumes;
    const auto* v = findVolume(volumes, result);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->source, disk.device());
    EXPECT_EQ(v->fsType, "ext4");
    EXPECT_TRUE(v->hidden);  // x-gvfs-hide went to UDisks2 and is kept with the mount
    EXPECT_EQ(platform::files().volumeFacts(result).uuid, disk.uuid());

    // Written through the file layer, found on the volume after it was released.
    const std::string local = box.root() + "/f.bin";
    writeAll(local, std::string(8192, 'u'));
    ASSERT_EQ(platform::files().copyItem(local, result + "/f.bin"), 0);
    QVTransferMountDestination::unmountPaths({result});
    EXPECT_EQ(findVolume(volumes, result), nullptr);
    const std::string check = box.root() + "/check";
    std::filesystem::create_directories(check);
    ASSERT_EQ(run("mount " + disk.device() + " " + check + " 2>&1 && echo ok"), "ok");
    EXPECT_EQ(readAll(check + "/f.bin"), std::string(8192, 'u'));
}

}  // namespace
}  // namespace qvt::mounttest
