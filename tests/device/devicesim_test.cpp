// The simulated device itself: its configuration file, its replies, its fault switches and
// its command-line program.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "device/rest_client.h"
#include "device_simulator.h"
#include "device_test_support.h"
#include "support/support.h"

using namespace qvt;
using devicesim::DeviceSimulator;
using devicesim::Endpoint;

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

TEST(DeviceSim, CommandLineProgram) {
    const char* buildDir = std::getenv("QVT_BUILD_DIR");
    ASSERT_NE(buildDir, nullptr);
    const std::string program = std::string(buildDir) + "/apps/devicesim/qvtransfer-devicesim";
    ASSERT_EQ(access(program.c_str(), X_OK), 0) << program;
    const std::string config = demoConfigPath();

    int out[2];
    ASSERT_EQ(pipe(out), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        close(out[1]);
        execl(program.c_str(), program.c_str(), "--config", config.c_str(), "--listen",
              "127.0.0.1:0", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(out[1]);
    std::string line;
    char c = 0;
    while (read(out[0], &c, 1) == 1 && c != '\n') line += c;
    close(out[0]);
    ASSERT_EQ(line.rfind("127.0.0.1:", 0), 0u) << line;

    CurlHttpClient client;
    HttpReply users = client.get(url(line, "users"), 5);
    EXPECT_EQ(users.status, 200);
    EXPECT_NE(users.body.find("<username>guest</username>"), std::string::npos);

    kill(pid, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
