// Shared pieces of the console uploader's program tests: the program, a private home for each
// run, volumes on tmpfs, and byte-for-byte comparison of folder trees.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "engine/partial_copy.h"
#include "support/child_process.h"
#include "support/lease_hold.h"
#include "support/support.h"

namespace qvt::clitest {

namespace fs = std::filesystem;
using test::ChildProcess;

inline std::string cliProgram() {
    return QVT_CLI_PROGRAM;
}

// A folder with a tmpfs mounted on it: a local volume as the wizard sees one.
class TmpfsVolume {
  public:
    TmpfsVolume(const std::string& path, std::uint64_t bytes) : path_(path) {
        fs::create_directories(path_);
        const std::string options = "size=" + std::to_string(bytes);
        mounted_ = mount("tmpfs", path_.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~TmpfsVolume() {
        if (mounted_) umount2(path_.c_str(), MNT_DETACH);
    }
    TmpfsVolume(const TmpfsVolume&) = delete;
    TmpfsVolume& operator=(const TmpfsVolume&) = delete;
    bool ok() const { return mounted_; }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
    bool mounted_ = false;
};

// Every regular file below `root`, as paths relative to it.
inline std::vector<std::string> filesBelow(const std::string& root) {
    std::vector<std::string> out;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        // Read while an upload may still be writing here: an entry that goes meanwhile is
        // skipped, never an error.
        std::error_code gone;
        if (it->is_regular_file(gone)) out.push_back(it->path().lexically_relative(root).string());
    }
    std::sort(out.begin(), out.end());
    return out;
}

// Whether the two trees hold the same files with the same bytes; says what differs.
inline ::testing::AssertionResult sameTree(const std::string& expected, const std::string& actual) {
    const auto want = filesBelow(expected);
    const auto got = filesBelow(actual);
    if (want != got) {
        // Only the differences: a tree of thousands of files would bury them.
        std::vector<std::string> missing, extra;
        std::set_difference(want.begin(), want.end(), got.begin(), got.end(),
                            std::back_inserter(missing));
        std::set_difference(got.begin(), got.end(), want.begin(), want.end(),
                            std::back_inserter(extra));
        std::string text;
        for (const auto& f : missing) text += " missing: " + f + ";";
        for (const auto& f : extra) text += " extra: " + f + ";";
        return ::testing::AssertionFailure() << actual << ":" << text;
    }
    for (const auto& f : want)
        if (test::readFile(expected + "/" + f) != test::readFile(actual + "/" + f))
            return ::testing::AssertionFailure() << f << " differs";
    return ::testing::AssertionSuccess();
}

// A Unix socket file: it lists and counts like a file, but cannot be opened for reading, so
// its upload fails.
inline bool makeSocketFile(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) return false;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    std::copy(path.begin(), path.end(), address.sun_path);
    const bool ok = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return ok;
}

// Sources for an upload: a folder tree with a larger file, and a single file.
inline void makeSources(const std::string& folder) {
    test::writeFile(folder + "/Holiday/diary.txt", "A day at the sea\n");
    std::string bytes(3 << 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>((i * 131) ^ (i >> 9));
    test::writeFile(folder + "/Holiday/Pictures/sea.raw", bytes);
    test::writeFile(folder + "/Holiday/Pictures/empty.txt", "");
    test::writeFile(folder + "/notes.txt", "Meeting notes\n");
}

// Many small files: an upload long enough that keys given at its start land while it runs.
inline void makeManyFiles(const std::string& folder, int count) {
    for (int i = 0; i < count; ++i)
        test::writeFile(
            folder + "/part " + std::to_string(i / 500) + "/f" + std::to_string(i) + ".txt",
            "file " + std::to_string(i) + "\n");
}

// Polls `done` until it holds or `seconds` pass, without an event loop (for child programs).
inline bool pollUntil(const std::function<bool()>& done, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    while (std::chrono::steady_clock::now() < deadline) {
        if (done()) return true;
        usleep(10000);
    }
    return done();
}

class CliTest : public ::testing::Test {
  protected:
    // The environment of one run: a private home (mount folder and state file inside it), and
    // the texts in English (a locale without tables of its own) unless `locale` says otherwise.
    std::map<std::string, std::string> environment(const std::string& locale = "C.UTF-8") const {
        return {{"HOME", home.path()},
                {"XDG_DATA_HOME", home.path() + "/.local/share"},
                {"QT_QPA_PLATFORM", "offscreen"},
                {"LC_ALL", locale},
                {"LANGUAGE", ""}};
    }
    bool start(ChildProcess& child, const std::vector<std::string>& args,
               const std::string& locale = "C.UTF-8") {
        return child.start(cliProgram(), args, environment(locale));
    }

    // An Inbox folder on `volume`, and the sources with a link to nothing in Holiday: an upload
    // of Holiday to Drive/Inbox copies three files and ends with one failed item.
    void prepareHolidayWithBrokenLink(const TmpfsVolume& volume) {
        fs::create_directories(volume.path() + "/Inbox");
        makeSources(work / "src");
        fs::create_symlink(work / "nowhere.txt", work / "src/Holiday/broken.txt");
    }

    // Writes held.bin and later.txt into `work` and uploads both to the volume mounted at
    // `volume`; the copy waits inside held.bin, held by the lease given back, until the test
    // lets it go. Nothing when the upload did not start or never reached the file.
    std::unique_ptr<test::LeaseHold> startHeldUpload(ChildProcess& child, const std::string& volume,
                                                     const std::vector<std::string>& extra = {}) {
        test::writeFile(work / "held.bin", "the held file\n");
        test::writeFile(work / "later.txt", "after the held file\n");
        auto hold = std::make_unique<test::LeaseHold>(work / "held.bin");
        std::vector<std::string> arguments{"--das", volume, "--destination", "Drive"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        arguments.push_back(work / "held.bin");
        arguments.push_back(work / "later.txt");
        if (!hold->held() || !start(child, arguments)) return nullptr;
        if (!pollUntil([&] { return hold->opened(); }, 60)) return nullptr;
        return hold;
    }

    // Uploads held.bin and later.txt (written into `work`) with `arguments` before them, and
    // ends the desktop session while the copy is inside held.bin: the upload is recorded for a
    // later --resume, as a logout leaves it.
    ::testing::AssertionResult endSessionWhileHeld(std::vector<std::string> arguments) {
        test::writeFile(work / "held.bin", "the held file\n");
        test::writeFile(work / "later.txt", "after the held file\n");
        test::LeaseHold hold(work / "held.bin");
        if (!hold.held()) return ::testing::AssertionFailure() << "no lease on held.bin";
        arguments.push_back(work / "held.bin");
        arguments.push_back(work / "later.txt");
        ChildProcess child;
        if (!start(child, arguments)) return ::testing::AssertionFailure() << "did not start";
        if (!pollUntil([&] { return hold.opened(); }, 60))
            return ::testing::AssertionFailure() << "held.bin never opened: " << child.output();
        child.signal(SIGTERM);
        const bool told = child.waitForOutput("--resume", 60);
        hold.release();
        const int status = child.waitForExit(60);
        if (!told || status != 143)
            return ::testing::AssertionFailure()
                   << "exit status " << status << ": " << child.output() << child.errors();
        return ::testing::AssertionSuccess();
    }

    test::TempDir home;
    test::TempDir work;
};

// Regular files below `root` (or `root` itself), relative path -> bytes.
inline std::map<std::string, std::string> contentsOf(const std::string& root) {
    std::map<std::string, std::string> out;
    if (fs::is_regular_file(root)) {
        out[fs::path(root).filename().string()] = test::readFile(root);
        return out;
    }
    for (const auto& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file())
            out[fs::relative(e.path(), fs::path(root).parent_path()).string()] =
                test::readFile(e.path().string());
    return out;
}

// What is wrong at `destination` after an upload of `sources` that may have been interrupted and
// taken up again ("" when nothing): a source file without an identical copy under its own
// name, a file that is neither a source file nor a clash copy ("NAME copy", "NAME copy 2")
// identical to the file it repeats, a hidden copy left behind.
inline std::string destinationProblems(const std::vector<std::string>& sources,
                                       const std::string& destination) {
    static const std::regex clash(R"(^(.*) copy( [0-9]+)?$)");
    std::map<std::string, std::string> wanted;
    for (const std::string& s : sources) wanted.merge(contentsOf(s));
    std::string problems;
    std::map<std::string, std::string> arrived;
    for (const auto& e : fs::recursive_directory_iterator(destination)) {
        const std::string name = e.path().filename().string();
        if (engine::isTemporaryName(name)) problems += "hidden copy left: " + name + "\n";
        if (e.is_regular_file())
            arrived[fs::relative(e.path(), destination).string()] =
                test::readFile(e.path().string());
    }
    for (const auto& [path, bytes] : wanted) {
        const auto found = arrived.find(path);
        if (found == arrived.end())
            problems += "missing: " + path + "\n";
        else if (found->second != bytes)
            problems += "differs from its source: " + path + "\n";
    }
    for (const auto& [path, bytes] : arrived) {
        if (wanted.count(path)) continue;
        const fs::path p(path);
        std::smatch m;
        const std::string stem = p.stem().string();
        const auto original =
            std::regex_match(stem, m, clash)
                ? wanted.find((p.parent_path() / (m[1].str() + p.extension().string())).string())
                : wanted.end();
        if (original == wanted.end() || original->second != bytes)
            problems += "a file that is not a whole copy of a source: " + path + "\n";
    }
    return problems;
}

}  // namespace qvt::clitest
