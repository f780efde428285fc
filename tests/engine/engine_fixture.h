// Shared pieces of the upload engine tests: a headless controller with fixed wordings, source
// and destination folders on local disk, a file layer that injects faults, and a delegate that
// keeps every message.
#pragma once

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "engine/partial_copy.h"
#include "keeping_delegate.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "support.h"

namespace qvt::enginetest {

namespace fs = std::filesystem;

using test::KeepingDelegate;
using test::StatusMessage;

// The real file layer, with a test's hook in front of copy, move and folder creation: a hook
// that answers a value makes the operation fail with that errno (or succeed with 0) without
// doing it; nothing lets the real operation run. The destination volume can be made to look
// lost.
class FaultyFiles : public platform::FileLayer {
  public:
    using Hook = std::function<std::optional<int>(const std::string& operation,
                                                  const std::string& from, const std::string& to)>;

    void setHook(Hook hook) {
        std::lock_guard lock(mutex_);
        hook_ = std::move(hook);
    }
    std::atomic<bool> volumeLost{false};
    // The free space the destination's volume reports (below 0: what it really has).
    std::atomic<long long> availableBytes{-1};
    std::atomic<int> volumeQueries{0};
    // Paths that cannot be reached, with the errno their look-up answers (as a folder that
    // may not be searched does for what is in it, which root would reach all the same).
    void makeUnreachable(const std::string& path, int error) {
        std::lock_guard lock(mutex_);
        unreachable_[path] = error;
    }

    int lookUp(const std::string& path, bool* isFolder) override {
        {
            std::lock_guard lock(mutex_);
            const auto found = unreachable_.find(path);
            if (found != unreachable_.end()) {
                if (isFolder) *isFolder = false;
                return found->second;
            }
        }
        return FileLayer::lookUp(path, isFolder);
    }
    int copyItem(const std::string& from, const std::string& to) override {
        if (auto rc = call("copy", from, to)) return *rc;
        return FileLayer::copyItem(from, to);
    }
    int moveItem(const std::string& from, const std::string& to) override {
        if (auto rc = call("move", from, to)) return *rc;
        return FileLayer::moveItem(from, to);
    }
    // Renaming a source to its destination is how a move on one volume is done, so the hook
    // sees it as "move"; renaming a finished copy from its hidden name is "rename".
    int renameItem(const std::string& from, const std::string& to) override {
        const bool finishing = engine::isTemporaryName(std::filesystem::path(from).filename());
        if (auto rc = call(finishing ? "rename" : "move", from, to)) return *rc;
        return FileLayer::renameItem(from, to);
    }
    int createFolder(const std::string& path, bool withParents) override {
        if (auto rc = call("mkdir", path, path)) return *rc;
        return FileLayer::createFolder(path, withParents);
    }
    std::vector<std::string> listFolder(const std::string& path, int* error = nullptr) override {
        {
            std::lock_guard lock(mutex_);
            ++listings_[path];
        }
        if (auto rc = call("list", path, path)) {
            if (error) *error = *rc;
            return {};
        }
        return FileLayer::listFolder(path, error);
    }
    // How many times `path` was listed.
    int listings(const std::string& path) {
        std::lock_guard lock(mutex_);
        return listings_[path];
    }
    int flushItem(const std::string& path) override {
        if (auto rc = call("flushItem", path, path)) return *rc;
        return FileLayer::flushItem(path);
    }
    int flushVolume(const std::string& path) override {
        if (auto rc = call("flush", path, path)) return *rc;
        // A volume that is gone takes no flush.
        if (volumeLost) return EIO;
        return FileLayer::flushVolume(path);
    }
    platform::VolumeFacts volumeFacts(const std::string& path) override {
        volumeQueries++;
        platform::VolumeFacts facts = FileLayer::volumeFacts(path);
        if (volumeLost) facts.remountURL.clear();
        if (availableBytes >= 0)
            facts.availableCapacity = static_cast<std::uint64_t>(availableBytes.load());
        return facts;
    }

  private:
    std::optional<int> call(const std::string& op, const std::string& from, const std::string& to) {
        Hook hook;
        {
            std::lock_guard lock(mutex_);
            hook = hook_;
        }
        return hook ? hook(op, from, to) : std::nullopt;
    }
    std::mutex mutex_;
    Hook hook_;
    std::map<std::string, int> unreachable_;
    std::map<std::string, int> listings_;
};

// A source row as the source list keeps it.
inline Record sourceRow(const std::string& path) {
    return Record{{"filesSelectCheckbox", 1}, {"fileName", fs::path(path).filename().string()},
                  {"fullFilePath", path},     {"numberOfFiles", 1},
                  {"numberOfFolders", 0},     {"fileSize", 1}};
}

// A controller on the headless harness with fixed wordings, and two folders: `src` for the
// sources, `dst` the chosen destination.
struct Session {
    explicit Session(const Record& device = test::nasDevice(), double timeScale = 1000,
                     std::shared_ptr<platform::Clock> clock = nullptr,
                     const std::function<void(Services&)>& configure = nullptr)
        : h(timeScale) {
        if (clock) h.services.clock = std::move(clock);
        if (configure) configure(h.services);
        src = h.home.path() + "/src";
        dst = h.home.path() + "/dst";
        fs::create_directories(src);
        fs::create_directories(dst);
        c = QVTransferPrivate::initWithDevice(device, h.services);
        delegate = std::make_shared<KeepingDelegate>();
        if (!c) return;
        c->setDelegate(delegate);
        c->localeCOPY_txt = "copy";
        c->localeHIDE_btn = "Hide";
        c->localeCLOSE_btn = "Close";
        c->localeVIEW_NOW_btn = "View now";
        c->localeUPLOADING_MULTIPLE_FILES_txt = "Uploading file %@ of %@";
        c->localeUPLOAD_PAUSED_txt = "Upload paused";
        c->localeALL_FILES_SUCCESSFULLY_UPLOADED_txt = "All files uploaded";
        c->localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt = "%@ of %@ files uploaded";
        c->localeFILES_FAILED_TO_UPLOAD_txt = "%@ files failed to upload";
        c->localeUPLOAD_ERRORS_title = "%@ upload errors";
        c->localeDEVICE_DISCONNECT_txt = "%@ is not connected";
        c->localeDEVICE_DISCONNECT_MSG_txt = "Reconnect it";
        c->selectedDestinationShare.set(dst);
    }
    ~Session() {
        if (!c) return;
        // A watcher for a lost or full device looks until the upload ends: end it.
        if (c->reconnectingDevice() || c->deviceFull()) c->job().cancel();
        // Background saves, messages and estimators end before the folders go.
        settle();
    }

    // Waits until no background task runs and the main thread has served what they posted.
    bool settle(double seconds = 20) {
        const bool idle = h.services.dispatch->waitIdle(seconds);
        auto marker = std::make_shared<std::atomic<bool>>(false);
        h.services.dispatch->mainAsync([marker] { *marker = true; });
        return test::waitFor([&] { return marker->load(); }, seconds) && idle;
    }

    void setSources(const std::vector<std::string>& paths) {
        List rows;
        for (const auto& p : paths) rows.push_back(sourceRow(p));
        c->sourceFilesArray.set(rows);
    }

    // Runs the copy loop on a thread of its own, as the upload does; `finished` tells when it
    // has returned.
    void startCopyLoop() {
        auto self = c;
        auto done = finished;
        h.services.dispatch->detach([self, done] {
            self->copySourceFiles();
            *done = true;
        });
    }
    bool waitCopyLoop(double seconds = 20) {
        return test::waitFor([&] { return finished->load(); }, seconds);
    }

    std::string at(const std::string& relative) const { return dst + "/" + relative; }
    std::string from(const std::string& relative) const { return src + "/" + relative; }

    std::vector<std::string> transferredPaths() const {
        std::vector<std::string> out;
        for (const Value& v : c->transferredSourceFilesArray.get())
            out.push_back(v.asRecord() ? v.asRecord()->string("fullFilePath") : "?");
        return out;
    }

    test::Harness h;
    std::string src, dst;
    std::shared_ptr<QVTransferPrivate> c;
    std::shared_ptr<KeepingDelegate> delegate;
    std::shared_ptr<std::atomic<bool>> finished = std::make_shared<std::atomic<bool>>(false);
};

inline std::string run(const std::string& command, int* status = nullptr) {
    std::string out;
    FILE* p = ::popen(command.c_str(), "r");
    if (!p) return out;
    std::array<char, 4096> buf{};
    std::size_t n;
    while ((n = std::fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
    const int rc = ::pclose(p);
    if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

// A filesystem mounted on `folder` until the object goes: tmpfs (no UUID) or a loop-mounted
// ext4 image made with the UUID given.
class TestVolume {
  public:
    static std::unique_ptr<TestVolume> tmpfs(const std::string& folder) {
        auto v = std::unique_ptr<TestVolume>(new TestVolume(folder));
        v->mounted_ = ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=4m") == 0;
        return v;
    }
    static std::unique_ptr<TestVolume> ext4(const std::string& folder, const std::string& image,
                                            const std::string& uuid) {
        auto v = std::unique_ptr<TestVolume>(new TestVolume(folder));
        int rc = 0;
        run("truncate -s 8M '" + image + "' && mkfs.ext4 -q -F -U " + uuid + " '" + image +
                "' 2>&1",
            &rc);
        if (rc != 0) return v;
        v->device_ = run("losetup --find --show '" + image + "' 2>/dev/null", &rc);
        if (rc != 0 || v->device_.empty()) return v;
        v->mounted_ = ::mount(v->device_.c_str(), folder.c_str(), "ext4", 0, nullptr) == 0;
        return v;
    }
    ~TestVolume() {
        if (mounted_) ::umount2(folder_.c_str(), MNT_DETACH);
        if (!device_.empty()) run("losetup -d '" + device_ + "' 2>/dev/null");
    }
    bool ok() const { return mounted_; }

  private:
    explicit TestVolume(std::string folder) : folder_(std::move(folder)) {
        fs::create_directories(folder_);
    }
    std::string folder_;
    std::string device_;
    bool mounted_ = false;
};

// Installs a file layer for the lifetime of the object; the session's background work ends
// before the real layer is back.
class ScopedFiles {
  public:
    ScopedFiles(Session& s, platform::FileLayer* layer) : s_(s) {
        platform::setFilesForTesting(layer);
    }
    ~ScopedFiles() {
        s_.settle();
        platform::setFilesForTesting(nullptr);
    }
    ScopedFiles(const ScopedFiles&) = delete;
    ScopedFiles& operator=(const ScopedFiles&) = delete;

  private:
    Session& s_;
};

// Runs transferFile on a thread of its own (it blocks while the upload is paused).
class CopyThread {
  public:
    CopyThread(Session& s, const std::string& source, const std::string& destination)
        : done_(std::make_shared<std::atomic<bool>>(false)) {
        auto c = s.c;
        auto done = done_;
        const std::string dir = s.dst;
        s.h.services.dispatch->detach([c, done, source, destination, dir] {
            c->transferFile(source, destination, dir);
            *done = true;
        });
    }
    bool finished() const { return done_->load(); }
    bool waitFinished(double seconds = 20) {
        return test::waitFor([&] { return finished(); }, seconds);
    }

  private:
    std::shared_ptr<std::atomic<bool>> done_;
};

// What the recovery does once the device is back or has room: the device's pause ends, which
// releases the paused copy thread.
inline void playRecovery(QVTransferPrivate& c) {
    c.job().resume(engine::PauseReason::DeviceMissing);
    c.job().resume(engine::PauseReason::DeviceFull);
}

// Whether the session's log holds `line` exactly.
inline bool hasLine(const Session& s, const std::string& line) {
    for (const auto& l : s.h.log->lines())
        if (l == line) return true;
    return false;
}

// The names in a folder, sorted.
inline std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(folder, ec)) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace qvt::enginetest
