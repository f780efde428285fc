// Killing the console uploader at random moments and taking the upload up with --resume, as a
// user whose computer crashed would: to a loop-mounted ext4 volume and to a share of the
// simulator's Samba server, with mixed trees of large and small files. After each trial every
// source file has an identical copy at the destination, nothing under a final name differs from
// its source, no hidden copy is left, and the state file parsed after every kill.
//
// QVT_KILL_TRIALS sets the number of trials (10 by default), QVT_KILL_SEED the seed of the first
// (otherwise one taken from the clock); the seed of a failing trial is printed with its failure.
#include <signal.h>

#include <cstdlib>
#include <random>
#include <thread>

#include "../../apps/devicesim/device_simulator.h"
#include "../../apps/devicesim/samba_server.h"
#include "../mount/mount_test_support.h"
#include "cli_fixture.h"
#include "nas_fixture.h"
#include "platform/plist_io.h"

using namespace qvt;
using namespace qvt::clitest;
namespace sim = qvt::devicesim;

namespace {

constexpr double kDeadline = 180;
constexpr const char* kUser = "qvtkill";
constexpr const char* kPassword = "kill pass 7";
// Resumes of one trial before it counts as never ending.
constexpr int kMostResumes = 8;

// Lets the child run for `seconds` before it is killed: the moment of the kill is what each
// trial varies, so this is a chosen delay, not a wait for something to happen.
void letRun(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

std::string patterned(std::size_t n, std::uint32_t seed) {
    std::string bytes(n, '\0');
    std::uint32_t x = seed * 2654435761u + 1;
    for (std::size_t i = 0; i < n; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        bytes[i] = static_cast<char>(x & 0xff);
    }
    return bytes;
}

// The sources: a folder of many small files and a few large ones in nested folders, a folder of
// large files, and a single file.
std::vector<std::string> makeCampaignSources(const std::string& root) {
    for (int i = 0; i < 600; ++i)
        test::writeFile(
            root + "/Album/day " + std::to_string(i % 3) + "/photo " + std::to_string(i) + ".jpg",
            patterned(static_cast<std::size_t>(500 + i * 37), static_cast<std::uint32_t>(i)));
    for (int i = 0; i < 2; ++i)
        test::writeFile(root + "/Album/raw/big " + std::to_string(i) + ".bin",
                        patterned(2u << 20, 1000u + static_cast<std::uint32_t>(i)));
    for (int i = 0; i < 2; ++i)
        test::writeFile(root + "/Videos/clip " + std::to_string(i) + ".mov",
                        patterned(5u << 20, 2000u + static_cast<std::uint32_t>(i)));
    test::writeFile(root + "/notes.txt", "the last item\n");
    return {root + "/Album", root + "/Videos", root + "/notes.txt"};
}

class KillCampaign : public CliTest {
  protected:
    static void SetUpTestSuite() {
        samba_ = startSuiteSamba(kUser, kPassword, false, {}, &startError_);
    }
    static void TearDownTestSuite() {
        delete samba_;
        samba_ = nullptr;
    }

    void SetUp() override {
        ASSERT_TRUE(samba_ && samba_->running()) << "smbd did not start: " << startError_;
        const sim::DeviceConfig config =
            deviceWithFamilyShare("SN-KILL", {{kUser, kPassword}}, false);
        ASSERT_GT(device_.start(config), 0);
    }
    void TearDown() override { device_.stop(); }

    struct Target {
        bool nas = false;
        std::vector<std::string> deviceArgs;
        std::string destinationFolder;  // where the files land, seen from the test
    };
    // How long a whole upload takes, and how long of that passes before its first item shows
    // at the destination (the start of the program, the login, the mount).
    struct Timing {
        double whole = 0;
        double startup = 0;
    };

    // One trial: an upload killed at a random moment (most often while it copies), then
    // --resume until it ends well, each resume killed with some chance (half of those inside
    // its settling wait).
    void trial(const Target& target, const std::vector<std::string>& sources, unsigned seed,
               const Timing& timing) {
        const double fullRun = timing.whole;
        SCOPED_TRACE("seed " + std::to_string(seed) + (target.nas ? " (share)" : " (volume)"));
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        test::TempDir trialHome;
        fs::remove_all(target.destinationFolder);
        fs::create_directories(target.destinationFolder);
        const std::map<std::string, std::string> env = {
            {"HOME", trialHome.path()},
            {"XDG_DATA_HOME", trialHome.path() + "/.local/share"},
            {"QT_QPA_PLATFORM", "offscreen"}};
        const std::string stateFile =
            trialHome.path() + "/.local/share/QVTransfer/qvtransfer.plist";
        const auto stateFileParses = [&] {
            return !fs::exists(stateFile) || platform::readPropertyList(stateFile).has_value();
        };

        std::vector<std::string> uploadArgs = target.deviceArgs;
        if (target.nas)
            for (const char* a : {"--user", kUser, "--password-stdin"}) uploadArgs.push_back(a);
        uploadArgs.push_back("--destination");
        uploadArgs.push_back(target.nas ? "Family/Trips" : "Drive/Trips");
        for (const auto& s : sources) uploadArgs.push_back(s);
        // Kills the upload `killAfter` seconds after its start, or after its copy started;
        // never when `killAfter` is negative.
        const auto runUpload = [&](double killAfter, bool afterCopyStarts) {
            ChildProcess child;
            EXPECT_TRUE(child.start(cliProgram(), uploadArgs, env));
            if (target.nas) child.write(std::string(kPassword) + "\n");
            child.closeInput();
            if (killAfter >= 0) {
                if (afterCopyStarts)
                    pollUntil([&] { return !fs::is_empty(target.destinationFolder); }, kDeadline);
                letRun(killAfter);
                child.signal(SIGKILL);
            }
            return child.waitForExit(kDeadline);
        };

        const bool whileCopying = unit(random) < 0.8;
        const double firstKill = whileCopying ? unit(random) * (timing.whole - timing.startup) * 1.1
                                              : unit(random) * timing.whole * 1.2;
        const int first = runUpload(firstKill, whileCopying);
        std::string story = "killed at " + std::to_string(firstKill) + " s" +
                            (whileCopying ? " into the copy" : "");
        ASSERT_TRUE(stateFileParses()) << story;
        if (first == 0) {
            std::printf("seed %u: ended before its kill\n", seed);
            std::fflush(stdout);
            return check(sources, target);
        }

        std::vector<std::string> resumeArgs = target.deviceArgs;
        resumeArgs.push_back("--resume");
        for (int attempt = 0;; ++attempt) {
            ASSERT_LT(attempt, kMostResumes) << "the upload never ended";
            ChildProcess child;
            ASSERT_TRUE(child.start(cliProgram(), resumeArgs, env));
            child.closeInput();
            // Some resumes are killed too: half of those inside the settling wait (3 s) before
            // the copy starts, the others while copying.
            int code = -1;
            if (attempt < kMostResumes - 2 && unit(random) < 0.4) {
                const double at =
                    unit(random) < 0.5 ? unit(random) * 3.0 : 3.0 + unit(random) * fullRun;
                letRun(at);
                child.signal(SIGKILL);
                code = child.waitForExit(kDeadline);
                ASSERT_TRUE(stateFileParses()) << story;
                // A resume that had ended by itself before its kill is taken as it ended.
                if (code == 128 + SIGKILL) {
                    story += ", resume killed at " + std::to_string(at) + " s";
                    continue;
                }
            } else {
                code = child.waitForExit(kDeadline);
            }
            story += ", resume ended with " + std::to_string(code);
            if (code == 0) break;
            // A kill before the upload was recorded leaves nothing to take up; nothing can have
            // been copied then, and the user starts the upload again.
            ASSERT_EQ(code, 1) << child.output() << child.errors();
            ASSERT_NE(child.errors().find("There is no interrupted upload"), std::string::npos)
                << child.errors();
            if (fs::is_empty(target.destinationFolder)) {
                story += ", uploaded again";
                ASSERT_EQ(runUpload(-1, false), 0);
                break;
            }
            // Or the upload had ended: it is all there.
            break;
        }
        std::printf("seed %u (%s): %s\n", seed, target.nas ? "share" : "volume", story.c_str());
        std::fflush(stdout);
        check(sources, target);
    }

    void check(const std::vector<std::string>& sources, const Target& target) {
        EXPECT_EQ(destinationProblems(sources, target.destinationFolder), "");
    }

    static inline sim::SambaServer* samba_ = nullptr;
    static inline std::string startError_;
    sim::DeviceSimulator device_;
};

int trialCount() {
    const char* text = std::getenv("QVT_KILL_TRIALS");
    const int n = text ? std::atoi(text) : 0;
    return n > 0 ? n : (test::kSanitizedBuild ? 6 : 10);
}

unsigned firstSeed() {
    if (const char* text = std::getenv("QVT_KILL_SEED"))
        return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    return static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count() %
                                 1000000007);
}

TEST_F(KillCampaign, EveryKilledUploadEndsWholeWithResume) {
    const auto sources = makeCampaignSources(work / "src");
    // A resume killed before it recorded its progress leaves what it copied, and the next one
    // copies it again beside it with "copy" names: the volume holds several such rounds of the
    // sources' 22 MB, so a run of early kills does not end in a full disk.
    mounttest::LoopVolume loop(work.path(), 320);
    ASSERT_TRUE(loop.ok());
    const std::string drive = work / "Drive";
    fs::create_directories(drive);
    ASSERT_EQ(::mount(loop.device().c_str(), drive.c_str(), "ext4", 0, nullptr), 0);

    const Target volume{false, {"--das", drive}, drive + "/Trips"};
    const Target share{true,
                       {"--nas", device_.address(), "--serial", "SN-KILL", "--name", "Test Cloud"},
                       samba_->sharePath("Family") + "/Trips"};

    // One whole upload to each, unharmed: it must work, and its length scales the kill times.
    std::map<bool, Timing> timing;
    for (const Target* t : {&volume, &share}) {
        fs::remove_all(t->destinationFolder);
        fs::create_directories(t->destinationFolder);
        test::TempDir calibrationHome;
        std::vector<std::string> args = t->deviceArgs;
        if (t->nas)
            for (const char* a : {"--user", kUser, "--password-stdin"}) args.push_back(a);
        args.push_back("--destination");
        args.push_back(t->nas ? "Family/Trips" : "Drive/Trips");
        for (const auto& s : sources) args.push_back(s);
        ChildProcess child;
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(child.start(cliProgram(), args,
                                {{"HOME", calibrationHome.path()},
                                 {"XDG_DATA_HOME", calibrationHome.path() + "/.local/share"},
                                 {"QT_QPA_PLATFORM", "offscreen"}}));
        if (t->nas) child.write(std::string(kPassword) + "\n");
        child.closeInput();
        const auto since = [&] {
            return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        };
        pollUntil([&] { return !fs::is_empty(t->destinationFolder); }, kDeadline);
        timing[t->nas].startup = since();
        ASSERT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        timing[t->nas].whole = since();
        ASSERT_EQ(destinationProblems(sources, t->destinationFolder), "");
    }

    const unsigned seed = firstSeed();
    std::printf(
        "kill campaign: %d trials from seed %u (upload %.2f s to the volume, %.2f s to "
        "the share)\n",
        trialCount(), seed, timing[false].whole, timing[true].whole);
    for (int i = 0; i < trialCount(); ++i) {
        const Target& target = i % 2 == 0 ? volume : share;
        trial(target, sources, seed + static_cast<unsigned>(i), timing[target.nas]);
        if (HasFailure()) break;
    }
    umount2(drive.c_str(), MNT_DETACH);
}

}  // namespace
