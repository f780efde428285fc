// A password made of the characters that break URLs and logs, used for real: the device
// simulator and a Samba server whose account has it, the console uploader given it on stdin.
// The login, the share list, the mount and the upload work, and no piece of the password is
// left anywhere a person or another program could read it.
#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "../../apps/devicesim/device_simulator.h"
#include "../../apps/devicesim/samba_server.h"
#include "cli_fixture.h"
#include "nas_fixture.h"
#include "syslog_sink.h"

using namespace qvt;
using namespace qvt::clitest;
namespace sim = qvt::devicesim;

namespace {

constexpr double kDeadline = 90;
constexpr double kShortDeadline = 10;
constexpr const char* kUser = "qvtodd";
const std::string kOddPassword = "Pa55 w0rd&x=1%+#\xC3\xA9";

// Every run of four bytes of the password found in `text` ("" when none).
std::string piecesOfThePasswordIn(const std::string& text) {
    std::string found;
    for (std::size_t i = 0; i + 4 <= kOddPassword.size(); ++i)
        if (text.find(kOddPassword.substr(i, 4)) != std::string::npos)
            found += "\"" + kOddPassword.substr(i, 4) + "\" ";
    return found;
}

class CliSecrets : public CliTest {
  protected:
    static void SetUpTestSuite() {
        samba_ = startSuiteSamba(kUser, kOddPassword, false, {}, &startError_);
    }
    static void TearDownTestSuite() {
        delete samba_;
        samba_ = nullptr;
    }

    void SetUp() override {
        ASSERT_TRUE(samba_ && samba_->running()) << "smbd did not start: " << startError_;
        for (const auto& entry : fs::directory_iterator(samba_->sharePath("Family")))
            fs::remove_all(entry.path());
        const sim::DeviceConfig config =
            deviceWithFamilyShare("SN-ODD", {{kUser, kOddPassword}}, false);
        ASSERT_GT(device_.start(config), 0);
    }
    void TearDown() override { device_.stop(); }

    // Runs the uploader (through the sink) with the password on stdin; its exit status.
    int run(ChildProcess& child, const std::vector<std::string>& tail) {
        return startWithPassword(child, tail) ? child.waitForExit(kDeadline) : -1;
    }

    // Starts the uploader (through the sink) and gives it the password on stdin.
    bool startWithPassword(ChildProcess& child, const std::vector<std::string>& tail) {
        std::vector<std::string> args = {"--nas",           device_.address(), "--serial", "SN-ODD",
                                         "--name",          "Test Cloud",      "--user",   kUser,
                                         "--password-stdin"};
        args.insert(args.end(), tail.begin(), tail.end());
        const auto [program, arguments] = sink_.command(cliProgram(), args);
        if (!child.start(program, arguments, environment())) return false;
        child.write(kOddPassword + "\n");
        child.closeInput();
        return true;
    }

    // What another program of the same machine can read about a running uploader: its
    // arguments and its environment (the test runs as root, so both are readable).
    static std::string procView(pid_t pid) {
        const std::string proc = "/proc/" + std::to_string(pid);
        return test::readFile(proc + "/cmdline") + test::readFile(proc + "/environ");
    }

    // Every piece of the password found in a file below `root` (a readable list, "" when none).
    static std::string piecesInFilesBelow(const std::string& root) {
        std::string found;
        if (!fs::exists(root)) return found;
        for (const auto& e : fs::recursive_directory_iterator(root)) {
            if (!e.is_regular_file()) continue;
            std::ifstream in(e.path(), std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)), {});
            const std::string pieces = piecesOfThePasswordIn(bytes);
            if (!pieces.empty()) found += e.path().string() + ": " + pieces + "\n";
        }
        return found;
    }

    static inline sim::SambaServer* samba_ = nullptr;
    static inline std::string startError_;
    sim::DeviceSimulator device_;
    SyslogSink sink_;
};

TEST_F(CliSecrets, AnOddPasswordLogsInMountsAndUploadsAndLeavesNoPieceOfItAnywhere) {
    ASSERT_TRUE(sink_.ok());
    fs::create_directories(samba_->sharePath("Family") + "/Trips");
    test::writeFile(work / "src/Odd/photo.jpg", "a photo\n");
    test::writeFile(work / "src/Odd/more/notes.txt", "notes\n");

    // A run that fails after the login and the share list: the share does not exist.
    ChildProcess failed;
    EXPECT_EQ(run(failed, {"--destination", "Nowhere/x", work / "src/Odd"}), 2)
        << failed.output() << failed.errors();

    ChildProcess uploaded;
    EXPECT_EQ(run(uploaded, {"--destination", "Family/Trips", work / "src/Odd"}), 0)
        << uploaded.output() << uploaded.errors();
    EXPECT_TRUE(sameTree(work / "src/Odd", samba_->sharePath("Family") + "/Trips/Odd"));

    // The program logged (the sink works), and no line holds a piece of the password.
    const std::vector<std::string> lines = sink_.lines();
    EXPECT_FALSE(lines.empty());
    bool loggedTheLogin = false;
    for (const std::string& line : lines) {
        EXPECT_EQ(piecesOfThePasswordIn(line), "") << line;
        loggedTheLogin = loggedTheLogin || line.find("local_login") != std::string::npos;
    }
    EXPECT_TRUE(loggedTheLogin);
    for (const ChildProcess* child : {&failed, &uploaded}) {
        EXPECT_EQ(piecesOfThePasswordIn(child->output()), "");
        EXPECT_EQ(piecesOfThePasswordIn(child->errors()), "");
    }
    // Nor does any file under the home folder (the state file, the mount folder, caches).
    for (const auto& e : fs::recursive_directory_iterator(home.path())) {
        if (!e.is_regular_file()) continue;
        std::ifstream in(e.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        EXPECT_EQ(piecesOfThePasswordIn(bytes), "") << e.path();
    }
}

// The whole life of an upload with that password: the device goes away in the middle and comes
// back (the upload reconnects by itself), the desktop session ends (the upload is recorded),
// and a second run takes it up with the password given again on stdin. At every step the
// password is in no log line, no output, no file under the home folder, no test artefact, and
// in neither the arguments nor the environment of the running program.
TEST_F(CliSecrets, ALostDeviceAnEndedSessionAndAResumeLeaveNoPieceOfThePasswordAnywhere) {
    ASSERT_TRUE(sink_.ok());
    const std::string trips = samba_->sharePath("Family") + "/Trips";
    fs::create_directories(trips);
    const int count = test::kSanitizedBuild ? 600 : 1200;
    makeManyFiles(work / "src/Many", count);
    const auto arrived = [&] {
        return fs::exists(trips + "/Many") ? filesBelow(trips + "/Many").size() : 0;
    };
    std::string seenByOthers;
    {
        ChildProcess child;
        ASSERT_TRUE(startWithPassword(child, {"--destination", "Family/Trips", work / "src/Many"}));
        ASSERT_TRUE(pollUntil([&] { return arrived() > 50; }, kDeadline)) << child.output();
        seenByOthers += procView(child.pid());

        // The device goes away: its HTTP interface and its Samba server.
        const int port = device_.port();
        device_.stop();
        samba_->stop();
        ASSERT_TRUE(child.waitForOutput("is not reachable", kDeadline))
            << child.output() << child.errors();
        seenByOthers += procView(child.pid());
        std::string error;
        ASSERT_TRUE(samba_->start(&error)) << error;
        ASSERT_EQ(device_.start(deviceWithFamilyShare("SN-ODD", {{kUser, kOddPassword}}, false),
                                "127.0.0.1", port),
                  port);
        ASSERT_TRUE(child.waitForOutput("The device is back", kDeadline))
            << child.output() << child.errors();
        const std::size_t before = arrived();
        ASSERT_TRUE(pollUntil([&] { return arrived() > before + 20; }, kDeadline))
            << child.output();
        seenByOthers += procView(child.pid());

        // The desktop session ends before the upload does.
        ASSERT_LT(arrived(), static_cast<std::size_t>(count));
        child.signal(SIGTERM);
        EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
        EXPECT_EQ(piecesOfThePasswordIn(child.output() + child.errors()), "");
    }
    EXPECT_EQ(piecesInFilesBelow(home.path()), "");

    ChildProcess resumed;
    ASSERT_TRUE(startWithPassword(resumed, {"--resume"}));
    ASSERT_TRUE(pollUntil([&] { return !procView(resumed.pid()).empty(); }, kShortDeadline));
    seenByOthers += procView(resumed.pid());
    EXPECT_EQ(resumed.waitForExit(kDeadline), 0) << resumed.output() << resumed.errors();
    EXPECT_NE(resumed.output().find("Taking up"), std::string::npos) << resumed.output();
    EXPECT_EQ(destinationProblems({work / "src/Many"}, trips), "");
    EXPECT_EQ(piecesOfThePasswordIn(resumed.output() + resumed.errors()), "");

    EXPECT_EQ(piecesOfThePasswordIn(seenByOthers), "");
    // The program's arguments were read: the check above looked at something.
    EXPECT_NE(seenByOthers.find("--password-stdin"), std::string::npos);
    const std::vector<std::string> lines = sink_.lines();
    EXPECT_FALSE(lines.empty());
    for (const std::string& line : lines) EXPECT_EQ(piecesOfThePasswordIn(line), "") << line;
    EXPECT_EQ(piecesInFilesBelow(home.path()), "");
    EXPECT_EQ(piecesInFilesBelow(test::outputFolder()), "");
}

TEST_F(CliSecrets, TheUploaderCannotBeDumpedOrReadByItsOwnUser) {
    // Run as an unprivileged user, a process's /proc files belong to that user, unless the
    // process made itself non-dumpable: then they belong to root, and the user cannot read its
    // memory or environment, attach a debugger or get a core dump holding the password.
    fs::permissions(home.path(), fs::perms::all);
    ChildProcess child;
    std::vector<std::string> args = {
        "--reuid=65534",    "--regid=65534", "--clear-groups", cliProgram(), "--nas",
        device_.address(),  "--serial",      "SN-ODD",         "--user",     kUser,
        "--password-stdin", home.path()};
    ASSERT_TRUE(child.start("/usr/bin/setpriv", args, environment()));
    const std::string proc = "/proc/" + std::to_string(child.pid());
    const auto owner = [&] {
        struct stat st {};
        return ::stat((proc + "/environ").c_str(), &st) == 0 ? static_cast<long>(st.st_uid) : -1L;
    };
    // Once the uploader runs a thread of its own, its main() is well under way; until then the
    // files may still be setpriv's or those of the exec in progress.
    const auto running = [&] {
        if (test::readFile(proc + "/comm") != "qvtransfer-cli\n") return false;
        const std::string status = test::readFile(proc + "/status");
        const std::size_t at = status.find("\nThreads:\t");
        return at != std::string::npos && std::atoi(status.c_str() + at + 10) >= 2;
    };
    ASSERT_TRUE(test::waitFor(running, kShortDeadline))
        << test::readFile(proc + "/status") << child.errors();
    // It waits for the password line, its files root's.
    EXPECT_EQ(owner(), 0);
    child.closeInput();
    child.waitForExit(kDeadline);
}

}  // namespace
