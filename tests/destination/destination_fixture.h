// Helpers of the destination tests: real volumes (tmpfs and loop-mounted ext4 images, always
// released), controllers on the headless harness and readers of the destination tree.
#pragma once

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "destination/folder_node.h"
#include "platform/dispatch.h"
#include "support/support.h"

namespace qvt::desttest {

namespace fs = std::filesystem;

// Runs a shell command; its standard output without the trailing newline.
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

inline bool isRoot() {
    return geteuid() == 0;
}

// A small tmpfs mounted on `folder` (created when missing) until the object goes.
class TmpfsVolume {
  public:
    explicit TmpfsVolume(const std::string& folder) : folder_(folder) {
        fs::create_directories(folder_);
        mounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=4m") == 0;
    }
    ~TmpfsVolume() {
        if (mounted_) ::umount2(folder_.c_str(), MNT_DETACH);
    }
    TmpfsVolume(const TmpfsVolume&) = delete;
    TmpfsVolume& operator=(const TmpfsVolume&) = delete;
    bool ok() const { return mounted_; }
    const std::string& path() const { return folder_; }

  private:
    std::string folder_;
    bool mounted_ = false;
};

// A loop device over a small ext4 image whose root is filled from `contents` (a folder copied
// in by mkfs). Whatever mounted the device is unmounted before the device is detached.
class LoopExt4Volume {
  public:
    LoopExt4Volume(const std::string& workFolder, const std::string& contents) {
        image_ = workFolder + "/volume.img";
        int rc = 0;
        run("truncate -s 8M '" + image_ + "'", &rc);
        if (rc != 0) return;
        run("mkfs.ext4 -q -F -d '" + contents + "' '" + image_ + "' 2>&1", &rc);
        if (rc != 0) return;
        device_ = run("losetup --find --show '" + image_ + "' 2>/dev/null", &rc);
        if (rc != 0) device_.clear();
    }
    ~LoopExt4Volume() {
        if (device_.empty()) return;
        // Mount points of this device, from the kernel's table.
        for (int i = 0; i < 4; ++i) {
            const std::string target =
                run("findmnt -n -o TARGET --source '" + device_ + "' 2>/dev/null | head -1");
            if (target.empty()) break;
            ::umount2(target.c_str(), MNT_DETACH);
        }
        run("losetup -d '" + device_ + "' 2>/dev/null");
    }
    LoopExt4Volume(const LoopExt4Volume&) = delete;
    LoopExt4Volume& operator=(const LoopExt4Volume&) = delete;
    bool ok() const { return !device_.empty(); }
    // "loop7": the device's name under /dev.
    std::string bsdName() const { return device_.substr(device_.rfind('/') + 1); }

  private:
    std::string image_;
    std::string device_;
};

// A volume record as the host describes a disk's volume.
inline Record volumeRecord(const std::string& name, const std::string& path,
                           const std::string& bsdName, bool mounted) {
    return Record{{"volumeName", name},
                  {"volumePath", path},
                  {"bsdName", bsdName},
                  {"mounted", mounted},
                  {"uuid", ""}};
}

inline Record dasDeviceWith(const List& volumes) {
    Record device = test::dasDevice();
    Record info = *device.record("deviceInfo");
    info.set("volumeArray", volumes);
    device.set("deviceInfo", info);
    return device;
}

inline std::shared_ptr<QVTransferPrivate> makeController(test::Harness& h, const Record& device) {
    auto c = QVTransferPrivate::initWithDevice(device, h.services);
    EXPECT_TRUE(c);
    return c;
}

// Waits until every background task of the harness has ended and the main thread has run
// what they posted (work posted to the main thread runs in order, so once a marker posted now
// has run, everything posted before it has too).
inline bool settle(test::Harness& h, double seconds = 20) {
    const bool idle = h.services.dispatch->waitIdle(seconds);
    auto marker = std::make_shared<std::atomic<bool>>(false);
    h.services.dispatch->mainAsync([marker] { *marker = true; });
    return test::waitFor([&] { return marker->load(); }, seconds) && idle;
}

inline List roots(QVTransferPrivate& c) {
    return c.destinationFoldersList.get();
}

inline Record nodeAt(QVTransferPrivate& c, const std::vector<std::size_t>& indexPath) {
    const List tree = roots(c);
    const Record* node = destination::nodeAt(tree, indexPath);
    return node ? *node : Record{};
}

inline List childrenOf(const Record& node) {
    const List* children = node.list(destination::kUploadFoldersArray);
    return children ? *children : List{};
}

// The folder names of a list of nodes, in order ("<placeholder>" for an empty record).
inline std::vector<std::string> names(const List& nodes) {
    std::vector<std::string> out;
    for (const Value& v : nodes) {
        const Record* r = v.asRecord();
        if (!r) {
            out.push_back("<not a record>");
        } else if (r->empty()) {
            out.push_back("<placeholder>");
        } else {
            out.push_back(r->string(destination::kFolderName));
        }
    }
    return out;
}

inline bool hasOnlyPlaceholder(const Record& node) {
    const List children = childrenOf(node);
    return children.size() == 1 && destination::isPlaceholder(children.front());
}

// Expands the node at `indexPath` as the outline view does and waits for its level.
inline void expand(test::Harness& h, QVTransferPrivate& c,
                   const std::vector<std::size_t>& indexPath) {
    List path;
    for (std::size_t i : indexPath) path.emplace_back(static_cast<long long>(i));
    c.outlineViewItemDidExpand(Record{{"NSObject", Value(path)}});
    ASSERT_TRUE(settle(h));
}

}  // namespace qvt::desttest
