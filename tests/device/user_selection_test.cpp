// Choosing a user and checking the password, over real HTTP against the device simulator.
#include <gtest/gtest.h>

#include <mutex>
#include <vector>

#include "device/rest_client.h"

#include "device_simulator.h"
#include "support.h"

using namespace qvt;
using namespace qvt::test;
using devicesim::DeviceConfig;
using devicesim::DeviceSimulator;
using devicesim::Endpoint;

namespace {

DeviceConfig deviceWith(std::vector<devicesim::SimUser> users) {
    DeviceConfig c;
    c.serialNumber = "SN-USERS";
    c.productName = "User Box";
    c.users = std::move(users);
    c.shares = {};
    return c;
}

struct Session {
    explicit Session(const DeviceConfig& config) {
        port = sim.start(config);
        EXPECT_GT(port, 0);
        wizard = QVTransferPrivate::initWithDevice(
            nasDevice(sim.address(), config.serialNumber, config.productName), h.services);
        EXPECT_TRUE(wizard);
        delegate = std::make_shared<RecordingFullDelegate>();
        wizard->setDelegate(delegate);
    }
    ~Session() {
        h.services.dispatch->waitIdle(60);
        wizard.reset();
        sim.stop();
    }
    std::vector<std::string> popupNames() const {
        std::vector<std::string> names;
        for (const auto& u : wizard->usersArrayController.get())
            names.push_back(u.asRecord()->string("username"));
        return names;
    }
    bool screenIs(Screen s) const {
        return wizard->currentTransferView() && *wizard->currentTransferView() == s;
    }
    Harness h{100.0};
    DeviceSimulator sim;
    int port = -1;
    std::shared_ptr<QVTransferPrivate> wizard;
    std::shared_ptr<RecordingFullDelegate> delegate;
};

}  // namespace

TEST(UserSelection, UnsortedUsersAreListedSortedOnTheUsersScreen) {
    Session s(deviceWith({{"mary", "m"}, {"admin", "a"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    EXPECT_FALSE(s.wizard->finishedfetchingUsers);
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    EXPECT_EQ(s.popupNames(), (std::vector<std::string>{"admin", "bob", "mary"}));
    EXPECT_TRUE(s.screenIs(Screen::Users));
    EXPECT_TRUE(s.wizard->nasUsersViewDisplayed);
    // The first entry is chosen: admin, who has a password.
    EXPECT_EQ(s.wizard->userName.get(), "admin");
    EXPECT_TRUE(s.wizard->showPasswordField);
    s.wizard->selectUser(1);
    EXPECT_EQ(s.wizard->userName.get(), "bob");
    EXPECT_FALSE(s.wizard->showPasswordField);
    EXPECT_EQ(s.wizard->userPassword.get(), "");
    EXPECT_TRUE(waitFor([&] { return s.h.log->contains("QVTransfer: allUsers:"); }));
}

TEST(UserSelection, OneUserWithoutPasswordGoesStraightToTheSources) {
    Session s(deviceWith({{"solo", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    EXPECT_TRUE(s.screenIs(Screen::Sources));
    EXPECT_FALSE(s.wizard->nasUsersViewDisplayed);
    EXPECT_EQ(s.wizard->userName.get(), "solo");
    EXPECT_EQ(s.wizard->userPassword.get(), "");
    EXPECT_EQ(s.sim.requestCount(Endpoint::LocalLogin), 0u);
}

TEST(UserSelection, OneUserWithPasswordShowsTheUsersScreenWithThePasswordField) {
    Session s(deviceWith({{"solo", "secret"}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    EXPECT_TRUE(s.screenIs(Screen::Users));
    EXPECT_TRUE(s.wizard->showPasswordField);
    EXPECT_EQ(s.wizard->userName.get(), "solo");
}

TEST(UserSelection, PasswordWithABlankIsEscapedForTheLoginAndAccepted) {
    Session s(deviceWith({{"admin", "a b"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    s.wizard->selectUser(0);
    s.wizard->userPassword.set("a b");
    s.wizard->verifyUserLoginAndSelectSourceFiles();
    EXPECT_NE(s.sim.lastQuery(Endpoint::LocalLogin).find("password=a%20b"), std::string::npos)
        << s.sim.lastQuery(Endpoint::LocalLogin);
    EXPECT_FALSE(s.wizard->incorrectPassword);
    EXPECT_TRUE(s.screenIs(Screen::Sources));
    for (const auto& line : s.h.log->lines())
        EXPECT_EQ(line.find("a b"), std::string::npos) << line;
    for (const auto& line : s.h.log->lines())
        EXPECT_EQ(line.find("a%20b"), std::string::npos) << line;
}

TEST(UserSelection, AnAmpersandInThePasswordIsPartOfIt) {
    Session s(deviceWith({{"admin", "x&y"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    s.wizard->selectUser(0);
    s.wizard->userPassword.set("x&y");
    s.wizard->verifyUserLoginAndSelectSourceFiles();
    EXPECT_NE(s.sim.lastQuery(Endpoint::LocalLogin).find("password=x%26y"), std::string::npos);
    EXPECT_FALSE(s.wizard->incorrectPassword);
    EXPECT_TRUE(s.screenIs(Screen::Sources));
    for (const auto& line : s.h.log->lines()) {
        EXPECT_EQ(line.find("x&y"), std::string::npos) << line;
        EXPECT_EQ(line.find("x%26y"), std::string::npos) << line;
    }
}

TEST(UserSelection, WrongPasswordMarksTheFieldAndStays) {
    Session s(deviceWith({{"admin", "right"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    s.wizard->userPassword.set("wrong");
    s.wizard->verifyUserLoginAndSelectSourceFiles();
    EXPECT_TRUE(s.wizard->incorrectPassword);
    EXPECT_EQ(s.wizard->passwordPlaceholder.get(), s.wizard->localePASSWORD_txt);
    EXPECT_TRUE(s.screenIs(Screen::Users));
    EXPECT_FALSE(s.h.view->called("runModal lostConnectionDialog"));
    // Choosing the user again clears the mark.
    s.wizard->selectUser(0);
    EXPECT_FALSE(s.wizard->incorrectPassword);
}

TEST(UserSelection, EmptyLoginReplyShowsTheLostConnectionSheetWithTag2) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    devicesim::Faults f;
    f.emptyBody = true;
    f.only = {Endpoint::LocalLogin};
    s.sim.setFaults(f);
    s.wizard->userPassword.set("pw");
    // The user answers Retry once the device is back: the login is sent again.
    bool incorrectWhileAsked = true;
    {
        std::lock_guard lock(s.h.view->mutex);
        s.h.view->modalCodes[Dialog::LostConnection] = 1;
        s.h.view->modalHooks[Dialog::LostConnection] = [&] {
            incorrectWhileAsked = s.wizard->incorrectPassword;
            s.sim.clearFaults();
            std::lock_guard again(s.h.view->mutex);
            s.h.view->modalCodes[Dialog::LostConnection] = 0;
        };
    }
    s.wizard->verifyUserLoginAndSelectSourceFiles();
    EXPECT_TRUE(s.h.view->called("runModal lostConnectionDialog"));
    EXPECT_FALSE(incorrectWhileAsked);
    EXPECT_TRUE(s.h.view->called("endModal lostConnectionDialog"));
    EXPECT_EQ(s.sim.requestCount(Endpoint::LocalLogin), 2u);
    EXPECT_TRUE(s.screenIs(Screen::Sources));
}

TEST(UserSelection, LoginReplyWithoutStatusCountsAsAWrongPassword) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    devicesim::Faults f;
    f.malformed = true;
    f.only = {Endpoint::LocalLogin};
    s.sim.setFaults(f);
    s.wizard->userPassword.set("pw");
    s.wizard->verifyUserLoginAndSelectSourceFiles();
    EXPECT_TRUE(s.wizard->incorrectPassword);
}

TEST(UserSelection, UsersReplyWithStatus500LeavesTheScreenUnchanged) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    devicesim::Faults f;
    f.status = 500;
    f.only = {Endpoint::Users};
    s.sim.setFaults(f);
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    EXPECT_EQ(s.wizard->currentTransferView(), nullptr);
    EXPECT_TRUE(s.wizard->usersArrayController.get().empty());
    EXPECT_FALSE(s.h.view->called("runModal lostConnectionDialog"));
}

TEST(UserSelection, EmptyUsersReplyShowsTheSheetWithTag1AndRetryFetchesAgain) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    s.sim.setEmptyBody(true);
    // The user answers Retry once the device is back: the users are asked for again.
    std::atomic<bool> fetchedWhileAsked{true};
    {
        std::lock_guard lock(s.h.view->mutex);
        s.h.view->modalCodes[Dialog::LostConnection] = 1;
        s.h.view->modalHooks[Dialog::LostConnection] = [&] {
            fetchedWhileAsked = s.wizard->finishedfetchingUsers.load();
            s.sim.clearFaults();
            std::lock_guard again(s.h.view->mutex);
            s.h.view->modalCodes[Dialog::LostConnection] = 0;
        };
    }
    s.wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return s.h.view->called("runModal lostConnectionDialog"); }, 20));
    ASSERT_TRUE(waitFor([&] { return s.wizard->finishedfetchingUsers.load(); }, 20));
    EXPECT_FALSE(fetchedWhileAsked);
    EXPECT_EQ(s.sim.requestCount(Endpoint::Users), 2u);
    EXPECT_TRUE(s.screenIs(Screen::Users));
    EXPECT_NE(s.h.view->texts["uploadWindowHeading"].find("User Box"), std::string::npos);
}

// The sentence of the lost-connection dialog once it has been run.
std::string lostConnectionSentence(Session& s) {
    EXPECT_TRUE(waitFor([&] { return s.h.view->called("runModal lostConnectionDialog"); }, 20));
    std::lock_guard lock(s.h.view->mutex);
    return s.h.view->texts["lostConnectionMessage"];
}

TEST(UserSelection, AnAnswerThatSaysNothingIsToldAsNotUnderstoodNotAsNoConnection) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    s.sim.setEmptyBody(true);
    s.wizard->startFileTransfer();
    const std::string said = lostConnectionSentence(s);
    EXPECT_EQ(said,
              "The device's answer could not be understood. It may not be the device you expect.");
    EXPECT_EQ(s.wizard->deviceProblemSentence.get(), said);
}

TEST(UserSelection, NoAnswerAtAllIsToldAsNoConnection) {
    Session s(deviceWith({{"admin", "pw"}, {"bob", ""}}));
    s.sim.stop();
    s.wizard->startFileTransfer();
    EXPECT_EQ(lostConnectionSentence(s), s.wizard->localeLOST_CONNECTION_MSG_txt);
    EXPECT_NE(s.wizard->localeLOST_CONNECTION_MSG_txt.find("User Box"), std::string::npos);
}

// The real HTTP client with every time-out cut to a thirtieth: the request still times out in
// libcurl against a real silent server, without the test waiting the full half-minute. The
// time-outs asked for are recorded.
class ShortTimeoutClient : public HttpClient {
  public:
    HttpReply get(const std::string& url, double timeoutSeconds) override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            asked_.push_back(timeoutSeconds);
        }
        return real_.get(url, timeoutSeconds / 30);
    }
    std::vector<double> asked() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return asked_;
    }

  private:
    CurlHttpClient real_;
    mutable std::mutex mutex_;
    std::vector<double> asked_;
};

TEST(UserSelection, SilentDeviceShowsTheSheetAfterTheTimeOut) {
    DeviceSimulator sim;
    DeviceConfig config = deviceWith({{"admin", "pw"}, {"bob", ""}});
    ASSERT_GT(sim.start(config), 0);
    Harness h{100.0};
    auto client = std::make_shared<ShortTimeoutClient>();
    h.services.http = client;
    auto wizard = QVTransferPrivate::initWithDevice(
        nasDevice(sim.address(), config.serialNumber, config.productName), h.services);
    ASSERT_TRUE(wizard);
    sim.setSilent(true);
    wizard->startFileTransfer();
    ASSERT_TRUE(waitFor([&] { return h.view->called("runModal lostConnectionDialog"); }, 20));
    // The users request asked for the full half-minute: a device slow to answer is waited for.
    ASSERT_FALSE(client->asked().empty());
    EXPECT_EQ(client->asked().front(), 30.0);
    sim.setSilent(false);
    h.services.dispatch->waitIdle(60);
    wizard.reset();
    sim.stop();
}

TEST(Discovery, NothingHappensUnlessReconnecting) {
    Harness h;
    auto c = QVTransferPrivate::initWithDevice(nasDevice("10.0.0.1", "SN1"), h.services);
    Record devices{{"NAS", List{Record{{"serialNumber", "SN1"}, {"ipAddress", "10.0.0.9"}}}},
                   {"DAS", List{}}};
    c->discovereDevicesForTransfer(devices);
    EXPECT_EQ(c->deviceInfo().string("ipAddress"), "10.0.0.1");
    EXPECT_FALSE(h.log->contains("QVTransfer: discovereDevicesForTransfer"));
}

TEST(Discovery, MatchingNetworkDeviceReplacesTheAddressAndResumes) {
    Harness h;
    auto c = QVTransferPrivate::initWithDevice(nasDevice("10.0.0.1", "SN1"), h.services);
    c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    Record devices{{"NAS", List{Record{{"serialNumber", "OTHER"}, {"ipAddress", "10.0.0.5"}},
                                Record{{"serialNumber", "SN1"}, {"ipAddress", "10.0.0.9"}},
                                Record{{"serialNumber", "SN1"}, {"ipAddress", "10.0.0.7"}}}}};
    c->discovereDevicesForTransfer(devices);
    EXPECT_EQ(c->deviceInfo().string("ipAddress"), "10.0.0.9");
    EXPECT_EQ(c->deviceInfo().string("serialNumber"), "SN1");
    EXPECT_EQ(h.log->count("QVTransfer: discovereDevicesForTransfer: selectedDeviceDict: "), 1u);
    EXPECT_EQ(h.log->count("QVTransfer: resumeTransferAfterDisconnect"), 1u);
}

TEST(Discovery, DirectlyAttachedVolumeHeldByTwoEntriesResumesTwice) {
    Harness h;
    auto c = QVTransferPrivate::initWithDevice(dasDevice(), h.services);
    c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    c->selectedDASUUID.set("UUID-1");
    Record vol{{"uuid", "UUID-1"}};
    Record devices{
        {"DAS", List{Record{{"volumeArray", List{Record{{"uuid", "X"}}, vol, vol}}},
                     Record{{"volumeArray", "broken"}}, Record{{"volumeArray", List{vol}}}}}};
    c->discovereDevicesForTransfer(devices);
    EXPECT_EQ(h.log->count("QVTransfer: resumeTransferAfterDisconnect"), 2u);
}

TEST(Discovery, MalformedDeviceListsChangeNothing) {
    Harness h;
    auto c = QVTransferPrivate::initWithDevice(nasDevice("10.0.0.1", "SN1"), h.services);
    c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    c->discovereDevicesForTransfer(Record{{"NAS", "not a list"}});
    c->discovereDevicesForTransfer(Record{{"NAS", List{1, "x", Record{}}}});
    c->discovereDevicesForTransfer(Record{});
    EXPECT_EQ(c->deviceInfo().string("ipAddress"), "10.0.0.1");
    EXPECT_EQ(h.log->count("QVTransfer: resumeTransferAfterDisconnect"), 0u);
}
