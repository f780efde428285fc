// The device requests over real HTTP against the simulated device.
#include <gtest/gtest.h>

#include <chrono>

#include "capture_log.h"
#include "device/device_requests.h"
#include "device/rest_client.h"
#include "device/xml_record.h"
#include "device_test_support.h"
#include "platform/log.h"

using namespace qvt;
using namespace qvt::device;
using devicesim::DeviceSimulator;
using devicesim::Endpoint;

namespace {

class DeviceRest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_GT(sim.start(test::threeUserDevice()), 0);
        ip = sim.address();
    }
    DeviceSimulator sim;
    CurlHttpClient client;
    std::string ip;
};

}  // namespace

TEST(DeviceUrls, FormatsAndTimeOuts) {
    EXPECT_EQ(usersRequest("10.0.0.5").url, "http://10.0.0.5/api/1.0/rest/users");
    EXPECT_EQ(usersRequest("10.0.0.5").timeoutSeconds, 30);
    EXPECT_EQ(loginRequest("10.0.0.5", "admin", "pw").url,
              "http://10.0.0.5/api/1.0/rest/local_login?format=xml&username=admin&password=pw");
    EXPECT_EQ(loginRequest("10.0.0.5", "admin", "pw").timeoutSeconds, 30);
    EXPECT_EQ(sharesRequest("10.0.0.5:8080", "admin", "pw").url,
              "http://10.0.0.5:8080/api/1.0/rest/shares?auth_username=admin&auth_password=pw");
    EXPECT_EQ(sharesRequest("10.0.0.5", "admin", "pw").timeoutSeconds, 30);
    EXPECT_EQ(systemInformationRequest("10.0.0.5").url,
              "http://10.0.0.5/api/1.0/rest/system_information");
    EXPECT_EQ(systemInformationRequest("10.0.0.5").timeoutSeconds, 10);
}

TEST(DeviceUrls, AccountValuesAreEscapedAsWholeQueryValues) {
    // Both requests escape the user name and the password as whole values: only unreserved
    // characters stay, so nothing in them can end the value or the query.
    EXPECT_EQ(loginRequest("h", "J\xC3\xBCrgen", "a b%c#d&e=f+g").url,
              "http://h/api/1.0/rest/local_login?format=xml&username=J%C3%BCrgen"
              "&password=a%20b%25c%23d%26e%3Df%2Bg");
    EXPECT_EQ(sharesRequest("h", "J\xC3\xBCrgen", "a b%c#d&e=f+g").url,
              "http://h/api/1.0/rest/shares?auth_username=J%C3%BCrgen"
              "&auth_password=a%20b%25c%23d%26e%3Df%2Bg");
    // Letters and digits go out exactly as they are.
    EXPECT_EQ(sharesRequest("h", "admin", "Pa55w0rd").url,
              "http://h/api/1.0/rest/shares?auth_username=admin&auth_password=Pa55w0rd");
    EXPECT_EQ(escapeQueryValue("AZaz09-._~"), "AZaz09-._~");
    EXPECT_EQ(escapeQueryValue("!$&'()*+,;=:@/?"), "%21%24%26%27%28%29%2A%2B%2C%3B%3D%3A%40%2F%3F");
    // The endpoint itself is still escaped as a whole.
    EXPECT_EQ(addPercentEscapes("AZaz09-._~!$&'()*+,;=:@/?"), "AZaz09-._~!$&'()*+,;=:@/?");
    EXPECT_EQ(addPercentEscapes(" \"<>[]\\^`{|}%#\x7F"),
              "%20%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%25%23%7F");
}

TEST(DeviceUrls, LogFormsHideThePassword) {
    EXPECT_EQ(sharesRequest("h", "admin", "p&q w").logForm,
              "http://h/api/1.0/rest/shares?auth_username=admin&auth_password=***");
    EXPECT_EQ(loginRequest("h", "admin", "p&q w").logForm,
              "http://h/api/1.0/rest/local_login?format=xml&username=admin&password=***");
    // A user name that holds the password is masked as well: no copy of it may be logged.
    EXPECT_EQ(loginRequest("h", "secret", "secret").logForm.find("secret"), std::string::npos);
}

TEST_F(DeviceRest, ThreeUsersGiveThreeRecords) {
    UsersReply reply = requestUsers(client, ip);
    EXPECT_EQ(reply.status, 200);
    ASSERT_EQ(reply.users.size(), 3u);
    const char* names[] = {"admin", "bob", "cut"};
    const char* flags[] = {"true", "false", "true"};
    for (std::size_t i = 0; i < 3; ++i) {
        const Record* u = reply.users[i].asRecord();
        ASSERT_NE(u, nullptr);
        EXPECT_EQ(u->string("username"), names[i]);
        EXPECT_EQ(u->string("is_password"), flags[i]);
    }
    // The root record's keys, as the conversion stored them.
    auto root = sendAndConvert(client, usersRequest(ip));
    ASSERT_TRUE(root);
    EXPECT_EQ(root->keys(), (std::vector<std::string>{"user", "user_1", "user_2"}));
    EXPECT_EQ(sim.requestCount(Endpoint::Users), 2u);
}

TEST_F(DeviceRest, StatusIsKept) {
    sim.setStatus(500);
    UsersReply reply = requestUsers(client, ip);
    EXPECT_EQ(reply.status, 500);
    EXPECT_EQ(reply.users.size(), 3u);
}

TEST_F(DeviceRest, TwoShareAccessValues) {
    platform::CaptureLog log;
    auto shares = getAllShares(client, ip, "admin", "a b", log);
    ASSERT_TRUE(shares);
    ASSERT_EQ(shares->size(), 2u);
    const Record* backup = (*shares)[1].asRecord();
    ASSERT_NE(backup, nullptr);
    EXPECT_EQ(backup->string("share_name"), "Backup");
    EXPECT_EQ(backup->string("public_access"), "false");
    EXPECT_EQ(backup->string("share_access"), "RW");
    EXPECT_EQ(backup->string("share_access_1"), "RO");
    EXPECT_FALSE((*shares)[0].asRecord()->contains("share_access_1"));
}

TEST_F(DeviceRest, AnyPasswordReachesTheDeviceAsItself) {
    const std::string password = "Pa55 w0rd&x=1%+#\xC3\xA9";
    devicesim::DeviceConfig config = test::threeUserDevice();
    config.users.push_back({"odd", password});
    sim.setConfig(config);
    LoginReply login = requestLogin(client, ip, "odd", password);
    EXPECT_TRUE(loginSucceeded(login.record));
    EXPECT_EQ(sim.lastQuery(Endpoint::LocalLogin),
              "format=xml&username=odd&password=Pa55%20w0rd%26x%3D1%25%2B%23%C3%A9");

    platform::CaptureLog log;
    auto shares = getAllShares(client, ip, "odd", password, log);
    EXPECT_EQ(sim.lastQuery(Endpoint::Shares),
              "auth_username=odd&auth_password=Pa55%20w0rd%26x%3D1%25%2B%23%C3%A9");
    ASSERT_TRUE(shares);
    EXPECT_EQ(shares->size(), 2u);
}

TEST_F(DeviceRest, AnAmpersandNoLongerCutsThePassword) {
    // User "cut" has the password "x": "x&tail=1" is another password, and is refused.
    LoginReply login = requestLogin(client, ip, "cut", "x&tail=1");
    EXPECT_EQ(sim.lastQuery(Endpoint::LocalLogin), "format=xml&username=cut&password=x%26tail%3D1");
    EXPECT_FALSE(loginSucceeded(login.record));

    platform::CaptureLog log;
    auto shares = getAllShares(client, ip, "cut", "x&tail=1", log);
    EXPECT_EQ(sim.lastQuery(Endpoint::Shares), "auth_username=cut&auth_password=x%26tail%3D1");
    EXPECT_EQ(log.count("HTTP 401"), 1u);
    EXPECT_EQ(log.count("tail"), 0u);
}

TEST_F(DeviceRest, WrongPasswordGivesFailureStatus) {
    LoginReply login = requestLogin(client, ip, "admin", "wrong");
    ASSERT_TRUE(login.record);
    EXPECT_EQ(login.record->string("status"), "failure");
    EXPECT_FALSE(loginSucceeded(login.record));

    platform::CaptureLog log;
    auto shares = getAllShares(client, ip, "admin", "wrong", log);
    // The device's error reply converts like any other: its values are not share records.
    ASSERT_TRUE(shares);
    for (const Value& v : *shares) EXPECT_FALSE(v.isRecord());
}

TEST_F(DeviceRest, EmptyLoginBodyGivesNothing) {
    sim.setEmptyBody(true);
    LoginReply login = requestLogin(client, ip, "admin", "a b");
    EXPECT_FALSE(login.record);
    EXPECT_FALSE(loginSucceeded(login.record));
    EXPECT_EQ(sim.requestCount(Endpoint::LocalLogin), 1u);
    platform::CaptureLog log;
    EXPECT_FALSE(getAllShares(client, ip, "admin", "a b", log));
    EXPECT_TRUE(log.contains("QVTransfer: getAllShares: "));
}

TEST_F(DeviceRest, MalformedRepliesAreRepairedOrDropped) {
    // The device sends the first half of each reply followed by stray markup.
    sim.setMalformed(true);
    UsersReply users = requestUsers(client, ip);
    EXPECT_EQ(users.status, 200);
    // What arrived is repaired: the first user came whole, the third never did.
    ASSERT_GE(users.users.size(), 1u);
    EXPECT_LT(users.users.size(), 3u);
    ASSERT_NE(users.users[0].asRecord(), nullptr);
    EXPECT_EQ(users.users[0].asRecord()->string("username"), "admin");
    // The serial number lies in the lost half.
    EXPECT_FALSE(requestSystemInformation(client, ip).serialNumber);
    EXPECT_EQ(sim.requestCount(Endpoint::SystemInformation), 1u);
}

TEST_F(DeviceRest, SerialNumber) {
    EXPECT_EQ(requestSystemInformation(client, ip).serialNumber, "SN-0042");
    sim.setSerialNumber("OTHER-1");
    EXPECT_EQ(requestSystemInformation(client, ip).serialNumber, "OTHER-1");
    sim.setEmptyBody(true);
    EXPECT_FALSE(requestSystemInformation(client, ip).serialNumber);
}

TEST_F(DeviceRest, PrettyPrintedRepliesConvertLikeCompact) {
    const std::vector<DeviceRequest> requests = {usersRequest(ip), loginRequest(ip, "admin", "a b"),
                                                 sharesRequest(ip, "admin", "a b"),
                                                 systemInformationRequest(ip)};
    for (const DeviceRequest& request : requests) {
        sim.setPrettyPrinted(false);
        const HttpReply compactReply = client.get(request.url, request.timeoutSeconds);
        sim.setPrettyPrinted(true);
        const HttpReply prettyReply = client.get(request.url, request.timeoutSeconds);
        ASSERT_NE(compactReply.body, prettyReply.body) << request.logForm;
        ASSERT_NE(prettyReply.body.find("\n  <"), std::string::npos);
        auto compact = recordFromXmlReply(compactReply.body);
        auto pretty = recordFromXmlReply(prettyReply.body);
        ASSERT_TRUE(compact);
        ASSERT_TRUE(pretty);
        EXPECT_FALSE(compact->empty());
        EXPECT_EQ(*compact, *pretty) << request.logForm;
    }
}

TEST_F(DeviceRest, SilentDeviceGivesEmptyReplyAfterTimeOut) {
    sim.setSilent(true);
    const auto start = std::chrono::steady_clock::now();
    const HttpReply reply = client.get(usersRequest(ip).url, 1.0);
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_TRUE(reply.body.empty());
    EXPECT_EQ(reply.status, 0);
    EXPECT_GE(elapsed, 0.9);
    EXPECT_LT(elapsed, 10.0);
    EXPECT_EQ(sim.requestCount(Endpoint::Users), 1u);
    sim.setSilent(false);
    EXPECT_EQ(requestUsers(client, ip).users.size(), 3u);
}

TEST_F(DeviceRest, UnreachableDeviceGivesEmptyReply) {
    sim.stop();
    const HttpReply reply = client.get(usersRequest(ip).url, 5.0);
    EXPECT_TRUE(reply.body.empty());
    EXPECT_EQ(reply.status, 0);
    UsersReply users = requestUsers(client, ip);
    EXPECT_TRUE(users.users.empty());
}

TEST_F(DeviceRest, AControlCharacterInAnAccountGoesOutEscaped) {
    test::CountingClient counting;
    platform::CaptureLog log;
    getAllShares(counting, ip, "ad\x01min", "a\nb", log);
    ASSERT_EQ(counting.urls().size(), 1u);
    EXPECT_EQ(sim.lastQuery(Endpoint::Shares), "auth_username=ad%01min&auth_password=a%0Ab");
    EXPECT_EQ(log.count("HTTP 401"), 1u);
}

TEST_F(DeviceRest, UrlThatCannotBeMadeSendsNothing) {
    // A control character cannot stand in a host name, escaped or not.
    const HttpReply reply = client.get("http://h\x01st/api/1.0/rest/users", 5.0);
    EXPECT_TRUE(reply.body.empty());
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(replySummary(reply, false), "no answer");
    EXPECT_EQ(sim.requestCount(Endpoint::Users), 0u);
}

TEST_F(DeviceRest, TheReplySummaryTellsWhatHappenedWithoutTheContent) {
    HttpReply reply;
    reply.status = 200;
    reply.body = "<x>secret</x>";
    EXPECT_EQ(replySummary(reply, true), "HTTP 200, 13 bytes");
    EXPECT_EQ(replySummary(reply, false), "HTTP 200, 13 bytes, not understood");
    reply.body.clear();
    reply.bytes = 70000000;
    reply.failure = HttpReply::Failure::TooLarge;
    EXPECT_EQ(replySummary(reply, false), "HTTP 200, 70000000 bytes, too large (dropped)");
    reply.failure = HttpReply::Failure::TooSlow;
    EXPECT_EQ(replySummary(reply, false), "no answer in time");
}

TEST_F(DeviceRest, WhatWentWrongIsToldApartFromNoAnswer) {
    HttpReply reply;
    EXPECT_EQ(replyProblem(reply, false), ReplyProblem::NoAnswer);
    reply.status = 200;
    reply.body = "<x/>";
    EXPECT_EQ(replyProblem(reply, true), ReplyProblem::None);
    EXPECT_EQ(replyProblem(reply, false), ReplyProblem::NotUnderstood);
    reply.failure = HttpReply::Failure::TooLarge;
    EXPECT_EQ(replyProblem(reply, false), ReplyProblem::TooLarge);
    reply.status = 0;
    reply.failure = HttpReply::Failure::TooSlow;
    EXPECT_EQ(replyProblem(reply, false), ReplyProblem::TooSlow);
    EXPECT_STREQ(replyProblemTextKey(ReplyProblem::TooSlow), "REPLY_TOO_SLOW_txt");
    EXPECT_STREQ(replyProblemTextKey(ReplyProblem::TooLarge), "REPLY_TOO_LARGE_txt");
    EXPECT_STREQ(replyProblemTextKey(ReplyProblem::NotUnderstood), "REPLY_NOT_UNDERSTOOD_txt");
    EXPECT_STREQ(replyProblemTextKey(ReplyProblem::NoAnswer), "");
}

TEST_F(DeviceRest, NonAsciiPasswordArrivesAsUtf8Escapes) {
    devicesim::DeviceConfig config = test::threeUserDevice();
    config.users.push_back({"j\xC3\xBCrgen", "p\xC3\xA4ss"});
    sim.setConfig(config);
    LoginReply login = requestLogin(client, ip, "j\xC3\xBCrgen", "p\xC3\xA4ss");
    EXPECT_EQ(sim.lastQuery(Endpoint::LocalLogin),
              "format=xml&username=j%C3%BCrgen&password=p%C3%A4ss");
    EXPECT_TRUE(loginSucceeded(login.record));
}

TEST_F(DeviceRest, GetAllSharesSendsOneRequestAndLogsWithoutPassword) {
    test::CountingClient counting;
    platform::CaptureLog log;
    const std::string password = "a b";
    auto shares = getAllShares(counting, ip, "admin", password, log);
    ASSERT_TRUE(shares);
    ASSERT_EQ(counting.urls().size(), 1u);
    EXPECT_EQ(counting.urls()[0],
              "http://" + ip + "/api/1.0/rest/shares?auth_username=admin&auth_password=a%20b");
    EXPECT_EQ(counting.timeouts()[0], 30);

    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    const std::string expectedStart =
        "QVTransfer: getAllShares: http://" + ip +
        "/api/1.0/rest/shares?auth_username=admin&auth_password=***\n";
    EXPECT_EQ(lines[0].rfind(expectedStart, 0), 0u) << lines[0];
    // What the device answered to a request that carried the password is summed up, never
    // written out.
    EXPECT_NE(lines[0].find("HTTP 200"), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find("2 shares"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].find("Backup"), std::string::npos) << lines[0];
    for (const std::string& line : lines) {
        EXPECT_EQ(line.find(password), std::string::npos);
        EXPECT_EQ(line.find("a%20b"), std::string::npos);
    }
}
