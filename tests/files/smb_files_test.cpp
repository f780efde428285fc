// The file layer on paths under an in-process share mount, against a real smbd.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <future>
#include <random>
#include <set>
#include <thread>

#include "../mount/mount_test_support.h"
#include "platform/files.h"
#include "platform/smb_client.h"
#include "platform/smb_url.h"
#include "support.h"

namespace qvt::mounttest {
namespace {

using platform::files;

static ::testing::Environment* const kSamba = sambaEnvironment();

class SmbFilesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        box.makeMountDir();
    }
    void TearDown() override { box.releaseMounts(); }

    // Mounts `share` at mountDir/share with the test account (or as guest).
    std::string mount(const std::string& share, bool guest = false) {
        platform::NetMountRequest r;
        r.url = "smb://127.0.0.1/" + platform::escapeUrlComponent(share);
        r.mountPath = box.mountDir();
        r.withCredentials = !guest;
        r.user = kUser;
        r.password = kPassword;
        const auto result = files().mountURLSync(r);
        EXPECT_EQ(result.status, 0) << share;
        return result.mountPoints.empty() ? "" : result.mountPoints.front();
    }
    std::string backing(const std::string& share) {
        return SambaEnvironment::server()->sharePath(share);
    }
    std::string local(const std::string& name) const { return box.root() + "/" + name; }

    MountSandbox box;
};

TEST_F(SmbFilesTest, ItemsOnAShare) {
    const std::string m = mount("Private");
    ASSERT_EQ(m, box.mountDir() + "/Private");
    EXPECT_TRUE(files().isFolder(m));
    EXPECT_FALSE(files().isAlias(m));

    ASSERT_EQ(files().createFolder(m + "/a/b c/d", true), 0);
    EXPECT_TRUE(std::filesystem::is_directory(backing("Private") + "/a/b c/d"));
    EXPECT_EQ(files().createFolder(m + "/a", false), EEXIST);
    EXPECT_EQ(files().createFolder(m + "/x/y", false), ENOENT);
    EXPECT_EQ(files().networkURLForPath(m + "/a/b c"), "smb://127.0.0.1/Private/a/b%20c");
    EXPECT_EQ(files().networkURLForPath(box.root()), "");
    // Nothing waits in memory for a share: its writes are done as each file closes.
    EXPECT_EQ(files().flushVolume(m + "/a"), 0);
    EXPECT_EQ(files().flushItem(m + "/a"), 0);

    writeAll(local("s.txt"), "small");
    ASSERT_EQ(files().copyItem(local("s.txt"), m + "/a/.hidden"), 0);
    ASSERT_EQ(files().copyItem(local("s.txt"), m + "/a/s.txt"), 0);
    auto names = files().listFolder(m + "/a");
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "b c", "s.txt"}));
    EXPECT_EQ(files().size(m + "/a/s.txt"), 5u);
    EXPECT_EQ(files().totalSize(m + "/a/s.txt"), 5u);
    // The size of the file this thread wrote last is told from what the copy knew, without
    // asking the server, until the thread sets out to write another file (a refused one too);
    // then the server answers.
    writeAll(backing("Private") + "/a/s.txt", "grown on the server");
    EXPECT_EQ(files().totalSize(m + "/a/s.txt"), 5u);
    EXPECT_EQ(files().totalSize(m + "/a/.hidden"), 5u);
    EXPECT_EQ(files().copyItem(local("s.txt"), m + "/a/s.txt"), EEXIST);
    EXPECT_EQ(files().totalSize(m + "/a/s.txt"), 19u);
    ASSERT_EQ(files().copyItem(local("s.txt"), m + "/a/.part"), 0);
    writeAll(backing("Private") + "/a/s.txt", "small");
    // The knowledge follows the file's rename and ends with its removal.
    writeAll(backing("Private") + "/a/.part", "grown on the server");
    ASSERT_EQ(files().renameItem(m + "/a/.part", m + "/a/r.txt"), 0);
    EXPECT_FALSE(files().totalSize(m + "/a/.part").has_value());
    EXPECT_EQ(files().totalSize(m + "/a/r.txt"), 5u);
    ASSERT_EQ(files().removeItem(m + "/a/r.txt"), 0);
    EXPECT_FALSE(files().totalSize(m + "/a/r.txt").has_value());
    EXPECT_FALSE(files().totalSize(m + "/a").has_value());
    bool folder = true;
    EXPECT_TRUE(files().exists(m + "/a/s.txt", &folder));
    EXPECT_FALSE(folder);
    EXPECT_FALSE(files().exists(m + "/a/none"));

    // Move inside the share, and back out to a local folder.
    ASSERT_EQ(files().moveItem(m + "/a/s.txt", m + "/a/b c/t.txt"), 0);
    EXPECT_EQ(readAll(backing("Private") + "/a/b c/t.txt"), "small");
    ASSERT_EQ(files().copyItem(m + "/a/b c/t.txt", local("back.txt")), 0);
    EXPECT_EQ(readAll(local("back.txt")), "small");
    writeAll(local("mv.txt"), "moved up");
    ASSERT_EQ(files().moveItem(local("mv.txt"), m + "/mv.txt"), 0);
    EXPECT_FALSE(files().exists(local("mv.txt")));
    EXPECT_EQ(readAll(backing("Private") + "/mv.txt"), "moved up");

    // Removal over SMB, folders with everything in them; the mount point itself is refused.
    ASSERT_EQ(files().removeItem(m + "/a"), 0);
    EXPECT_FALSE(std::filesystem::exists(backing("Private") + "/a"));
    EXPECT_EQ(files().removeItem(m), EBUSY);
    EXPECT_EQ(files().removeItem(m + "/mv.txt"), 0);
}

TEST_F(SmbFilesTest, RenameGivesANewNameButNeverReplacesOne) {
    const std::string m = mount("Private");
    ASSERT_EQ(files().copyItem(local("x"), m + "/none"), ENOENT);
    std::FILE* f = std::fopen(local("x").c_str(), "w");
    ASSERT_TRUE(f);
    std::fputs("new", f);
    std::fclose(f);
    ASSERT_EQ(files().copyItem(local("x"), m + "/.part"), 0);
    ASSERT_EQ(files().copyItem(local("x"), m + "/taken"), 0);
    std::FILE* old = std::fopen((backing("Private") + "/taken").c_str(), "w");
    std::fputs("old", old);
    std::fclose(old);

    EXPECT_EQ(files().renameItem(m + "/.part", m + "/taken"), EEXIST);
    EXPECT_EQ(test::readFile(backing("Private") + "/taken"), "old");
    EXPECT_EQ(files().renameItem(m + "/.part", m + "/free"), 0);
    EXPECT_EQ(test::readFile(backing("Private") + "/free"), "new");
    EXPECT_FALSE(std::filesystem::exists(backing("Private") + "/.part"));
    // Another volume is another matter.
    EXPECT_EQ(files().renameItem(m + "/free", local("back")), EXDEV);
}

TEST_F(SmbFilesTest, LargeFileArrivesIdenticalAndGrowsDuringTheCopy) {
    const std::string m = mount("Public", true);
    ASSERT_FALSE(m.empty());
    const std::size_t size = 64u << 20;
    std::string data(size, '\0');
    std::mt19937_64 rng(42);
    for (std::size_t i = 0; i + 8 <= size; i += 8) {
        const auto v = rng();
        std::memcpy(&data[i], &v, 8);
    }
    writeAll(local("big.bin"), data);

    const std::string dest = m + "/big.bin";
    std::atomic<bool> done{false};
    std::set<std::uint64_t> seen;
    std::thread reader([&] {
        while (!done) {
            if (auto s = files().size(dest)) seen.insert(*s);
        }
    });
    const int rc = files().copyItem(local("big.bin"), dest);
    done = true;
    reader.join();
    ASSERT_EQ(rc, 0);
    EXPECT_EQ(files().size(dest), size);
    const std::string arrived = readAll(backing("Public") + "/big.bin");
    EXPECT_TRUE(arrived == data) << "sizes " << arrived.size() << " vs " << size;
    std::size_t between = 0;
    for (auto s : seen)
        if (s > 0 && s < size) ++between;
    EXPECT_GE(between, 2u) << "the reader saw " << seen.size() << " sizes";
    std::filesystem::remove(backing("Public") + "/big.bin");
}

// Stops every process of the suite's smbd (SIGSTOP), or lets them go on (SIGCONT): a server
// that does not answer, as one whose network went away.
void signalServer(int signal) {
    const std::string config = SambaEnvironment::server()->configPath();
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string pid = entry.path().filename().string();
        if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
        std::string command = test::readFile((entry.path() / "cmdline").string());
        std::replace(command.begin(), command.end(), '\0', ' ');
        if (command.find("smbd") != std::string::npos && command.find(config) != std::string::npos)
            kill(std::stoi(pid), signal);
    }
}

// The size of a file in mid-copy (the estimate of the time left asks for it every few seconds)
// is what the copy has written, told without a request: one to a server that does not answer
// would wait for its time-out, and the copy behind it in turn.
TEST_F(SmbFilesTest, TheSizeOfAFileInMidCopyIsToldWithoutAskingTheServer) {
    const std::string m = mount("Public", true);
    ASSERT_FALSE(m.empty());
    writeAll(local("big.bin"), std::string(40u << 20, 'b'));
    const std::string part = m + "/.mid-copy.part";
    std::uint64_t written = 0;
    bool answered = false;
    std::optional<std::uint64_t> told;
    {
        const platform::CopyGate gate([&](std::uint64_t sofar) {
            written = sofar;
            signalServer(SIGSTOP);
            auto asked = std::async(std::launch::async, [&] { return files().totalSize(part); });
            answered = asked.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
            signalServer(SIGCONT);
            told = asked.get();
            return false;
        });
        EXPECT_EQ(files().copyItem(local("big.bin"), part), ECANCELED);
    }
    EXPECT_TRUE(answered) << "the size was asked of a server that did not answer";
    EXPECT_GT(written, 0u);
    EXPECT_EQ(told, written);
    // Once the file is closed, its size is the server's again.
    EXPECT_EQ(files().totalSize(part), written);
    std::filesystem::remove(backing("Public") + "/.mid-copy.part");
}

// A server that lets a request time out is taken as away at once by the questions after it:
// asked again, each would wait out its own time-out, then the check of the connection and its
// teardown, and the user would hear of the lost device only a minute or more later. Once it
// answers again, so does the share.
TEST_F(SmbFilesTest, AServerThatLetsARequestTimeOutIsAwayAtOnceUntilItAnswersAgain) {
    const std::string m = mount("Public", true);
    ASSERT_FALSE(m.empty());
    writeAll(local("small.txt"), "small");
    platform::smb::setTimeoutMs(3000);
    // Asked once with the short time-out, so the thread's connection is one made with it.
    ASSERT_FALSE(files().volumeFacts(m).remountURL.empty());
    signalServer(SIGSTOP);
    const int copied = files().copyItem(local("small.txt"), m + "/.silent.part");
    auto asked = std::async(std::launch::async, [&] { return files().volumeFacts(m); });
    const bool answered =
        asked.wait_for(std::chrono::milliseconds(1500)) == std::future_status::ready;
    signalServer(SIGCONT);
    const platform::VolumeFacts facts = asked.get();
    EXPECT_EQ(copied, ETIMEDOUT);
    EXPECT_TRUE(answered) << "the share was asked of a server that had just let a request time out";
    EXPECT_EQ(facts.remountURL, "");
    EXPECT_TRUE(test::waitFor([&] { return !files().volumeFacts(m).remountURL.empty(); }, 30));
    platform::smb::setTimeoutMs(20000);
    std::filesystem::remove(backing("Public") + "/.silent.part");
}

// A gate that says no ends a copy between two pieces, with ECANCELED and the file short; one
// that says yes, or none, lets it be copied whole.
TEST_F(SmbFilesTest, ACopyEndsBetweenTwoPiecesWhenItsGateSaysSo) {
    const std::string m = mount("Public", true);
    ASSERT_FALSE(m.empty());
    const std::size_t size = 40u << 20;
    writeAll(local("big.bin"), std::string(size, 'b'));
    int asked = 0;
    std::uint64_t told = 0;
    {
        const platform::CopyGate gate([&](std::uint64_t written) {
            EXPECT_GT(written, told) << "each piece adds to what is written";
            told = written;
            return ++asked < 2;
        });
        EXPECT_EQ(files().copyItem(local("big.bin"), m + "/stopped.bin"), ECANCELED);
    }
    EXPECT_EQ(asked, 2);
    const auto written = files().size(m + "/stopped.bin");
    ASSERT_TRUE(written);
    EXPECT_GT(*written, 0u);
    EXPECT_LT(*written, size);
    EXPECT_EQ(told, *written) << "the gate is told what the file holds";
    {
        const platform::CopyGate gate([](std::uint64_t) { return true; });
        EXPECT_EQ(files().copyItem(local("big.bin"), m + "/whole.bin"), 0);
    }
    EXPECT_EQ(files().size(m + "/whole.bin"), size);
    std::filesystem::remove(backing("Public") + "/stopped.bin");
    std::filesystem::remove(backing("Public") + "/whole.bin");
}

// The copy's buffer is sized to the file; every size around its limits arrives whole, both ways.
TEST_F(SmbFilesTest, FilesAroundTheBufferLimitsArriveWhole) {
    const std::string m = mount("Private");
    ASSERT_FALSE(m.empty());
    std::mt19937_64 rng(7);
    const std::size_t small = 64u << 10;
    const std::size_t large = 8u << 20;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, small - 1, small, small + 1,
                                   large - 1, large, large + 1, 2 * large + 5}) {
        std::string data(size, '\0');
        for (auto& c : data) c = static_cast<char>(rng());
        const std::string name = "edge-" + std::to_string(size) + ".bin";
        writeAll(local(name), data);
        ASSERT_EQ(files().copyItem(local(name), m + "/" + name), 0) << size;
        EXPECT_EQ(files().totalSize(m + "/" + name), size);
        EXPECT_TRUE(readAll(backing("Private") + "/" + name) == data) << size;
        ASSERT_EQ(files().copyItem(m + "/" + name, local("back-" + name)), 0) << size;
        EXPECT_TRUE(readAll(local("back-" + name)) == data) << size;
        ASSERT_EQ(files().removeItem(m + "/" + name), 0);
    }
}

// A file copied to a share keeps the time its source was last changed: a photo keeps its day,
// not the upload's.
TEST_F(SmbFilesTest, AFileCopiedToAShareKeepsItsSourcesModificationTime) {
    const std::string m = mount("Private");
    ASSERT_FALSE(m.empty());
    writeAll(local("dated.jpg"), "a photo of 2019");
    const timespec times[2] = {{1556712000, 0}, {1556712345, 0}};  // 1 May 2019
    ASSERT_EQ(utimensat(AT_FDCWD, local("dated.jpg").c_str(), times, 0), 0);
    ASSERT_EQ(files().copyItem(local("dated.jpg"), m + "/dated.jpg"), 0);
    struct stat arrived {};
    ASSERT_EQ(stat((backing("Private") + "/dated.jpg").c_str(), &arrived), 0);
    EXPECT_EQ(arrived.st_mtim.tv_sec, 1556712345);
    EXPECT_EQ(readAll(backing("Private") + "/dated.jpg"), "a photo of 2019");
    ASSERT_EQ(files().removeItem(m + "/dated.jpg"), 0);
}

TEST_F(SmbFilesTest, FullShareReportsOutOfSpace) {
    const std::string m = mount("Small");
    writeAll(local("big.bin"), std::string(3 << 20, 'z'));
    const int rc = files().copyItem(local("big.bin"), m + "/big.bin");
    EXPECT_EQ(platform::platformErrorCode(rc), platform::kOutOfSpaceWriteError) << rc;
    files().removeItem(m + "/big.bin");
}

TEST_F(SmbFilesTest, VolumeFactsFollowTheConnection) {
    const std::string m = mount("Private");
    ASSERT_EQ(files().createFolder(m + "/dest", false), 0);
    auto facts = files().volumeFacts(m + "/dest");
    EXPECT_EQ(facts.remountURL, "smb://127.0.0.1/Private");
    EXPECT_TRUE(facts.uuid.empty());
    ASSERT_TRUE(facts.availableCapacity.has_value());
    EXPECT_GT(*facts.availableCapacity, 0u);
    EXPECT_TRUE(files().volumeFacts(m + "/missing").remountURL.empty());

    const auto small = mount("Small");
    const auto smallFacts = files().volumeFacts(small);
    ASSERT_TRUE(smallFacts.availableCapacity.has_value());
    EXPECT_LE(*smallFacts.availableCapacity, 2u << 20);
    EXPECT_GT(*smallFacts.availableCapacity, 1u << 20);

    // The server goes away: the volume can no longer be remounted; it comes back: it can.
    auto* server = SambaEnvironment::server();
    server->stop();
    facts = files().volumeFacts(m + "/dest");
    EXPECT_TRUE(facts.remountURL.empty());
    EXPECT_FALSE(facts.availableCapacity.has_value());
    writeAll(local("w.txt"), "w");
    const int rc = files().copyItem(local("w.txt"), m + "/dest/w.txt");
    EXPECT_NE(rc, 0);
    std::string error;
    ASSERT_TRUE(server->start(&error)) << error;
    EXPECT_TRUE(waitUntil(
        [&] { return files().volumeFacts(m + "/dest").remountURL == "smb://127.0.0.1/Private"; },
        20.0));
    EXPECT_EQ(files().copyItem(local("w.txt"), m + "/dest/w2.txt"), 0);
    files().removeItem(m + "/dest");
}

// A thread keeps its connection to the server between requests. When the server restarts
// while nothing is asked, that connection is dead: the first request of each kind after the
// restart must still succeed, on a new connection.
TEST_F(SmbFilesTest, TheFirstRequestsAfterTheServerRestartedSucceed) {
    const std::string m = mount("Private");
    writeAll(local("w.txt"), "w");
    auto* server = SambaEnvironment::server();
    const auto restart = [&] {
        ASSERT_TRUE(files().isFolder(m));  // the connection is made and kept
        server->stop();
        std::string error;
        ASSERT_TRUE(server->start(&error)) << error;
    };
    restart();
    EXPECT_EQ(files().createFolder(m + "/after", false), 0);
    restart();
    EXPECT_TRUE(files().exists(m + "/after"));
    restart();
    int error = -1;
    EXPECT_TRUE(files().listFolder(m + "/after", &error).empty());
    EXPECT_EQ(error, 0);
    restart();
    EXPECT_EQ(files().copyItem(local("w.txt"), m + "/after/w.txt"), 0);
    restart();
    EXPECT_EQ(files().renameItem(m + "/after/w.txt", m + "/after/v.txt"), 0);
    restart();
    EXPECT_TRUE(files().volumeFacts(m + "/after").availableCapacity.has_value());
    restart();
    EXPECT_EQ(files().removeItem(m + "/after"), 0);
    EXPECT_FALSE(std::filesystem::exists(backing("Private") + "/after"));
}

TEST_F(SmbFilesTest, MountTableListsSharesAndRefusesDoubles) {
    const std::string m = mount("Backup");
    bool found = false;
    for (const auto& v : files().mountedVolumes()) {
        if (v.path != m) continue;
        found = true;
        EXPECT_TRUE(v.inProcess);
        EXPECT_EQ(v.remountURL, "smb://127.0.0.1/Backup");
        EXPECT_EQ(v.fsType, "smbfs");
    }
    EXPECT_TRUE(found);
    platform::NetMountRequest again;
    again.url = "afp://127.0.0.1/Backup";
    again.mountPath = box.root();
    EXPECT_EQ(files().mountURLSync(again).status, EEXIST);
    EXPECT_TRUE(files().isMountPoint(m));
    EXPECT_EQ(files().forceUnmount(m + "/inside/any"), 0);
    EXPECT_FALSE(files().isMountPoint(m));
    // After the unmount the path is an ordinary (empty) local folder again.
    EXPECT_TRUE(files().listFolder(m).empty());
}

}  // namespace
}  // namespace qvt::mounttest
