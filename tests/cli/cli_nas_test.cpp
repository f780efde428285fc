// The console uploader run as a program against a network device: the device simulator's REST
// interface and its real Samba server on loopback.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "../../apps/devicesim/device_simulator.h"
#include "../../apps/devicesim/samba_server.h"
#include "cli_fixture.h"
#include "lock_holder.h"
#include "nas_fixture.h"
#include "qvtransfer/Keychain.h"

using namespace qvt;
using namespace qvt::clitest;
namespace sim = qvt::devicesim;

namespace {

constexpr double kDeadline = 90;
constexpr const char* kUser = "qvtcli";
constexpr const char* kOtherUser = "qvtcli2";
constexpr const char* kPassword = "cli pass 42";

}  // namespace

class CliNas : public CliTest {
  protected:
    static void SetUpTestSuite() {
        samba_ = startSuiteSamba(kUser, kPassword, true, {{kOtherUser, "", {}}}, &startError_);
    }
    static void TearDownTestSuite() {
        delete samba_;
        samba_ = nullptr;
    }

    void SetUp() override {
        ++testNumber();
        ASSERT_TRUE(samba_ && samba_->running()) << "smbd did not start: " << startError_;
        for (const char* share : {"Family", "Public"})
            for (const auto& entry : fs::directory_iterator(samba_->sharePath(share)))
                fs::remove_all(entry.path());
        const sim::DeviceConfig config =
            deviceWithFamilyShare(serial(), {{kUser, kPassword}, {kOtherUser, ""}}, true);
        config_ = config;
        ASSERT_GT(device_.start(config), 0);
    }
    void TearDown() override { device_.stop(); }

    // The device's serial number, which names its login in the keychain: that keychain is
    // shared by the tests running beside this one and by those run before it in this process,
    // so each test has a device of its own.
    static int& testNumber() {
        static int number = 0;
        return number;
    }
    static std::string serial() {
        return "SN-CLI-" + std::to_string(getpid()) + "-" + std::to_string(testNumber());
    }
    std::vector<std::string> deviceArgs() const {
        return {"--nas", device_.address(), "--serial", serial(), "--name", "Test Cloud"};
    }
    std::string share(const std::string& name) const { return samba_->sharePath(name); }
    // Takes the recorded upload up with the device's options alone (the account from the
    // keychain); stdin ends at once.
    bool startResume(ChildProcess& child) {
        auto args = deviceArgs();
        args.push_back("--resume");
        if (!start(child, args)) return false;
        child.closeInput();
        return true;
    }
    // Takes the recorded upload up and expects it refused: exit status 1, `message` on the
    // error output (and not `notSaid`), and the state file still holding `record` for a later
    // try.
    ::testing::AssertionResult resumeRefused(const std::string& record, const std::string& message,
                                             const std::string& notSaid = "") {
        ChildProcess child;
        if (!startResume(child)) return ::testing::AssertionFailure() << "did not start";
        const int status = child.waitForExit(kDeadline);
        const std::string said = child.errors();
        if (status != 1 || said.find(message) == std::string::npos ||
            (!notSaid.empty() && said.find(notSaid) != std::string::npos))
            return ::testing::AssertionFailure()
                   << "exit status " << status << ": " << child.output() << child.errors();
        if (test::readFile(home.path() + "/.local/share/QVTransfer/qvtransfer.plist") != record)
            return ::testing::AssertionFailure() << "the record changed";
        return ::testing::AssertionSuccess();
    }
    // Starts an upload of `sources` to Family/Trips as the account with a password, which it
    // reads from stdin; stdin then ends.
    bool startToTrips(ChildProcess& child, const std::vector<std::string>& sources) {
        auto args = deviceArgs();
        for (const std::string a :
             {"--user", kUser, "--password-stdin", "--destination", "Family/Trips"})
            args.push_back(a);
        args.insert(args.end(), sources.begin(), sources.end());
        if (!start(child, args)) return false;
        child.write(std::string(kPassword) + "\n");
        child.closeInput();
        return true;
    }
    // Writes a state file whose upload for the device still has work/memo.txt to copy into
    // `folder` (SHARE/FOLDER) of the mount folder, with `failed` (dict elements) as its failed
    // items, and gives its text.
    std::string recordPendingMemo(const std::string& folder, const std::string& failed = "") {
        test::writeFile(work / "memo.txt", "memo\n");
        const std::string record =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>" +
            serial() +
            "</key><dict><key>isFileTransferCompleted</key><false/>"
            "<key>partialCopyTag</key><string>0000abcd</string>"
            "<key>failedTransferArray</key><array>" +
            failed +
            "</array>"
            "<key>selectedDestinationShare</key><string>" +
            home.path() + "/.QVTransfer/" + folder +
            "</string><key>sourceFilesPendingArray</key><array><dict>"
            "<key>filesSelectCheckbox</key><integer>1</integer><key>fileName</key>"
            "<string>memo.txt</string><key>fullFilePath</key><string>" +
            (work / "memo.txt") +
            "</string><key>numberOfFiles</key><string>1 file</string><key>numberOfFolders</key>"
            "<string>0 folders</string><key>fileSize</key><integer>5</integer></dict></array>"
            "</dict></dict></plist>\n";
        test::writeFile(home.path() + "/.local/share/QVTransfer/qvtransfer.plist", record);
        return record;
    }

    static inline sim::SambaServer* samba_ = nullptr;
    static inline std::string startError_;
    sim::DeviceSimulator device_;
    sim::DeviceConfig config_;
};

TEST_F(CliNas, UploadsToAFolderOfAPrivateShare) {
    fs::create_directories(share("Family") + "/Trips");
    makeSources(work / "src");
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/Holiday", work / "src/notes.txt"}));
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_TRUE(sameTree(work / "src/Holiday", share("Family") + "/Trips/Holiday"));
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/notes.txt"), "Meeting notes\n");
    EXPECT_NE(child.output().find("Destination: Family/Trips on Test Cloud"), std::string::npos)
        << child.output();
    // The place is the share's address: the folder it was mounted at is empty after the run.
    EXPECT_NE(child.output().find("Test Cloud (smb://127.0.0.1/Family/Trips)\n"), std::string::npos)
        << child.output();
    // The password is never written out.
    EXPECT_EQ(child.output().find(kPassword), std::string::npos);
    EXPECT_EQ(child.errors().find(kPassword), std::string::npos);
}

// The home folder holds the mount folder, where the share is opened while the upload runs:
// uploaded, it would copy the share into itself, deeper each time. The mount folder is left
// out, as is the folder of the upload's record, and everything else of the home folder
// arrives.
TEST_F(CliNas, UploadingTheHomeFolderLeavesOutTheFolderTheSharesAreOpenedIn) {
    fs::create_directories(share("Family") + "/Trips");
    test::writeFile(share("Family") + "/Trips/already there.txt", "kept\n");
    test::writeFile(home.path() + "/Documents/letter.txt", "Dear all\n");
    test::writeFile(home.path() + "/Pictures/2024/beach.jpg", "sand\n");
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {home.path()}));
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    const std::string arrived =
        share("Family") + "/Trips/" + fs::path(home.path()).filename().string();
    EXPECT_EQ(test::readFile(arrived + "/Documents/letter.txt"), "Dear all\n");
    EXPECT_EQ(test::readFile(arrived + "/Pictures/2024/beach.jpg"), "sand\n");
    EXPECT_FALSE(fs::exists(arrived + "/.QVTransfer")) << child.output();
    // Nor is the upload's own record, which changes while it runs.
    EXPECT_FALSE(fs::exists(arrived + "/.local/share/QVTransfer")) << child.output();
    EXPECT_TRUE(fs::exists(home.path() + "/.local/share/QVTransfer/qvtransfer.plist"));
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/already there.txt"), "kept\n");
}

// With --json a share's files are named by their smb:// addresses too: the folder the share
// was mounted at is empty once the uploader has ended.
TEST_F(CliNas, JsonNamesTheFilesOnTheShareByTheirAddresses) {
    fs::create_directories(share("Family") + "/Trips");
    test::writeFile(work / "src/a b.txt", "a\n");
    auto args = deviceArgs();
    for (const std::string a :
         {"--user", kUser, "--password-stdin", "--json", "--destination", "Family/Trips"})
        args.push_back(a);
    args.push_back(work / "src/a b.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write(std::string(kPassword) + "\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/a b.txt"), "a\n");
    EXPECT_NE(child.output().find("\"url\":\"smb://127.0.0.1/Family/Trips/a%20b.txt\""),
              std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("\"url\":\"smb://127.0.0.1/Family/Trips\""), std::string::npos)
        << child.output();
}

TEST_F(CliNas, AWrongPasswordEndsWithOneAndUploadsNothing) {
    test::writeFile(work / "a.txt", "a");
    auto args = deviceArgs();
    for (const std::string a : {"--user", kUser, "--password-stdin", "--destination", "Family"})
        args.push_back(a);
    args.push_back(work / "a.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write("not the password\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("did not accept the password for qvtcli"), std::string::npos)
        << child.errors();
    EXPECT_EQ(child.errors().find("not the password"), std::string::npos);
    EXPECT_TRUE(filesBelow(share("Family")).empty());
}

// A device that went away is known again by its serial number: a wrong one given at the start
// would leave the upload waiting for a device that is back.
TEST_F(CliNas, ASerialNumberTheDeviceDoesNotHaveIsABadArgument) {
    test::writeFile(work / "a.txt", "a");
    std::vector<std::string> args{
        "--nas",      device_.address(), "--serial", "SN-NOT-THIS-ONE",  "--name",
        "Test Cloud", "--user",          kUser,      "--password-stdin", "--destination",
        "Family"};
    args.push_back(work / "a.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write(std::string(kPassword) + "\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("has the serial number " + serial() + ", not SN-NOT-THIS-ONE"),
              std::string::npos)
        << child.errors();
    EXPECT_TRUE(filesBelow(share("Family")).empty());
}

TEST_F(CliNas, AnUnknownAccountOrAMissingPasswordIsABadArgument) {
    test::writeFile(work / "a.txt", "a");
    {
        auto args = deviceArgs();
        for (const std::string a : {"--user", "nobody", "--destination", "Public"})
            args.push_back(a);
        args.push_back(work / "a.txt");
        ChildProcess child;
        ASSERT_TRUE(start(child, args));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2);
        EXPECT_NE(child.errors().find("no account nobody (it has: qvtcli, qvtcli2)"),
                  std::string::npos)
            << child.errors();
    }
    {
        auto args = deviceArgs();
        for (const std::string a : {"--user", kUser, "--destination", "Family"}) args.push_back(a);
        args.push_back(work / "a.txt");
        ChildProcess child;
        ASSERT_TRUE(start(child, args));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2);
        EXPECT_NE(child.errors().find("needs a password"), std::string::npos) << child.errors();
    }
}

TEST_F(CliNas, AnUnreachableDeviceEndsWithOne) {
    test::writeFile(work / "a.txt", "a");
    const std::string address = device_.address();
    device_.stop();
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--nas", address, "--serial", serial(), "--user", kUser,
                              "--destination", "Public", work / "a.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("cannot reach the device at " + address), std::string::npos)
        << child.errors();
    // Without a terminal to ask "Try again?" on, the reason is said once, as the end.
    EXPECT_EQ(child.output().find("Cannot reach the device"), std::string::npos) << child.output();
}

TEST_F(CliNas, AtATerminalItAsksForAccountPasswordAndDestinationAndNeverEchoesThePassword) {
    fs::create_directories(share("Family") + "/Trips");
    test::writeFile(work / "a.txt", "typed at a terminal\n");
    ChildProcess child;
    auto args = deviceArgs();
    args.push_back(work / "a.txt");
    ASSERT_TRUE(child.startOnTerminal(cliProgram(), args, environment()));
    ASSERT_TRUE(child.waitForOutput("Account (number or name): ", kDeadline)) << child.output();
    EXPECT_NE(child.output().find("1) qvtcli"), std::string::npos) << child.output();
    child.write("1\n");
    ASSERT_TRUE(child.waitForOutput("Password for qvtcli: ", kDeadline)) << child.output();
    child.write(std::string(kPassword) + "\n");
    ASSERT_TRUE(child.waitForOutput("Destination (SHARE/FOLDER): ", kDeadline)) << child.output();
    child.write("Family/Trips\n");
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/a.txt"), "typed at a terminal\n");
    // What was typed for the account and the folder shows; the password does not.
    EXPECT_NE(child.output().find("Family/Trips"), std::string::npos);
    EXPECT_EQ(child.output().find(kPassword), std::string::npos) << child.output();
}

TEST_F(CliNas, TheDeviceGoesAwayMidUploadAndTheUploadGoesOnByItselfWhenItIsBack) {
    fs::create_directories(share("Family") + "/Trips");
    makeManyFiles(work / "src/Many", 1500);
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/Many"}));

    // Well into the upload, the device goes away (its HTTP interface and its smbd).
    const auto filesOnShare = [&] {
        std::size_t n = 0;
        if (fs::exists(share("Family") + "/Trips/Many"))
            for (const auto& e : fs::recursive_directory_iterator(share("Family") + "/Trips/Many"))
                n += e.is_regular_file() ? 1 : 0;
        return n;
    };
    ASSERT_TRUE(test::waitFor([&] { return filesOnShare() > 50; }, kDeadline)) << child.output();
    const int port = device_.port();
    device_.stop();
    samba_->stop();
    ASSERT_TRUE(child.waitForOutput("is not reachable", kDeadline))
        << child.output() << child.errors();

    std::string error;
    ASSERT_TRUE(samba_->start(&error)) << error;
    ASSERT_EQ(device_.start(config_, "127.0.0.1", port), port);
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find("Test Cloud is not reachable \u2014 waiting for it to come back"),
              std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("The device is back; the upload continues."), std::string::npos)
        << child.output();
    // The wait is told by its own lines; the user paused nothing.
    EXPECT_EQ(child.output().find("Paused."), std::string::npos) << child.output();
    EXPECT_EQ(child.output().find("Resumed."), std::string::npos) << child.output();
    EXPECT_TRUE(sameTree(work / "src/Many", share("Family") + "/Trips/Many"));
    for (const auto& e : fs::recursive_directory_iterator(share("Family")))
        EXPECT_EQ(e.path().filename().string().find(".qvtransfer-"), std::string::npos) << e.path();
}
// The chosen folder moved away on the share while the device stays is not a lost device:
// the upload does not wait for it to come back, and the files still to go fail, saying why.
TEST_F(CliNas, TheChosenFolderMovedAwayOnTheShareFailsTheFilesLeftAndTheUploadEnds) {
    fs::create_directories(share("Family") + "/Trips");
    makeManyFiles(work / "src/Many", 1500);
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/Many"}));
    const auto arrived = [&](const std::string& folder) {
        std::vector<fs::path> files;
        std::error_code ec;
        for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end;
             it.increment(ec))
            if (it->is_regular_file(ec)) files.push_back(it->path());
        return files;
    };
    ASSERT_TRUE(
        test::waitFor([&] { return arrived(share("Family") + "/Trips").size() > 50; }, kDeadline))
        << child.output();
    fs::rename(share("Family") + "/Trips", share("Family") + "/Moved");

    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.output().find("is no longer there."), std::string::npos) << child.output();
    EXPECT_NE(child.output().find(": The destination folder \u201cpart "), std::string::npos)
        << child.output();
    EXPECT_EQ(child.output().find("is not reachable"), std::string::npos) << child.output();
    // Every file that arrived before the move is whole.
    const std::string moved = share("Family") + "/Moved/Many";
    for (const fs::path& f : arrived(moved)) {
        if (f.filename().string().rfind(".qvtransfer-", 0) == 0) continue;
        EXPECT_EQ(test::readFile(f), test::readFile(work / "src/Many" / fs::relative(f, moved)))
            << f;
    }
    // The sources are all where they were.
    EXPECT_EQ(arrived(work / "src/Many").size(), 1500u);
}

TEST_F(CliNas, AStopWhileTheDeviceIsAwaySaysStoppedAndNeverThatTheDeviceIsBack) {
    fs::create_directories(share("Family") + "/Trips");
    makeManyFiles(work / "src/Many", 1500);
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/Many"}));
    ASSERT_TRUE(pollUntil(
        [&] {
            return fs::exists(share("Family") + "/Trips/Many") &&
                   filesBelow(share("Family") + "/Trips/Many").size() > 50;
        },
        kDeadline));
    device_.stop();
    samba_->stop();
    ASSERT_TRUE(child.waitForOutput("is not reachable", kDeadline))
        << child.output() << child.errors();

    // Ctrl-C while the upload waits: the device is still away and nothing goes on.
    child.signal(SIGINT);
    EXPECT_EQ(child.waitForExit(kDeadline), 130) << child.output() << child.errors();
    EXPECT_NE(child.output().find("Stopped."), std::string::npos) << child.output();
    EXPECT_EQ(child.output().find("The device is back"), std::string::npos) << child.output();
    EXPECT_EQ(child.output().find("Resumed."), std::string::npos) << child.output();
    // The next test finds the device's shares served.
    std::string error;
    ASSERT_TRUE(samba_->start(&error)) << error;
}

// The hidden copy of the file in hand when the device went away cannot be removed by a stop
// made meanwhile; it goes with the next upload to that share once the device is back.
TEST_F(CliNas, TheHiddenCopyAStopLeavesWhileTheDeviceIsAwayGoesWithTheNextUpload) {
    const std::string trips = share("Family") + "/Trips";
    fs::create_directories(trips);
    // Large enough that the device is taken away while the copy runs; holes cost no disk.
    test::writeFile(work / "src/big.bin", "");
    fs::resize_file(work / "src/big.bin", 4ull << 30);
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/big.bin"}));
    const auto hiddenCopies = [&] {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(trips))
            if (e.path().filename().string().starts_with(".qvtransfer-"))
                names.push_back(e.path().filename().string());
        return names;
    };
    ASSERT_TRUE(pollUntil([&] { return !hiddenCopies().empty(); }, kDeadline)) << child.output();
    const int port = device_.port();
    device_.stop();
    samba_->stop();
    ASSERT_TRUE(child.waitForOutput("is not reachable", kDeadline))
        << child.output() << child.errors();
    child.signal(SIGINT);
    EXPECT_EQ(child.waitForExit(kDeadline), 130) << child.output() << child.errors();
    ASSERT_EQ(hiddenCopies().size(), 1u);

    std::string error;
    ASSERT_TRUE(samba_->start(&error)) << error;
    ASSERT_EQ(device_.start(config_, "127.0.0.1", port), port);
    test::writeFile(work / "src/new.txt", "new\n");
    ChildProcess next;
    ASSERT_TRUE(startToTrips(next, {work / "src/new.txt"}));
    EXPECT_EQ(next.waitForExit(kDeadline), 0) << next.output() << next.errors();
    EXPECT_EQ(test::readFile(trips + "/new.txt"), "new\n");
    EXPECT_TRUE(hiddenCopies().empty());
    EXPECT_FALSE(fs::exists(trips + "/big.bin"));
}

// Ctrl-C in a large file ends its copy where it is: the process ends at once and the hidden
// copy is gone from the share. (It used to be written on to its end, or as far as the process
// lived, and stay there.)
TEST_F(CliNas, CtrlCInALargeFileEndsItsCopyAndLeavesNothingOnTheShare) {
    const std::string trips = share("Family") + "/Trips";
    fs::create_directories(trips);
    test::writeFile(work / "src/big.bin", "");
    fs::resize_file(work / "src/big.bin", 4ull << 30);
    ChildProcess child;
    ASSERT_TRUE(startToTrips(child, {work / "src/big.bin"}));
    const auto hiddenCopies = [&] {
        std::size_t n = 0;
        for (const auto& e : fs::directory_iterator(trips))
            n += e.path().filename().string().starts_with(".qvtransfer-");
        return n;
    };
    ASSERT_TRUE(pollUntil([&] { return hiddenCopies() > 0; }, kDeadline)) << child.output();
    child.signal(SIGINT);
    EXPECT_EQ(child.waitForExit(kDeadline), 130) << child.output() << child.errors();
    EXPECT_EQ(hiddenCopies(), 0u);
    EXPECT_FALSE(fs::exists(trips + "/big.bin"));
}

TEST_F(CliNas, AKilledUploadIsTakenUpWithResumeAndEveryFileArrivesOnce) {
    fs::create_directories(share("Family") + "/Trips");
    makeManyFiles(work / "src/Many", 1200);
    test::writeFile(work / "src/later.txt", "the second item\n");
    {
        ChildProcess child;
        ASSERT_TRUE(startToTrips(child, {work / "src/Many", work / "src/later.txt"}));
        ASSERT_TRUE(pollUntil(
            [&] {
                return fs::exists(share("Family") + "/Trips/Many") &&
                       filesBelow(share("Family") + "/Trips/Many").size() > 100;
            },
            kDeadline));
        child.signal(SIGKILL);
        EXPECT_EQ(child.waitForExit(kDeadline), 128 + SIGKILL);
    }
    ASSERT_LT(filesBelow(share("Family") + "/Trips").size(), 1201u);

    // The same device options and --resume; the password comes from the keychain.
    ChildProcess child;
    ASSERT_TRUE(startResume(child));
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find("Taking up 2 items (1201 files, "), std::string::npos)
        << child.output();
    // The destination is named as the user named it, not by the folder the share is mounted at.
    EXPECT_NE(child.output().find(") to Family/Trips on Test Cloud"), std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find(" uploaded to Family/Trips in "), std::string::npos)
        << child.output();
    EXPECT_EQ(destinationProblems({work / "src/Many", work / "src/later.txt"},
                                  share("Family") + "/Trips"),
              "");
    // The second item had not begun: it arrives once.
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/later copy.txt"));
}

// The items that failed before the interruption are not tried again by the resume (the window
// does not show them either), but the console names them and does not end as if everything
// had arrived.
TEST_F(CliNas, AResumeNamesTheItemsThatFailedBeforeTheInterruptionAndEndsWithOne) {
    fs::create_directories(share("Family") + "/Trips");
    const std::string lost = work / "src/too long.txt";
    recordPendingMemo("Family/Trips",
                      "<dict><key>sourceFilePath</key><string>" + lost +
                          "</string><key>destFilePath</key><string>" + home.path() +
                          "/.QVTransfer/Family/Trips/too long.txt</string>"
                          "<key>localizedError</key><string>The name is too long for the "
                          "device.</string></dict>"
                          // The pending memo itself had failed too: it is tried again with its
                          // source, and is no failure from before.
                          "<dict><key>sourceFilePath</key><string>" +
                          (work / "memo.txt") + "</string><key>destFilePath</key><string>" +
                          home.path() +
                          "/.QVTransfer/Family/Trips/memo.txt</string>"
                          "<key>localizedError</key><string>The device went away.</string>"
                          "</dict>");
    ASSERT_EQ(SetKeychainUsernameAndPasswordForNAS(serial().c_str(), kUser, kPassword), 0);
    ChildProcess child;
    ASSERT_TRUE(startResume(child));
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/memo.txt"), "memo\n");
    const std::string out = child.output();
    EXPECT_NE(out.find("Every file taken up arrived."), std::string::npos) << out;
    EXPECT_EQ(out.find("All files were uploaded successfully."), std::string::npos) << out;
    EXPECT_NE(out.find("Failed before the upload was interrupted, and not tried again (1):\n  " +
                       lost + ": The name is too long for the device.\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("; 1 item failed"), std::string::npos) << out;
    EXPECT_EQ(out.find("The device went away."), std::string::npos) << out;
}

TEST_F(CliNas, AResumeWhoseShareCannotBeMountedSaysSoAndEndsWithOne) {
    const std::string record = recordPendingMemo("Nowhere/Trips");
    EXPECT_TRUE(resumeRefused(record,
                              "The destination on Test Cloud could not be reached, so "
                              "the interrupted upload cannot be taken up now."));
}

// The share is there but the folder the upload went to was moved away since: the user is told
// which folder, nothing is written, and the record stays for when the folder is back.
TEST_F(CliNas, AResumeWhoseFolderIsNoLongerOnTheShareSaysSoAndKeepsTheRecord) {
    fs::create_directories(share("Family"));
    const std::string record = recordPendingMemo("Family/Trips");
    ASSERT_EQ(SetKeychainUsernameAndPasswordForNAS(serial().c_str(), kUser, kPassword), 0);
    EXPECT_TRUE(resumeRefused(record, "The destination folder “Trips” is no longer on Test Cloud"));
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips"));
}

// With no account stored for the device and none given, the device turning the guest away is
// not told as a refused password: the user is asked for the account.
TEST_F(CliNas, AResumeWithNoAccountStoredAsksForOneAndKeepsTheRecord) {
    fs::create_directories(share("Family") + "/Trips");
    const std::string record = recordPendingMemo("Family/Trips");
    EXPECT_TRUE(resumeRefused(record,
                              "No account for Test Cloud is stored on this computer, so the "
                              "interrupted upload cannot be taken up.",
                              "did not accept"));
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/memo.txt"));
}

TEST_F(CliNas, AResumeWithAPasswordTheDeviceRefusesNamesThePassword) {
    fs::create_directories(share("Family") + "/Trips");
    const std::string record = recordPendingMemo("Family/Trips");
    ASSERT_EQ(SetKeychainUsernameAndPasswordForNAS(serial().c_str(), kUser, "not the password"), 0);
    EXPECT_TRUE(resumeRefused(record,
                              "Test Cloud did not accept the account name or password, so the "
                              "interrupted upload cannot be taken up.",
                              "could not be reached"));
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/memo.txt"));
}

TEST_F(CliNas, ANewUploadInPlaceOfTheRecordedOneRemovesTheHiddenCopiesItLeftOnTheShare) {
    fs::create_directories(share("Family") + "/Trips");
    recordPendingMemo("Family/Trips");
    const std::string hidden = ".qvtransfer-0000abcddeadbeef.part";
    test::writeFile(share("Family") + "/Trips/" + hidden, "half a memo");
    test::writeFile(share("Family") + "/" + hidden, "not where the memo went");
    // Another upload's, in the same folder: not the replaced upload's to remove.
    const std::string anotherUploads = ".qvtransfer-1234abcddeadbeef.part";
    test::writeFile(share("Family") + "/Trips/" + anotherUploads, "another upload's");
    test::writeFile(work / "src/new.txt", "new\n");
    auto args = deviceArgs();
    for (const std::string a : {"--user", kUser, "--password-stdin", "--replace-interrupted",
                                "--destination", "Family/Trips"})
        args.push_back(a);
    args.push_back(work / "src/new.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write(std::string(kPassword) + "\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/new.txt"), "new\n");
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/" + hidden));
    EXPECT_TRUE(fs::exists(share("Family") + "/" + hidden));
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/" + anotherUploads), "another upload's");
}

// A new upload to another share takes the place of the recorded one: that upload's hidden
// copies cannot be reached from there, and go with the next upload that reaches their share.
TEST_F(CliNas, TheHiddenCopiesOfAnUploadReplacedFromAnotherShareGoWithTheNextUploadThere) {
    fs::create_directories(share("Family") + "/Trips");
    recordPendingMemo("Family/Trips");
    const std::string hidden = ".qvtransfer-0000abcdfeedbeef.part";
    test::writeFile(share("Family") + "/Trips/" + hidden, "half a memo");
    test::writeFile(work / "src/new.txt", "new\n");
    auto args = deviceArgs();
    for (const std::string a :
         {"--user", kUser, "--password-stdin", "--replace-interrupted", "--destination", "Public"})
        args.push_back(a);
    args.push_back(work / "src/new.txt");
    {
        ChildProcess child;
        ASSERT_TRUE(start(child, args));
        child.write(std::string(kPassword) + "\n");
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        EXPECT_EQ(test::readFile(share("Public") + "/new.txt"), "new\n");
        EXPECT_TRUE(fs::exists(share("Family") + "/Trips/" + hidden));
    }
    ChildProcess next;
    ASSERT_TRUE(startToTrips(next, {work / "src/new.txt"}));
    EXPECT_EQ(next.waitForExit(kDeadline), 0) << next.output() << next.errors();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/new.txt"), "new\n");
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/" + hidden));
}

// The account given with --user and --password-stdin takes up an upload to a private share
// whatever the keychain holds (here a wrong password; a machine may run no keychain at all).
TEST_F(CliNas, ResumeUsesTheAccountGivenOnTheCommandLine) {
    fs::create_directories(share("Family") + "/Trips");
    recordPendingMemo("Family/Trips");
    ASSERT_EQ(SetKeychainUsernameAndPasswordForNAS(serial().c_str(), kUser, "not the password"), 0);

    auto args = deviceArgs();
    for (const std::string a : {"--resume", "--user", kUser, "--password-stdin"}) args.push_back(a);
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write(std::string(kPassword) + "\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(share("Family") + "/Trips/memo.txt"), "memo\n");
    EXPECT_EQ(child.output().find(kPassword), std::string::npos);
    EXPECT_EQ(child.errors().find(kPassword), std::string::npos);
    // The keychain keeps what it held: the account given was used, not stored.
    char* user = nullptr;
    char* password = nullptr;
    GetKeychainUsernameAndPasswordForNAS(serial().c_str(), &user, &password);
    EXPECT_STREQ(password, "not the password");
    QVTransferFreeString(user);
    QVTransferFreeString(password);
    SetKeychainUsernameAndPasswordForNAS(serial().c_str(), kUser, kPassword);
}

TEST_F(CliNas, TheEndOfTheDesktopSessionPausesAndRecordsAndResumeBringsEveryFile) {
    fs::create_directories(share("Family") + "/Trips");
    makeManyFiles(work / "src/Many", 1200);
    const std::string stateFile = home.path() + "/.local/share/QVTransfer/qvtransfer.plist";
    {
        ChildProcess child;
        ASSERT_TRUE(startToTrips(child, {work / "src/Many"}));
        ASSERT_TRUE(pollUntil(
            [&] {
                return fs::exists(share("Family") + "/Trips/Many") &&
                       filesBelow(share("Family") + "/Trips/Many").size() > 100;
            },
            kDeadline));
        // Logout: SIGTERM is not a stop.
        child.signal(SIGTERM);
        EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
        EXPECT_NE(child.output().find("Paused and recorded"), std::string::npos) << child.output();
    }
    // The process ended between two writes of its record, never inside one: the record's
    // folder holds the record and the lock of the running upload (which ended with the
    // process), no temporary file of a write cut off.
    std::vector<std::string> stateFolder;
    for (const auto& e : fs::directory_iterator(fs::path(stateFile).parent_path()))
        stateFolder.push_back(e.path().filename().string());
    std::sort(stateFolder.begin(), stateFolder.end());
    EXPECT_EQ(stateFolder, (std::vector<std::string>{"qvtransfer.lock", "qvtransfer.plist"}));
    EXPECT_TRUE(test::anotherProcessCouldLock(
        (fs::path(stateFile).parent_path() / "qvtransfer.lock").string()));
    // The share's mount lived in the process; the folder it stood on goes with it.
    const std::string mountFolder = home.path() + "/.QVTransfer";
    EXPECT_TRUE(!fs::exists(mountFolder) || fs::is_empty(mountFolder));
    const std::string recorded = test::readFile(stateFile);
    EXPECT_NE(recorded.find("sourceFilesPendingArray"), std::string::npos);
    EXPECT_NE(recorded.find(work / "src/Many"), std::string::npos);

    auto resumeArgs = deviceArgs();
    resumeArgs.push_back("--resume");
    {
        // A hang-up while the resume waits for its mount to settle leaves the record as it was.
        ChildProcess child;
        ASSERT_TRUE(start(child, resumeArgs));
        child.closeInput();
        ASSERT_TRUE(child.waitForOutput("Taking up the upload recorded", kDeadline))
            << child.output();
        child.signal(SIGHUP);
        EXPECT_EQ(child.waitForExit(kDeadline), 129) << child.output() << child.errors();
        EXPECT_EQ(test::readFile(stateFile), recorded);
        EXPECT_TRUE(!fs::exists(mountFolder) || fs::is_empty(mountFolder));
    }
    ChildProcess child;
    ASSERT_TRUE(start(child, resumeArgs));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(destinationProblems({work / "src/Many"}, share("Family") + "/Trips"), "");
}

// The end of the session while the password line is still awaited: there is no upload to
// record yet, and the user is told so rather than that something was recorded.
TEST_F(CliNas, TheEndOfTheSessionBeforeTheUploadBeganSaysNothingWasRecorded) {
    fs::create_directories(share("Family") + "/Trips");
    test::writeFile(work / "memo.txt", "memo\n");
    auto args = deviceArgs();
    for (const std::string a :
         {"--user", kUser, "--password-stdin", "--destination", "Family/Trips"})
        args.push_back(a);
    args.push_back(work / "memo.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    // The password line never comes; the end of the session does.
    ASSERT_TRUE(pollUntil([&] { return child.catches(SIGTERM); }, kDeadline));
    child.signal(SIGTERM);
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    EXPECT_NE((child.output() + child.errors()).find("Ended before the upload began."),
              std::string::npos)
        << child.output() << child.errors();
    EXPECT_EQ(child.output().find("recorded"), std::string::npos) << child.output();
    EXPECT_FALSE(fs::exists(share("Family") + "/Trips/memo.txt"));
    const std::string stateFile = home.path() + "/.local/share/QVTransfer/qvtransfer.plist";
    EXPECT_FALSE(fs::exists(stateFile) &&
                 test::readFile(stateFile).find("sourceFilesPendingArray") != std::string::npos)
        << test::readFile(stateFile);
}

TEST_F(CliNas, ANewUploadNeverTakesThePlaceOfOneThatDidNotFinishUnlessAskedTo) {
    fs::create_directories(share("Family") + "/Trips");
    test::writeFile(work / "src/Other/note.txt", "another upload\n");
    auto uploadArgs = [&](const std::string& source, bool replace) {
        auto args = deviceArgs();
        for (const std::string a :
             {"--user", kUser, "--password-stdin", "--destination", "Family/Trips"})
            args.push_back(a);
        if (replace) args.push_back("--replace-interrupted");
        args.push_back(source);
        return args;
    };
    const std::string stateFile = home.path() + "/.local/share/QVTransfer/qvtransfer.plist";
    const std::string recorded = recordPendingMemo("Family/Trips");
    {
        // The same device, another source: refused before anything is copied, and the
        // interrupted upload stays recorded for --resume.
        ChildProcess child;
        ASSERT_TRUE(start(child, uploadArgs(work / "src/Other", false)));
        child.write(std::string(kPassword) + "\n");
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
        EXPECT_NE(child.errors().find("did not finish"), std::string::npos) << child.errors();
        EXPECT_NE(child.errors().find("--resume"), std::string::npos) << child.errors();
        EXPECT_NE(child.errors().find("--replace-interrupted"), std::string::npos);
        EXPECT_FALSE(fs::exists(share("Family") + "/Trips/Other"));
        EXPECT_EQ(test::readFile(stateFile), recorded);
    }
    {
        // Asked for: the new upload goes, and takes the record's place.
        ChildProcess child;
        ASSERT_TRUE(start(child, uploadArgs(work / "src/Other", true)));
        child.write(std::string(kPassword) + "\n");
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        EXPECT_EQ(test::readFile(share("Family") + "/Trips/Other/note.txt"), "another upload\n");
    }
    ChildProcess child;
    ASSERT_TRUE(startResume(child));
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("There is no interrupted upload to"), std::string::npos)
        << child.errors();
}

TEST_F(CliNas, AUserTheDeviceWouldNotSignInAsIsRefusedAndThePasswordLineIsNeverKeys) {
    // The device has one account without a password: the wizard would sign in as it by itself.
    device_.stop();
    sim::DeviceConfig single = config_;
    single.users = {{kOtherUser, ""}};
    ASSERT_GT(device_.start(single), 0);
    fs::create_directories(share("Public") + "/In");
    test::writeFile(work / "a.txt", "a\n");
    auto args = deviceArgs();
    for (const std::string a : {"--user", kUser, "--password-stdin", "--destination", "Public/In"})
        args.push_back(a);
    args.push_back(work / "a.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    // A password line made of keys: read as the password, never as "s" and "y".
    child.write("sysy\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("The device has no account qvtcli (it has: qvtcli2)."),
              std::string::npos)
        << child.errors();
    EXPECT_FALSE(fs::exists(share("Public") + "/In/a.txt"));

    // The account it has, asked for by name, works; the password line is read and unused.
    auto same = deviceArgs();
    for (const std::string a :
         {"--user", kOtherUser, "--password-stdin", "--destination", "Public/In"})
        same.push_back(a);
    same.push_back(work / "a.txt");
    ChildProcess ok;
    ASSERT_TRUE(start(ok, same));
    ok.write("sysy\n");
    ok.closeInput();
    EXPECT_EQ(ok.waitForExit(kDeadline), 0) << ok.output() << ok.errors();
    EXPECT_EQ(test::readFile(share("Public") + "/In/a.txt"), "a\n");
}

TEST_F(CliNas, AnUploadThatEndsInAnErrorLeavesNoMountPointBehind) {
    test::writeFile(work / "a.txt", "a\n");
    auto args = deviceArgs();
    for (const std::string a : {"--user", kUser, "--password-stdin", "--destination", "Nowhere/x"})
        args.push_back(a);
    args.push_back(work / "a.txt");
    ChildProcess child;
    ASSERT_TRUE(start(child, args));
    child.write(std::string(kPassword) + "\n");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
    const std::string mountFolder = home.path() + "/.QVTransfer";
    EXPECT_TRUE(!fs::exists(mountFolder) || fs::is_empty(mountFolder)) << [&] {
        std::string names;
        for (const auto& e : fs::directory_iterator(mountFolder))
            names += e.path().filename().string() + " ";
        return names;
    }();
}
