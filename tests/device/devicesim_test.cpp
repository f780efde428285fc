// The simulated device itself: its configuration file, its replies, its fault switches and
// its command-line program.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "device/rest_client.h"
#include "device_simulator.h"
#include "device_test_support.h"
#include "support/child_process.h"
#include "support/support.h"

using namespace qvt;
using devicesim::DeviceSimulator;
using devicesim::Endpoint;
namespace fs = std::filesystem;

namespace {

std::string demoConfigPath() {
    const char* data = std::getenv("QVT_TEST_DATA");
    return std::string(data ? data : "tests/data") + "/../../resources/devicesim/demo-device.plist";
}

std::string url(const std::string& ip, const std::string& rest) {
    return "http://" + ip + "/api/1.0/rest/" + rest;
}

}  // namespace

TEST(DeviceSimConfig, DemoConfiguration) {
    auto config = devicesim::loadDeviceConfig(demoConfigPath());
    ASSERT_TRUE(config) << demoConfigPath();
    EXPECT_FALSE(config->serialNumber.empty());
    EXPECT_FALSE(config->productName.empty());
    ASSERT_EQ(config->users.size(), 2u);
    EXPECT_EQ(config->users[0].username, "admin");
    EXPECT_EQ(config->users[0].password, "admin");
    EXPECT_EQ(config->users[1].username, "guest");
    EXPECT_EQ(config->users[1].password, "");
    ASSERT_EQ(config->shares.size(), 2u);
    EXPECT_EQ(config->shares[0].shareName, "Public");
    EXPECT_TRUE(config->shares[0].publicAccess);
    EXPECT_EQ(config->shares[1].shareName, "Backup");
    EXPECT_FALSE(config->shares[1].publicAccess);
    EXPECT_FALSE(config->shares[1].shareAccess.empty());
}

TEST(DeviceSimConfig, RelativeSharePathsAndMissingFile) {
    test::TempDir dir;
    test::writeFile(dir / "dev.plist",
                    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                    "<key>serialNumber</key><string>S1</string>"
                    "<key>shares</key><array><dict><key>share_name</key><string>A</string>"
                    "<key>public_access</key><true/><key>share_access</key><string>RW</string>"
                    "<key>path</key><string>data/A</string></dict></array></dict></plist>");
    auto config = devicesim::loadDeviceConfig(dir / "dev.plist");
    ASSERT_TRUE(config);
    ASSERT_EQ(config->shares.size(), 1u);
    EXPECT_TRUE(config->shares[0].publicAccess);
    EXPECT_EQ(config->shares[0].shareAccess, std::vector<std::string>{"RW"});
    EXPECT_EQ(config->shares[0].path, dir / "data/A");
    EXPECT_FALSE(devicesim::loadDeviceConfig(dir / "missing.plist"));
}

TEST(DeviceSim, RepliesAsADeviceDoes) {
    DeviceSimulator sim;
    ASSERT_GT(sim.start(test::threeUserDevice()), 0);
    CurlHttpClient client;
    const std::string ip = sim.address();

    HttpReply users = client.get(url(ip, "users"), 5);
    EXPECT_EQ(users.status, 200);
    EXPECT_NE(users.body.find("<users><user><username>admin</username>"), std::string::npos);
    EXPECT_NE(users.body.find("<username>bob</username><fullname></fullname>"
                              "<is_password>false</is_password>"),
              std::string::npos);

    HttpReply login = client.get(url(ip, "local_login?format=xml&username=bob&password="), 5);
    EXPECT_NE(login.body.find("<local_login><status>success</status></local_login>"),
              std::string::npos);
    login = client.get(url(ip, "local_login?format=xml&username=nobody&password="), 5);
    EXPECT_NE(login.body.find("<status>failure</status>"), std::string::npos);

    HttpReply shares = client.get(url(ip, "shares?auth_username=bob&auth_password="), 5);
    EXPECT_EQ(shares.status, 200);
    EXPECT_NE(shares.body.find("<share_name>Backup</share_name>"), std::string::npos);
    EXPECT_NE(shares.body.find("<share_access>RW</share_access><share_access>RO</share_access>"),
              std::string::npos);
    shares = client.get(url(ip, "shares?auth_username=bob&auth_password=x"), 5);
    EXPECT_EQ(shares.status, 401);
    EXPECT_EQ(shares.body.find("share_name"), std::string::npos);

    HttpReply info = client.get(url(ip, "system_information"), 5);
    EXPECT_NE(info.body.find("<serial_number>SN-0042</serial_number>"), std::string::npos);

    EXPECT_EQ(client.get(url(ip, "nothing_here"), 5).status, 404);
    EXPECT_EQ(sim.requestCount(Endpoint::Users), 1u);
    EXPECT_EQ(sim.requestCount(Endpoint::LocalLogin), 2u);
    EXPECT_EQ(sim.requestCount(Endpoint::Shares), 2u);
    EXPECT_EQ(sim.requestCount(Endpoint::SystemInformation), 1u);
    EXPECT_EQ(sim.lastQuery(Endpoint::Shares), "auth_username=bob&auth_password=x");
    sim.resetCounters();
    EXPECT_EQ(sim.requestCount(Endpoint::Shares), 0u);
    EXPECT_EQ(sim.lastQuery(Endpoint::Shares), "");
}

TEST(DeviceSim, FaultsApplyToChosenEndpoints) {
    DeviceSimulator sim;
    ASSERT_GT(sim.start(test::threeUserDevice()), 0);
    CurlHttpClient client;
    const std::string ip = sim.address();
    devicesim::Faults faults;
    faults.status = 503;
    faults.emptyBody = true;
    faults.only = {Endpoint::SystemInformation};
    sim.setFaults(faults);
    HttpReply info = client.get(url(ip, "system_information"), 5);
    EXPECT_EQ(info.status, 503);
    EXPECT_TRUE(info.body.empty());
    HttpReply users = client.get(url(ip, "users"), 5);
    EXPECT_EQ(users.status, 200);
    EXPECT_FALSE(users.body.empty());
    sim.clearFaults();
    EXPECT_EQ(client.get(url(ip, "system_information"), 5).status, 200);
}

TEST(DeviceSim, SilentRequestIsReleasedWhenSwitchedOff) {
    DeviceSimulator sim;
    ASSERT_GT(sim.start(test::threeUserDevice()), 0);
    const std::string ip = sim.address();
    sim.setSilent(true);
    HttpReply reply;
    std::thread requester([&] {
        CurlHttpClient client;
        reply = client.get(url(ip, "users"), 20);
    });
    // The request is held, not refused: it arrived and waits.
    EXPECT_TRUE(sim.waitForRequests(Endpoint::Users, 1, std::chrono::seconds(10)));
    sim.setSilent(false);
    requester.join();
    EXPECT_EQ(reply.status, 200);
    EXPECT_NE(reply.body.find("<users>"), std::string::npos);
}

TEST(DeviceSim, StopReleasesHeldRequestsAndRestartsOnTheSamePort) {
    DeviceSimulator sim;
    const int port = sim.start(test::threeUserDevice());
    ASSERT_GT(port, 0);
    const std::string ip = sim.address();
    sim.setSilent(true);
    HttpReply reply;
    std::thread requester([&] {
        CurlHttpClient client;
        reply = client.get(url(ip, "users"), 20);
    });
    EXPECT_TRUE(sim.waitForRequests(Endpoint::Users, 1, std::chrono::seconds(10)));
    const auto start = std::chrono::steady_clock::now();
    sim.stop();
    requester.join();
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
              10.0);
    EXPECT_TRUE(reply.body.empty());
    EXPECT_FALSE(sim.running());

    ASSERT_EQ(sim.start(test::threeUserDevice(), "127.0.0.1", port), port);
    sim.clearFaults();
    CurlHttpClient client;
    EXPECT_EQ(client.get(url(ip, "users"), 5).status, 200);
}

std::string programPath() {
    const char* buildDir = std::getenv("QVT_BUILD_DIR");
    return std::string(buildDir ? buildDir : ".") + "/apps/devicesim/qvtransfer-devicesim";
}

// The line of the program's output that starts with `prefix`, once it is there ("" at the
// deadline). Each line is written whole, in one write, when the program prints it.
std::string lineStartingWith(test::ChildProcess& program, const std::string& prefix) {
    if (!program.waitForOutput(prefix, 20)) return "";
    const std::string& out = program.output();
    const std::size_t at = out.find(prefix);
    const std::size_t end = out.find('\n', at);
    return out.substr(at, end == std::string::npos ? std::string::npos : end - at);
}

TEST(DeviceSim, CommandLineProgram) {
    test::ChildProcess program;
    ASSERT_TRUE(
        program.start(programPath(), {"--config", demoConfigPath(), "--listen", "127.0.0.1:0"}));
    const std::string line = lineStartingWith(program, "127.0.0.1:");
    ASSERT_FALSE(line.empty()) << program.output() << program.errors();

    CurlHttpClient client;
    HttpReply users = client.get(url(line, "users"), 5);
    EXPECT_EQ(users.status, 200);
    EXPECT_NE(users.body.find("<username>guest</username>"), std::string::npos);
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForExit(20), 0);
}

int shellStatus(const std::string& command) {
    const int rc = std::system(command.c_str());
    return rc != -1 && WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

TEST(DeviceSim, CommandLineProgramServesTheSharesOverSmbWhenAsked) {
    test::TempDir dir;
    fs::create_directories(dir / "Box");
    fs::create_directories(dir / "Open");
    test::writeFile(dir / "device.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>serialNumber</key><string>SN-SMB</string>
<key>productName</key><string>Smb Box</string>
<key>users</key><array>
<dict><key>username</key><string>qvtsimowner</string><key>password</key><string>sim pw</string></dict>
</array>
<key>shares</key><array>
<dict><key>share_name</key><string>Box</string><key>public_access</key><string>false</string>
<key>share_access</key><array><string>RW</string></array><key>path</key><string>Box</string></dict>
<dict><key>share_name</key><string>Open</string><key>public_access</key><string>true</string>
<key>share_access</key><array><string>RW</string></array><key>path</key><string>Open</string></dict>
</array></dict></plist>
)");
    test::ChildProcess program;
    ASSERT_TRUE(program.start(
        programPath(), {"--config", dir / "device.plist", "--listen", "127.0.0.1:0", "--smb"}));
    ASSERT_FALSE(lineStartingWith(program, "127.0.0.1:").empty())
        << program.output() << program.errors();
    const std::string smb = lineStartingWith(program, "smb 127.0.0.1:");
    ASSERT_FALSE(smb.empty()) << program.output() << program.errors();
    const std::string port = smb.substr(smb.rfind(':') + 1);

    // smbclient reads the login from a file, so the password is on no command line.
    test::writeFile(dir / "auth", "username = qvtsimowner\npassword = sim pw\n");
    test::writeFile(dir / "note.txt", "on the share");
    const std::string client = "timeout 30 smbclient -p " + port + " > /dev/null 2>&1 ";
    const std::string put = " -c 'lcd \"" + dir.path() + "\"; put note.txt'";
    // The private share takes the device's user, and its file lands in the share's folder.
    EXPECT_EQ(shellStatus(client + "//127.0.0.1/Box -A '" + (dir / "auth") + "'" + put), 0);
    EXPECT_EQ(test::readFile(dir / "Box/note.txt"), "on the share");
    // The public share takes a guest; the private one does not.
    EXPECT_EQ(shellStatus(client + "//127.0.0.1/Open -N" + put), 0);
    EXPECT_EQ(test::readFile(dir / "Open/note.txt"), "on the share");
    EXPECT_NE(shellStatus(client + "//127.0.0.1/Box -N -c 'ls'"), 0);

    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForExit(20), 0);
    // smbd went with the program.
    EXPECT_NE(shellStatus(client + "//127.0.0.1/Open -N -c 'ls'"), 0);
}
