// The controller's construction, initial state, delegate flag, screens, back navigation and
// closing, driven headless through a scripted view.
#include <gtest/gtest.h>

#include <filesystem>

#include "device/mount_destination.h"
#include "support.h"

using namespace qvt;
using namespace qvt::test;

namespace {

std::shared_ptr<QVTransferPrivate> make(Harness& h, const Record& device) {
    auto c = QVTransferPrivate::initWithDevice(device, h.services);
    EXPECT_TRUE(c);
    return c;
}

}  // namespace

TEST(Controller, InitialStateAfterConstruction) {
    Harness h;
    auto c = make(h, dasDevice());
    ASSERT_TRUE(c);
    EXPECT_TRUE(h.log->contains("QVTransfer: QVTransfer nib loaded: 1"));
    EXPECT_EQ(c->selectedDestinationShare.get(), "NONE");
    EXPECT_EQ(c->job().progressValue, 1);
    EXPECT_EQ(c->progressMaxValue, 100);
    EXPECT_EQ(c->progressMaxValue2, 100);
    EXPECT_EQ(c->transferProgressValue, 5);
    EXPECT_EQ(c->transferProgressValue2, 5);
    EXPECT_TRUE(c->transferWindowShouldClose);
    EXPECT_FALSE(c->uploadCancelled());
    EXPECT_FALSE(c->uploadPaused());
    EXPECT_FALSE(c->finishedfetchingUsers);
    EXPECT_EQ(c->statusTextColor.get(), (Colour{75, 90, 104, 1.0}));
    EXPECT_EQ(c->failedListRowHeight, 37);
    EXPECT_EQ(c->passwordPlaceholder.get(), c->localePASSWORD_txt);
    EXPECT_TRUE(c->sourceFilesArray.get().empty());
    EXPECT_TRUE(c->failedTransferArray.get().empty());
    EXPECT_TRUE(c->mountObject);
    EXPECT_EQ(c->userHomeDirectory, h.services.folders.home);
    EXPECT_EQ(c->transferDataFilePath,
              h.services.folders.applicationSupport + "/QVTransfer/qvtransfer.plist");
    EXPECT_TRUE(
        std::filesystem::is_directory(h.services.folders.applicationSupport + "/QVTransfer"));
    // The shipped platform record says 10.10.
    EXPECT_EQ(c->minorOSVersion, 10);
    EXPECT_FALSE(c->statusSnapshot().uploadedFilesShown);
}

TEST(Controller, DefaultFolderListIsBuiltFromTheResourceList) {
    Harness h;
    auto c = make(h, dasDevice());
    ASSERT_TRUE(waitFor([&] { return !c->parseDefaultsSourceFilesList.get().empty(); }));
    for (const auto& p : c->parseDefaultsSourceFilesList.get())
        EXPECT_EQ(p.rfind(h.services.folders.home + "/", 0), 0u) << p;
}

TEST(Controller, MissingInterfaceDefinitionYieldsNothing) {
    Harness h;
    h.services.interfaceDefinitionPath = ":/qvtransfer/ui/NoSuchDefinition.ui";
    auto c = QVTransferPrivate::initWithDevice(dasDevice(), h.services);
    EXPECT_FALSE(c);
    EXPECT_TRUE(h.log->contains("QVTransfer: QVTransfer nib loaded: 0"));
}

TEST(Controller, ViewFactoryFailureYieldsNothing) {
    Harness h;
    h.services.viewFactory = [](QVTransferActions&, const std::string&) {
        return std::unique_ptr<QVTransferView>();
    };
    EXPECT_FALSE(QVTransferPrivate::initWithDevice(dasDevice(), h.services));
    EXPECT_TRUE(h.log->contains("QVTransfer: QVTransfer nib loaded: 0"));
}

TEST(Controller, DestructionIsLogged) {
    Harness h;
    {
        auto c = make(h, dasDevice());
        ASSERT_TRUE(waitFor([&] { return !c->parseDefaultsSourceFilesList.get().empty(); }));
        ASSERT_TRUE(h.services.dispatch->waitIdle(10));
    }
    EXPECT_TRUE(h.log->contains("QVTransfer: dealloc:"));
}

TEST(ZeroState, ZeroStateDeviceHasNoDefaultListAndTheDropText) {
    Harness h;
    Record device = dasDevice();
    device.set("isZeroState", true);
    auto c = make(h, device);
    ASSERT_TRUE(c);
    EXPECT_TRUE(c->isZeroState);
    EXPECT_FALSE(c->filesAddedAtZeroState);
    EXPECT_EQ(c->localeDRAG_AND_DROP_txt, c->localizedString("DRAG_FOLDERS_FILES_HERE_OR_txt"));
    EXPECT_EQ(h.view->texts["dragAndDropLabel"], c->localeDRAG_AND_DROP_txt);
    c->startFileTransfer();
    ASSERT_TRUE(h.services.dispatch->waitIdle(10));
    for (const auto& call : h.view->calls) EXPECT_NE(call.rfind("moveControl", 0), 0u) << call;
    EXPECT_TRUE(c->sourceFilesArray.get().empty());
}

TEST(ZeroState, NonZeroStateBuildsTheDefaultList) {
    for (bool absent : {false, true}) {
        Harness h;
        Record device = dasDevice();
        if (absent)
            device.remove("isZeroState");
        else
            device.set("isZeroState", false);
        auto c = make(h, device);
        ASSERT_TRUE(c);
        EXPECT_FALSE(c->isZeroState);
        EXPECT_TRUE(c->filesAddedAtZeroState);
        EXPECT_EQ(c->localeDRAG_AND_DROP_txt, c->localizedString("DRAG_AND_DROP_OR_txt"));
        c->startFileTransfer();
        EXPECT_TRUE(h.view->calls.end() != std::find(h.view->calls.begin(), h.view->calls.end(),
                                                     "moveControl sourceFilesScrollView 62 38"));
        // One row per default folder, whether or not the folder exists.
        const auto expected = c->parseDefaultsSourceFilesList.get();
        ASSERT_TRUE(waitFor([&] {
            return !c->parseDefaultsSourceFilesList.get().empty() &&
                   c->sourceFilesArray.get().size() == c->parseDefaultsSourceFilesList.get().size();
        }));
        ASSERT_TRUE(h.services.dispatch->waitIdle(20));
    }
}

TEST(Delegate, FlagFollowsTheSecondCheckAndIsLogged) {
    Harness h;
    auto c = make(h, dasDevice());
    ASSERT_TRUE(c);

    auto statusOnly = std::make_shared<RecordingStatusDelegate>();
    c->setDelegate(statusOnly);
    EXPECT_FALSE(c->delegateRespondsToFileTransferStatusUpdate);
    EXPECT_TRUE(
        h.log->contains("QVTransfer: setDelegate: delegateRespondsToFileTransferStatusUpdate: 0"));
    // The flag is informational: every status message still arrives.
    c->sendFileTransferStatusUpdate("one");
    c->sendFileTransferStatusUpdate("two");
    EXPECT_EQ(statusOnly->statusCount, 2);
    // The other messages are simply not sent to a delegate that lacks them.
    c->sendBackToVantorFromQVTransfer();
    c->sendCancelledQVTransfer();

    h.log->clear();
    auto full = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(full);
    EXPECT_TRUE(c->delegateRespondsToFileTransferStatusUpdate);
    EXPECT_TRUE(
        h.log->contains("QVTransfer: setDelegate: delegateRespondsToFileTransferStatusUpdate: 1"));

    struct BackOnly : QVTransferBackDelegate {
        void backToVantorFromQVTransfer() override {}
    };
    c->setDelegate(std::make_shared<BackOnly>());
    EXPECT_TRUE(c->delegateRespondsToFileTransferStatusUpdate);

    h.log->clear();
    c->setDelegate(nullptr);
    EXPECT_FALSE(c->delegateRespondsToFileTransferStatusUpdate);
    EXPECT_TRUE(
        h.log->contains("QVTransfer: setDelegate: delegateRespondsToFileTransferStatusUpdate: 0"));
}

TEST(Delegate, IsHeldWeakly) {
    Harness h;
    auto c = make(h, dasDevice());
    auto full = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(full);
    std::weak_ptr<RecordingFullDelegate> weak = full;
    full.reset();
    EXPECT_TRUE(weak.expired());
    c->sendCancelledQVTransfer();  // no delegate left: nothing happens
}

TEST(Screens, DasStartShowsSourcesAndSetsHeadings) {
    Harness h;
    auto c = make(h, dasDevice({}, "My Drive"));
    c->startFileTransfer();
    EXPECT_TRUE(h.log->contains("QVTransfer: startFileTransfer: "));
    EXPECT_EQ(h.view->frontCount, 1);
    ASSERT_TRUE(c->currentTransferView());
    EXPECT_EQ(*c->currentTransferView(), Screen::Sources);
    EXPECT_EQ(c->mainTransferView.size(), 1u);
    EXPECT_NE(h.view->texts["uploadWindowHeading"].find("My Drive"), std::string::npos);
    EXPECT_NE(h.view->texts["zeroUploadWindowHeading"].find("My Drive"), std::string::npos);
    ASSERT_TRUE(h.services.dispatch->waitIdle(20));
}

TEST(Screens, BackFromSourcesOfDasEndsTheWizard) {
    Harness h;
    auto c = make(h, dasDevice());
    auto d = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(d);
    c->showScreen(Screen::Sources);
    c->processBackScreens();
    EXPECT_EQ(d->backCount, 1);
    EXPECT_EQ(h.view->closeCount, 1);
    EXPECT_EQ(c->currentTransferView(), nullptr);
}

TEST(Screens, BackFromSourcesOfNasReturnsToUsersWhenShown) {
    Harness h;
    auto c = make(h, nasDevice());
    auto d = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(d);
    c->showScreen(Screen::Users);
    EXPECT_TRUE(c->nasUsersViewDisplayed);
    c->showScreen(Screen::Sources);
    c->processBackScreens();
    ASSERT_TRUE(c->currentTransferView());
    EXPECT_EQ(*c->currentTransferView(), Screen::Users);
    EXPECT_EQ(d->backCount, 0);
    // And back from the users screen ends the wizard.
    c->processBackScreens();
    EXPECT_EQ(d->backCount, 1);
    EXPECT_EQ(h.view->closeCount, 1);
}

TEST(Screens, BackFromSourcesOfNasWithoutUsersScreenEndsTheWizard) {
    Harness h;
    auto c = make(h, nasDevice());
    auto d = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(d);
    c->showScreen(Screen::Sources);
    c->processBackScreens();
    EXPECT_EQ(d->backCount, 1);
}

TEST(Screens, BackFromDestinationShowsSourcesAndFromStatusLeavesTheAreaEmpty) {
    Harness h;
    auto c = make(h, dasDevice());
    c->showScreen(Screen::Destination);
    c->processBackScreens();
    ASSERT_TRUE(c->currentTransferView());
    EXPECT_EQ(*c->currentTransferView(), Screen::Sources);

    c->showScreen(Screen::Status);
    c->processBackScreens();
    EXPECT_EQ(c->currentTransferView(), nullptr);
    EXPECT_TRUE(c->mainTransferView.empty());
    EXPECT_EQ(h.view->shown, nullptr);

    // Back with nothing shown does nothing at all.
    c->processBackScreens();
    EXPECT_EQ(c->currentTransferView(), nullptr);
}

TEST(Screens, ClearRemovesEverythingStacked) {
    Harness h;
    auto c = make(h, dasDevice());
    c->mainTransferView = {Screen::Users, Screen::Sources, Screen::Destination};
    c->clearMainTransferView();
    EXPECT_TRUE(c->mainTransferView.empty());
    c->showScreen(Screen::Status);
    EXPECT_EQ(c->mainTransferView.size(), 1u);
}

TEST(Closing, BeforeAnUploadUnmountsEverythingAndTellsTheHostOnce) {
    Harness h;
    auto c = make(h, dasDevice());
    auto d = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(d);
    // A mount point the wizard made (a plain folder here; the unmount removes it).
    const std::string mountPoint = h.services.folders.home + "/.QVTransfer/Public";
    std::filesystem::create_directories(mountPoint);
    c->mountObject->mountedPathsArray.with([&](auto& v) { v.push_back(mountPoint); });
    c->transferWindowShouldClose = false;
    EXPECT_TRUE(c->windowShouldClose());
    EXPECT_TRUE(c->transferWindowShouldClose);
    ASSERT_TRUE(waitFor([&] { return d->cancelCount.load() == 1; }));
    ASSERT_TRUE(h.services.dispatch->waitIdle(20));
    EXPECT_EQ(d->cancelCount, 1);
    EXPECT_FALSE(std::filesystem::exists(mountPoint));
    EXPECT_TRUE(h.view->called("stopModal"));
}

TEST(Closing, AfterAFileWasHandledLeavesMountsAndSendsNothing) {
    Harness h;
    auto c = make(h, dasDevice());
    auto d = std::make_shared<RecordingFullDelegate>();
    c->setDelegate(d);
    const std::string mountPoint = h.services.folders.home + "/.QVTransfer/Public";
    std::filesystem::create_directories(mountPoint);
    c->mountObject->mountedPathsArray.with([&](auto& v) { v.push_back(mountPoint); });
    c->inProcessSourceFilesArray.set({mountPoint + "/photo.jpg"});
    EXPECT_TRUE(c->windowShouldClose());
    ASSERT_TRUE(h.services.dispatch->waitIdle(20));
    EXPECT_EQ(d->cancelCount, 0);
    EXPECT_TRUE(std::filesystem::exists(mountPoint));
}

TEST(Closing, QuitDialogButtons) {
    Harness h;
    auto c = make(h, dasDevice());
    c->quitTransferNO();
    EXPECT_FALSE(c->transferWindowShouldClose);
    EXPECT_TRUE(h.view->called("endModal quitDialog"));
    h.view->calls.clear();
    c->quitTransferYES();
    EXPECT_TRUE(c->transferWindowShouldClose);
    EXPECT_TRUE(h.view->called("endModal quitDialog"));
    c->windowWillClose();
    EXPECT_TRUE(h.view->called("stopModal"));
}

TEST(BadRecords, BehaveLikeAnUnknownDeviceType) {
    std::vector<Record> records;
    records.push_back(Record{});
    records.push_back(Record{{"deviceType", 7}, {"deviceInfo", Record{}}});
    records.push_back(Record{{"deviceType", "NAS"}, {"deviceInfo", "not a record"}});
    records.push_back(Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", "x"}}}});
    records.push_back(Record{{"deviceType", "TAPE"}, {"isZeroState", "maybe"}});
    records.push_back(Record{{"deviceType", List{}}, {"isZeroState", 3.5}});
    for (const Record& r : records) {
        Harness h;
        auto c = QVTransferPrivate::initWithDevice(r, h.services);
        ASSERT_TRUE(c);
        const std::string type = c->deviceType();
        if (type == "NAS" || type == "DAS") continue;  // covered by the other tests
        c->startFileTransfer();
        EXPECT_EQ(h.view->frontCount, 1);
        EXPECT_EQ(c->currentTransferView(), nullptr);
        ASSERT_TRUE(h.services.dispatch->waitIdle(20));
    }
}

TEST(BadRecords, WrongTypesInsideAKnownDeviceDoNotCrash) {
    Harness h;
    Record device{
        {"deviceType", "DAS"},
        {"isZeroState", true},
        {"deviceInfo",
         Record{{"productName", 12}, {"volumeArray", "none"}, {"deviceImage", "not an image"}}}};
    auto c = QVTransferPrivate::initWithDevice(device, h.services);
    ASSERT_TRUE(c);
    EXPECT_TRUE(c->deviceImage.empty());
    c->startFileTransfer();
    ASSERT_TRUE(c->currentTransferView());
    EXPECT_EQ(*c->currentTransferView(), Screen::Sources);
    ASSERT_TRUE(h.services.dispatch->waitIdle(20));
}
