// Whole uploads through the controller against real destinations: a loop-mounted ext4 volume
// of a directly attached disk and a share of the simulator's Samba server. The helpers build
// the source trees, take digests of whole trees, drive the wizard from the source list to the
// end of the upload and read the state file.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../mount/mount_test_support.h"
#include "platform/files.h"
#include "support/support.h"

namespace qvt::uploadtest {

namespace fs = std::filesystem;

// ---- Trees ----

// One item of a tree as the upload must reproduce it: a folder, or a file with its size and
// SHA-256 (a symbolic link is taken as what it points to, which is what copying it gives).
struct Item {
    bool folder = false;
    std::uint64_t size = 0;
    std::string digest;
    bool operator==(const Item&) const = default;
};
// Relative path -> item, for everything below a root (the root itself left out).
using Snapshot = std::map<std::string, Item>;

// Every item below `root`. With `followLinks` a link counts as its target (a source as the upload
// must deliver it); without, a link is reported under `links` and left out (a destination,
// which must hold no links at all).
Snapshot snapshot(const std::string& root, bool followLinks,
                  std::vector<std::string>* links = nullptr);
std::string sha256Of(const std::string& path);
// A readable list of the differences between two snapshots ("" when equal).
std::string difference(const Snapshot& expected, const Snapshot& actual);

// Bytes that do not repeat within a file (so a block written to the wrong place shows).
std::string patternBytes(std::size_t n, std::uint32_t seed);
void writeBytes(const std::string& path, std::size_t n, std::uint32_t seed);

// Names that stress the copy: blanks, accents and other scripts, and names of exactly 255
// bytes (the longest a Linux file name may be), one of them in three-byte characters.
std::string longAsciiName();      // 251 letters + ".txt"
std::string longMultibyteName();  // 84 three-byte characters + ".md"
const std::string& accentedName();

// The mixed tree: a folder "Mixed Tree" with nested folders, blanks, non-ASCII and 255-byte
// names, hidden files and a hidden folder, empty folders, zero-byte files and a symbolic link
// to a file of the tree; with `bigBytes` > 0 also "big/huge.bin" of that size. Returns the
// folder's path.
std::string makeMixedTree(const std::string& parent, std::size_t bigBytes);

// Makes sure `name` is not the last entry the file layer lists in `folder` (the copy walks a
// folder in listing order): adds small files "after N.txt" until something follows it.
void ensureSomethingListedAfter(const std::string& folder, const std::string& name);

// ---- A file layer with a hold ----

// The real file layer, except that the copy of one chosen file stops after its bytes are all
// at the destination and before it returns, until the test releases it; and any path holding a
// chosen fragment fails to copy with a chosen errno.
class HoldingFiles : public platform::FileLayer {
  public:
    int copyItem(const std::string& from, const std::string& to) override;
    int moveItem(const std::string& from, const std::string& to) override;

    // The copy whose source ends with `suffix` is held.
    void holdCopyOf(const std::string& suffix);
    // Waits (real seconds) until the held copy has written everything and is waiting.
    bool waitHeld(double seconds);
    void release();
    bool released() const;
    // Waits (real seconds) until no copy is held any more.
    bool waitFreed(double seconds);

    void failCopiesOf(const std::string& fragment, int error);

  private:
    int held(const std::string& from, const std::function<int()>& work);

    mutable std::mutex mutex_;
    std::condition_variable cv_;
    std::string holdSuffix_;
    bool holding_ = false;
    bool released_ = false;
    std::string failFragment_;
    int failError_ = 0;
};

// Installs a layer for the life of the object.
class FilesOverride {
  public:
    explicit FilesOverride(platform::FileLayer* layer) { platform::setFilesForTesting(layer); }
    ~FilesOverride() { platform::setFilesForTesting(nullptr); }
    FilesOverride(const FilesOverride&) = delete;
    FilesOverride& operator=(const FilesOverride&) = delete;
};

// Sets an environment variable for the life of the object.
class EnvironmentOverride {
  public:
    EnvironmentOverride(const char* name, const std::string& value) : name_(name) {
        const char* old = std::getenv(name);
        had_ = old != nullptr;
        if (had_) old_ = old;
        setenv(name, value.c_str(), 1);
    }
    ~EnvironmentOverride() {
        if (had_)
            setenv(name_, old_.c_str(), 1);
        else
            unsetenv(name_);
    }
    EnvironmentOverride(const EnvironmentOverride&) = delete;
    EnvironmentOverride& operator=(const EnvironmentOverride&) = delete;

  private:
    const char* name_;
    bool had_ = false;
    std::string old_;
};

// ---- Destinations ----

// A loop device over a fresh ext4 image, mounted (mount(2)) at `mountPoint` until the object
// goes. The volume of a directly attached disk in these tests.
class Ext4Volume {
  public:
    Ext4Volume(const std::string& workFolder, const std::string& mountPoint, int megabytes);
    ~Ext4Volume();
    Ext4Volume(const Ext4Volume&) = delete;
    Ext4Volume& operator=(const Ext4Volume&) = delete;
    bool ok() const { return mounted_; }
    const std::string& path() const { return mountPoint_; }
    std::string uuid() const { return loop_.uuid(); }
    std::string bsdName() const { return loop_.bsdName(); }

  private:
    mounttest::LoopVolume loop_;
    std::string mountPoint_;
    bool mounted_ = false;
};

// ---- The wizard ----

// A headless controller on a scaled clock with a recording delegate, driven through the
// wizard's own operations: sources from the file chooser, the destination screen, the Upload
// button.
class UploadSession {
  public:
    // Product seconds per real second: the 3-second rhythms of the estimator and the state
    // writer run every 150 ms.
    static constexpr double kTimeScale = 20;

    explicit UploadSession(const Record& device);
    ~UploadSession();
    UploadSession(const UploadSession&) = delete;
    UploadSession& operator=(const UploadSession&) = delete;

    QVTransferPrivate& c() { return *controller_; }
    std::shared_ptr<QVTransferPrivate> controllerPtr() { return controller_; }
    test::Harness& harness() { return h_; }
    const std::string& home() const { return home_; }
    test::RecordingFullDelegate& delegate() { return *delegate_; }

    // Adds the paths as the file chooser does and waits until every row is counted.
    bool addSources(const std::vector<std::string>& paths);
    // The source screen's Next: with the move option the protected-files dialog is answered
    // with "continue". Waits until the destination screen shows.
    bool toDestination(bool moveFiles);
    // Mounts a share of the test Samba server through the controller's mount helper, as the
    // share list does; the share's local path ("" on failure).
    std::string mountShare(const std::string& share,
                           const std::string& password = mounttest::kPassword);
    // Selects `folder` in the destination outline and presses Upload.
    void upload(const std::string& folder);
    // Waits for the end of the upload and for every background task to finish.
    bool waitCompleted(double seconds = 120);
    // Waits until no background task runs and the main thread has run what they posted.
    bool settle(double seconds = 60);

    std::vector<std::string> logLines() const { return h_.log->lines(); }
    bool logged(const std::string& fragment) const { return h_.log->contains(fragment); }
    // The captured log, one line each, for failure messages.
    std::string logText() const;
    std::vector<Record> failures();
    // The state file's root record (nothing when missing or unreadable).
    std::optional<Record> stateFile();

  private:
    test::Harness h_;
    std::string home_;
    std::shared_ptr<QVTransferPrivate> controller_;
    std::shared_ptr<test::RecordingFullDelegate> delegate_;
};

// A device record of a directly attached disk with one mounted volume.
Record dasDeviceFor(const Ext4Volume& volume);

// The files (not folders) of a snapshot.
std::set<std::string> filesOf(const Snapshot& s);

// Whether `inProcess` is the hidden copy a file is written to, in the folder of `finalPath`,
// before it gets that name.
bool isPartialCopyOf(const std::string& inProcess, const std::string& finalPath);
// The entries directly in a folder (names), from the kernel's view of it.
std::set<std::string> namesIn(const std::string& folder);

// Tests that upload to the "Private" share of the test Samba server: its backing folder starts
// empty for every test, and the mounts a test made are let go after it.
class PrivateShareTest : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        for (const auto& e : fs::directory_iterator(backing())) fs::remove_all(e.path());
    }
    void TearDown() override { box.releaseMounts(); }

    static std::string backing() {
        return mounttest::SambaEnvironment::server()->sharePath("Private");
    }

    mounttest::MountSandbox box;
};

}  // namespace qvt::uploadtest
