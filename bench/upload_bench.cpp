// Whole uploads through the controller, headless, against the usual tools, in one run.
//
//   upload_bench local-big    1 GiB in 8 files to a local folder, against `cp -r`
//   upload_bench local-small  20,000 files of 4 KiB in 200 folders, against `cp -r`
//   upload_bench smb-big      1 GiB in 8 files to a share of a private smbd, against
//                             `smbclient put` of each file
//   upload_bench smb-small    5,000 files of 4 KiB in 50 folders to the share, against
//                             `smbclient mput` (recursive)
//   upload_bench memory N     N files of 4 KiB in folders of 100, uploaded once to a local
//                             folder; prints the process's peak resident size
//
// The upload is the wizard's own: sources added as the file chooser adds them and counted, the
// destination step, the Upload button, then the wait until the upload has completed. Only the
// upload is timed (from the Upload button to completion), not the count before it. Each side
// runs QVT_BENCH_ROUNDS times (default 3), taking turns to go first, after one untimed round of
// each; each copy is removed (and the page cache's dirty data written out) before the next
// round. The medians are compared. The local cases write to a loop-mounted ext4 volume of their
// own, as to an attached disk, while the sources and the state file stay where they were.
// The upload reports completion and then flushes the destination volume once, untimed like the
// page cache's write-back after the tool; for the local cases the tool's time followed by
// `sync -f` of its copy is shown as well.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "device/mount_destination.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/log.h"
#include "samba_server.h"
#include "session/services.h"
#include "session/view.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kUser = "qvtbench";
constexpr const char* kPassword = "bench pw";

// ---- A headless front end ----

class NullLog : public qvt::platform::Log {
  protected:
    void writeLine(const std::string&) override {}
};

class BenchView : public qvt::QVTransferView {
  public:
    explicit BenchView(std::shared_ptr<std::string> folder) : folder_(std::move(folder)) {}
    void bringToFront() override {}
    void closeWindow() override {}
    void showScreen(const qvt::Screen*) override {}
    int runModal(qvt::Dialog) override { return 0; }
    void endModal(qvt::Dialog, int) override {}
    void stopModal() override {}
    void setText(const std::string&, const std::string&) override {}
    void setEnabled(const std::string&, bool) override {}
    void setHidden(const std::string&, bool) override {}
    void setTag(const std::string&, int) override {}
    void setValue(const std::string&, double) override {}
    void moveControl(const std::string&, double, double) override {}
    void reload(const std::string&) override {}
    std::string selectedDestinationFolder() const override { return *folder_; }

  private:
    std::shared_ptr<std::string> folder_;
};

// ---- Measuring ----

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool shell(const std::string& command) {
    const int rc = std::system(command.c_str());
    return rc != -1 && WIFEXITED(rc) && WEXITSTATUS(rc) == 0;
}

std::string shellQuoted(const std::string& s) {
    std::string out = "'";
    for (char ch : s) out += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return out + "'";
}

// Peak resident set size of this process, in KiB (VmHWM).
long peakRssKiB() {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    return -1;
}

// A fresh ext4 file system of `megabytes` in an image file, loop-mounted at `at`.
bool mountScratchVolume(const std::string& image, const std::string& at, int megabytes) {
    return shell("truncate -s " + std::to_string(megabytes) + "M " + shellQuoted(image)) &&
           shell("mkfs.ext4 -q -F " + shellQuoted(image)) &&
           shell("mount -o loop " + shellQuoted(image) + " " + shellQuoted(at));
}

// ---- Trees ----

void writeFile(const std::string& path, std::size_t bytes, std::uint64_t seed) {
    std::vector<char> buffer(std::min<std::size_t>(bytes, 8u << 20));
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::uint64_t x = 0x9E3779B97F4A7C15ull ^ seed;
    for (std::size_t done = 0; done < bytes;) {
        const std::size_t n = std::min(buffer.size(), bytes - done);
        for (std::size_t i = 0; i < n; i += 8) {
            x ^= x >> 12;
            x ^= x << 25;
            x ^= x >> 27;
            const std::uint64_t v = x * 0x2545F4914F6CDD1Dull;
            std::memcpy(buffer.data() + i, &v, std::min<std::size_t>(8, n - i));
        }
        out.write(buffer.data(), static_cast<std::streamsize>(n));
        done += n;
    }
}

// `files` files of `bytes` each, spread over `folders` folders under root.
void makeTree(const std::string& root, int files, int folders, std::size_t bytes) {
    for (int d = 0; d < folders; ++d) fs::create_directories(root + "/folder " + std::to_string(d));
    for (int f = 0; f < files; ++f)
        writeFile(
            root + "/folder " + std::to_string(f % folders) + "/file " + std::to_string(f) + ".bin",
            bytes, static_cast<std::uint64_t>(f));
}

// ---- One upload through the controller ----

struct Upload {
    double seconds = 0;
    bool ok = false;
    long peakKiB = 0;
};

// Runs the wizard once: `sources` to `destination` (a folder under a mounted share when
// `share` is set; the share is mounted through the controller's mount helper first).
Upload uploadOnce(const std::string& work, const std::vector<std::string>& sources,
                  const std::string& destination, const std::string& share) {
    Upload result;
    auto selected = std::make_shared<std::string>();
    qvt::Services services = qvt::Services::defaults();
    services.log = std::make_shared<NullLog>();
    services.folders.home = work + "/home";
    services.folders.applicationSupport = work + "/home/.local/share";
    fs::create_directories(services.folders.home);
    services.viewFactory = [selected](QVTransferPrivate&, const std::string&) {
        return std::make_unique<BenchView>(selected);
    };
    auto* main = dynamic_cast<qvt::platform::QueueMainThread*>(&services.dispatch->main());
    if (!main) {
        std::fprintf(stderr, "expected the headless main thread\n");
        return result;
    }

    qvt::Record device;
    if (share.empty()) {
        qvt::Record info{{"productName", "Bench Drive"},
                         {"serialNumber", "BENCH-DAS"},
                         {"volumeArray", qvt::List{}}};
        device = qvt::Record{{"deviceType", "DAS"}, {"isZeroState", false}, {"deviceInfo", info}};
    } else {
        qvt::Record info{{"productName", "Bench Cloud"},
                         {"ipAddress", "127.0.0.1"},
                         {"hostName", "bench"},
                         {"serialNumber", "BENCH-NAS"},
                         {"volumeArray", qvt::List{}}};
        device = qvt::Record{{"deviceType", "NAS"}, {"isZeroState", false}, {"deviceInfo", info}};
    }
    auto c = QVTransferPrivate::initWithDevice(device, services);
    if (!c) return result;
    c->processOpenPanelSelectedSourceFiles(sources);
    const bool counted = main->waitUntil(
        [&] {
            const qvt::List rows = c->sourceFilesArray.get();
            if (rows.size() < sources.size()) return false;
            for (const qvt::Value& v : rows)
                if (const qvt::Record* r = v.asRecord();
                    !r || r->string("numberOfFiles") == "     ")
                    return false;
            return services.dispatch->running() == 0;
        },
        3600);
    if (!counted) return result;
    c->showDestinaionSharesToTransfer();

    std::string folder = destination;
    if (!share.empty()) {
        c->userName.set(kUser);
        c->userPassword.set(kPassword);
        c->mountDir = services.folders.mountFolder();
        fs::create_directories(c->mountDir);
        const std::string mounted =
            c->mountObject->mountNASShare(share, "false", "127.0.0.1", "Bench Cloud", "bench",
                                          c->mountDir, kUser, kPassword, "true");
        if (mounted.empty()) {
            std::fprintf(stderr, "the share did not mount\n");
            return result;
        }
        folder = mounted + "/" + destination;
        qvt::platform::files().createFolder(folder, true);
    }
    *selected = folder;

    const double start = now();
    c->uploadFiles();
    const bool done = main->waitUntil([&] { return c->isFileTransferCompleted(); }, 3600);
    result.seconds = now() - start;
    result.ok = done && c->failedTransferArray.get().empty();
    result.peakKiB = peakRssKiB();
    // The estimator and the state writer notice the end at their next 3-second turn.
    main->waitUntil([&] { return services.dispatch->running() == 0; }, 60);
    if (!share.empty()) c->unmountSharesVolumes(c->mountObject->mountedPathsArray.get());
    return result;
}

// ---- The comparisons ----

struct Rounds {
    std::vector<double> upload, tool;
    // The tool followed by a flush of the destination's file system, for comparison with the
    // upload's own flush, which follows its completion.
    std::vector<double> toolFlushed;
    bool ok = true;
};

void report(const char* what, const Rounds& r, double target) {
    const double ratio = median(r.upload) / median(r.tool);
    std::printf("%s\n", what);
    std::printf("  upload through the controller: median %.3f s (best %.3f s)\n", median(r.upload),
                *std::min_element(r.upload.begin(), r.upload.end()));
    std::printf("  the tool:                       median %.3f s (best %.3f s)\n", median(r.tool),
                *std::min_element(r.tool.begin(), r.tool.end()));
    std::printf("  ratio upload/tool: %.2f (target at most %.2f)%s\n", ratio, target,
                r.ok ? "" : "  [a run FAILED]");
    std::printf("  rounds (upload | tool):");
    for (double t : r.upload) std::printf(" %.2f", t);
    std::printf(" |");
    for (double t : r.tool) std::printf(" %.2f", t);
    std::printf("\n");
    if (!r.toolFlushed.empty()) {
        std::printf("  the tool, then sync -f:          median %.3f s (best %.3f s)\n",
                    median(r.toolFlushed),
                    *std::min_element(r.toolFlushed.begin(), r.toolFlushed.end()));
        std::printf("  ratio upload/(tool + sync -f): %.2f\n",
                    median(r.upload) / median(r.toolFlushed));
    }
}

// Alternates the two sides for `rounds` rounds; `clean` runs after each copy, untimed.
Rounds compare(int rounds, const std::function<Upload()>& upload, const std::function<bool()>& tool,
               const std::function<void()>& clean, const std::function<bool()>& flush = {}) {
    Rounds r;
    // One untimed round of each side first: the first copy after the sources were written
    // runs at the disk's pace for either side, and would otherwise always fall on the upload.
    shell("sync");
    r.ok = upload().ok;
    clean();
    shell("sync");
    r.ok = tool() && r.ok;
    clean();
    for (int n = 0; n < rounds; ++n) {
        for (int side = 0; side < 2; ++side) {
            shell("sync");
            if ((side == 0) == (n % 2 == 0)) {
                const Upload u = upload();
                r.ok = r.ok && u.ok;
                r.upload.push_back(u.seconds);
            } else {
                const double start = now();
                r.ok = tool() && r.ok;
                r.tool.push_back(now() - start);
                if (flush) {
                    r.ok = flush() && r.ok;
                    r.toolFlushed.push_back(now() - start);
                }
            }
            clean();
        }
    }
    return r;
}

int rounds() {
    const char* text = std::getenv("QVT_BENCH_ROUNDS");
    return std::max(1, text ? std::atoi(text) : 3);
}

int runLocal(const std::string& work, bool big) {
    const std::string tree = work + (big ? "/Big Tree" : "/Small Tree");
    if (big)
        makeTree(tree, 8, 1, 128u << 20);
    else
        makeTree(tree, 20000, 200, 4096);
    // The destination is a volume of its own, as an attached disk is: the sources and the
    // state file stay on the system's disk, and each side writes to the same fresh ext4 volume.
    // Both copies go into the same folder, so the file system places their files alike.
    const std::string volume = work + "/volume";
    fs::create_directories(volume);
    const bool mounted = mountScratchVolume(work + "/volume.img", volume, big ? 3072 : 1024);
    if (!mounted)
        std::printf(
            "(no ext4 volume could be mounted: the destination is a folder on the "
            "sources' file system)\n");
    const std::string dest = volume + "/dest";
    fs::create_directories(dest);
    const Rounds r = compare(
        rounds(), [&] { return uploadOnce(work, {tree}, dest, ""); },
        [&] {
            return shell("cp -r " + shellQuoted(tree) + " " + shellQuoted(dest + "/tool copy"));
        },
        [&] {
            fs::remove_all(dest + "/" + fs::path(tree).filename().string());
            fs::remove_all(dest + "/tool copy");
        },
        [&] { return shell("sync -f " + shellQuoted(dest + "/tool copy")); });
    report(big ? "local volume, 1 GiB in 8 files (against cp -r)"
               : "local volume, 20,000 files of 4 KiB in 200 folders (against cp -r)",
           r, big ? 1.10 : 1.5);
    if (mounted) shell("umount " + shellQuoted(volume));
    return r.ok ? 0 : 1;
}

int runShare(const std::string& work, bool big) {
    qvt::devicesim::SambaConfig config;
    config.shares = {{"Bench", work + "/share", 0, false, {kUser}}};
    config.users = {{kUser, kPassword, {}}};
    fs::create_directories(work + "/share");
    qvt::devicesim::SambaServer server(config);
    std::string error;
    if (!server.start(&error)) {
        std::fprintf(stderr, "smbd: %s\n", error.c_str());
        return 1;
    }
    setenv("QVTRANSFER_SMB_PORT", std::to_string(server.port()).c_str(), 1);
    // smbclient reads the credentials from a file, so the password is on no command line.
    const std::string auth = work + "/auth";
    {
        std::ofstream a(auth);
        a << "username = " << kUser << "\npassword = " << kPassword << "\n";
    }
    fs::permissions(auth, fs::perms::owner_read | fs::perms::owner_write);
    const std::string client = "smbclient //127.0.0.1/Bench -p " + std::to_string(server.port()) +
                               " -A " + shellQuoted(auth) + " > /dev/null 2>&1 -c ";

    const std::string name = big ? "Big Tree" : "Small Tree";
    const std::string tree = work + "/" + name;
    std::string toolCommands;
    if (big) {
        makeTree(tree, 8, 1, 128u << 20);
        toolCommands = "mkdir tool; mkdir \"tool/folder 0\"; lcd \"" + tree + "/folder 0\"";
        for (int f = 0; f < 8; ++f)
            toolCommands += "; put \"file " + std::to_string(f) + ".bin\" \"tool/folder 0/file " +
                            std::to_string(f) + ".bin\"";
    } else {
        makeTree(tree, 5000, 50, 4096);
        toolCommands = "mkdir tool; cd tool; lcd \"" + work +
                       "\"; prompt OFF; recurse ON; mput \"" + name + "\"";
    }
    const Rounds r = compare(
        rounds(), [&] { return uploadOnce(work, {tree}, "upload", "Bench"); },
        [&] { return shell(client + shellQuoted(toolCommands)); },
        [&] {
            fs::remove_all(work + "/share/upload");
            fs::remove_all(work + "/share/tool");
        });
    // The tool's copy must be complete for its time to count.
    report(big ? "share of the simulator's smbd, 1 GiB in 8 files (against smbclient put)"
               : "share of the simulator's smbd, 5,000 files of 4 KiB (against smbclient mput)",
           r, big ? 1.10 : 1.3);
    server.stop();
    return r.ok ? 0 : 1;
}

int runMemory(const std::string& work, int files) {
    const std::string tree = work + "/Many Files";
    makeTree(tree, files, std::max(1, files / 100), 4096);
    const long before = peakRssKiB();
    const std::string dest = work + "/dest";
    fs::create_directories(dest);
    const Upload u = uploadOnce(work, {tree}, dest, "");
    std::printf(
        "memory: %d files of 4 KiB: upload %.2f s, peak RSS %.1f MB (%.1f MB before the "
        "upload)%s\n",
        files, u.seconds, static_cast<double>(u.peakKiB) / 1024.0,
        static_cast<double>(before) / 1024.0, u.ok ? "" : "  [FAILED]");
    return u.ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    char tmpl[] = "/tmp/qvt-upload-bench-XXXXXX";
    if (!mkdtemp(tmpl)) return 1;
    const std::string work = tmpl;
    int rc = 2;
    if (mode == "local-big" || mode == "local-small")
        rc = runLocal(work, mode == "local-big");
    else if (mode == "smb-big" || mode == "smb-small")
        rc = runShare(work, mode == "smb-big");
    else if (mode == "memory" && argc > 2)
        rc = runMemory(work, std::atoi(argv[2]));
    else
        std::fprintf(stderr, "usage: %s local-big|local-small|smb-big|smb-small|memory N\n",
                     argv[0]);
    std::error_code ec;
    fs::remove_all(work, ec);
    return rc;
}
