// Construction, the delegate, the screens and their back navigation, and closing the window.
#include "session/qvtransfer_private.h"

#include <chrono>
#include <optional>
#include <utility>

#include "device/mount_destination.h"

#include "platform/files.h"
#include "platform/format.h"
#include "platform/latest_only_task.h"
#include "platform/plist_io.h"
#include "platform/version.h"
#include "session/recorded_upload.h"
#include "session/resources.h"
#include "session/services.h"
#include "session/view.h"

using qvt::Record;
using qvt::Screen;
namespace fmt = qvt::platform;

namespace {
// Progress after each file reaches the view at most this often: twenty lines a second are more
// than anyone reads, and a small file is copied in far less.
constexpr std::chrono::milliseconds kPerFileStatusSpacing{50};
}  // namespace

QVTransferPrivate::QVTransferPrivate(const qvt::Services& services)
    : perFileStatusUpdate(std::make_shared<qvt::platform::LatestOnlyTask>(kPerFileStatusSpacing)),
      services_(std::make_unique<qvt::Services>(services)),
      job_(std::make_unique<qvt::engine::UploadJob>(services_->clock)) {}

bool QVTransferPrivate::uploadPaused() const {
    return job_->paused();
}
bool QVTransferPrivate::uploadCancelled() const {
    return job_->cancelled();
}
bool QVTransferPrivate::isFileTransferCompleted() const {
    return job_->completed();
}
bool QVTransferPrivate::isFileTransferFailed() const {
    return job_->failed();
}
bool QVTransferPrivate::reconnectingDevice() const {
    return job_->pausedFor(qvt::engine::PauseReason::DeviceMissing);
}
bool QVTransferPrivate::deviceFull() const {
    return job_->pausedFor(qvt::engine::PauseReason::DeviceFull);
}

std::shared_ptr<QVTransferPrivate> QVTransferPrivate::initWithDevice(
    const Record& device, const qvt::Services& services) {
    std::shared_ptr<QVTransferPrivate> self(new QVTransferPrivate(services));
    self->selectedDeviceDict.set(device);
    self->setupLocaleTexts();

    // A record whose isZeroState is missing or not a flag counts as "not zero state".
    const bool zero = device.boolean("isZeroState", false);
    self->isZeroState = zero;
    self->filesAddedAtZeroState = !zero;

    const bool loaded = qvt::QVTransferInstantiate::initQVTransferForClass(*self);
    self->log().write(fmt::format("QVTransfer: QVTransfer nib loaded: %d", loaded ? 1 : 0));
    if (!loaded) return nullptr;

    const Record info = self->deviceInfo();
    if (const qvt::Value* image = info.find("deviceImage"); image && image->asData())
        self->deviceImage = *image->asData();
    return self;
}

QVTransferPrivate::~QVTransferPrivate() {
    if (services_ && services_->log) services_->log->write("QVTransfer: dealloc:");
    // The window belongs to the GUI thread; when the last reference goes away on a background
    // thread, hand the window over to be destroyed there.
    if (view_ && services_ && services_->dispatch && !services_->dispatch->onMainThread()) {
        auto* raw = view_.release();
        services_->dispatch->mainAsync([raw] { delete raw; });
    }
}

qvt::platform::Log& QVTransferPrivate::log() const {
    return *services_->log;
}
qvt::platform::Clock& QVTransferPrivate::clock() const {
    return *services_->clock;
}
qvt::platform::Dispatcher& QVTransferPrivate::dispatcher() const {
    return *services_->dispatch;
}

std::string QVTransferPrivate::deviceType() const {
    return selectedDeviceDict.with([](const Record& r) { return r.string("deviceType"); });
}

Record QVTransferPrivate::deviceInfo() const {
    return selectedDeviceDict.with([](const Record& r) {
        const Record* info = r.record("deviceInfo");
        return info ? *info : Record{};
    });
}

bool QVTransferPrivate::loadInterface(const std::string& interfaceDefinition) {
    if (!services_->viewFactory) return false;
    view_ = services_->viewFactory(*this, interfaceDefinition);
    if (!view_) return false;
    awakeFromInterface();
    return true;
}

void QVTransferPrivate::awakeFromInterface() {
    const auto& folders = services_->folders;
    userHomeDirectory = folders.home;
    qvt::platform::createFolderWithParents(folders.transferDataFolder());
    transferDataFilePath = folders.transferDataFolder() + "/" + qvt::session::kStateFileName;
    uploadClaimPath = folders.transferDataFolder() + "/" + qvt::platform::kUploadClaimFileName;
    // The handled-files list of a large upload goes to disk beside the state file.
    inProcessSourceFilesArray.setSpillFolder(folders.transferDataFolder());

    if (isZeroState) localeDRAG_AND_DROP_txt = localizedString("DRAG_FOLDERS_FILES_HERE_OR_txt");

    auto self = shared_from_this();
    dispatcher().detach([self] { self->populateDefaultsFolderArray(); });

    sourceFilesArray.set({});
    destinationFoldersList.set({});
    failedTransferArray.set({});
    failedFilesListTreeControllerArray.set({});
    excludeSourceFilesArray.set({});
    inProcessSourceFilesArray.set({});
    excludeSystemFilesList.set({});
    transferredSourceFilesArray.set({});
    createFolderParentChildArray.set({});
    totalSourceFilesSize = 0;
    totalNumberOfSourceFolders = 0;
    totalNumberOfSourceFiles = 0;
    for (auto* flag : {&removeFilesAfterUpload, &isStatusWindowHidden, &nasUsersViewDisplayed,
                       &finishedfetchingUsers})
        *flag = false;
    transferWindowShouldClose = true;
    progressMaxValue = 100;
    progressMaxValue2 = 100;
    // The bars never start empty.
    transferProgressValue = 5;
    transferProgressValue2 = 5;
    progressStatus.set("");
    subProgressStatus.set("");
    progressStatusMsg1.set("");
    progressStatusMsg2.set("");
    selectedDestinationShare.set("NONE");
    statusTextColor.set(qvt::Colour{75, 90, 104, 1.0});
    mountObject = std::make_unique<qvt::QVTransferMountDestination>(services_->log);
    // Shares mounted without a mount path of their own still land under this user's folder.
    qvt::platform::files().setDefaultMountRoot(folders.mountFolder());
    failedListRowHeight = 37;
    passwordPlaceholder = localePASSWORD_txt;
    statusControls.set(StatusControls{});

    minorOSVersion = qvt::platform::readPlatformVersion().minor;
    view_->setText("dragAndDropLabel", localeDRAG_AND_DROP_txt);
    view_->showFailedList(failedList());
}

void QVTransferPrivate::populateDefaultsFolderArray() {
    // This runs on a worker while the main thread goes on with the controller, so it reads the
    // home folder from the services, which never change after the start, not from the member.
    const std::string& home = services_->folders.home;
    std::vector<std::string> folders;
    for (const std::string& entry : qvt::resourcePathList("DefaultsSourceFilesList"))
        folders.push_back(home + "/" + entry);
    parseDefaultsSourceFilesList.set(std::move(folders));
}

void QVTransferPrivate::setDelegate(const std::shared_ptr<QVTransferDelegate>& delegate) {
    delegatedObject = delegate;
    bool responds = false;
    if (delegate) {
        // The first answer is overwritten by the second on purpose: the flag ends up telling
        // whether the back message is implemented. Nothing reads it but the log line.
        responds = dynamic_cast<QVTransferStatusDelegate*>(delegate.get()) != nullptr;
        responds = dynamic_cast<QVTransferBackDelegate*>(delegate.get()) != nullptr;
    }
    delegateRespondsToFileTransferStatusUpdate = responds;
    log().write(
        fmt::format("QVTransfer: setDelegate: delegateRespondsToFileTransferStatusUpdate: %d",
                    responds ? 1 : 0));
}

void QVTransferPrivate::sendFileTransferStatusUpdate(const std::string& progressStatusText) {
    auto delegate = delegatedObject.lock();
    if (auto* d = dynamic_cast<QVTransferStatusDelegate*>(delegate.get())) {
        d->fileTransferStatusUpdate(isFileTransferCompleted(), isFileTransferFailed(),
                                    uploadCancelled(), uploadPaused(), !reconnectingDevice(),
                                    progressStatusText, subProgressStatus.get());
    }
}

void QVTransferPrivate::sendBackToVantorFromQVTransfer() {
    auto delegate = delegatedObject.lock();
    if (auto* d = dynamic_cast<QVTransferBackDelegate*>(delegate.get()))
        d->backToVantorFromQVTransfer();
}

void QVTransferPrivate::sendCancelledQVTransfer() {
    auto delegate = delegatedObject.lock();
    if (auto* d = dynamic_cast<QVTransferCancelDelegate*>(delegate.get())) d->cancelledQVTransfer();
}

void QVTransferPrivate::startFileTransfer() {
    log().write(
        fmt::format("QVTransfer: startFileTransfer: %@", qvt::describe(selectedDeviceDict.get())));
    view_->bringToFront();

    if (!isZeroState) {
        auto self = shared_from_this();
        dispatcher().detach([self] { self->populateDefaultSourceFilesList(); });
        // No drop area in this mode: the list takes its room.
        view_->moveControl("sourceFilesScrollView", 62, 38);
    }

    const std::string type = deviceType();
    if (type == "NAS") {
        finishedfetchingUsers = false;
        selectNASUser();
    } else if (type == "DAS") {
        populateDestinationFoldersList();
        showScreen(Screen::Sources);
    } else {
        return;
    }

    const std::string product = deviceInfo().string("productName");
    view_->setText("uploadWindowHeading", fmt::format(localeUPLOADING_FILES_TO_txt, product));
    view_->setText("zeroUploadWindowHeading", fmt::format(localeUPLOADING_FILES_TO_title, product));
}

void QVTransferPrivate::clearMainTransferView() {
    // Take the list once and remove its last element once per element: whatever is stacked
    // goes, topmost first.
    const std::size_t count = mainTransferView.size();
    for (std::size_t i = 0; i < count && !mainTransferView.empty(); ++i)
        mainTransferView.pop_back();
    view_->showScreen(nullptr);
}

const Screen* QVTransferPrivate::currentTransferView() const {
    return mainTransferView.empty() ? nullptr : &mainTransferView.back();
}

void QVTransferPrivate::showScreen(Screen screen) {
    clearMainTransferView();
    mainTransferView.push_back(screen);
    if (screen == Screen::Users) nasUsersViewDisplayed = true;
    view_->showScreen(&mainTransferView.back());
}

void QVTransferPrivate::processBackScreens() {
    const Screen* shown = currentTransferView();
    const std::optional<Screen> current = shown ? std::optional<Screen>(*shown) : std::nullopt;
    clearMainTransferView();
    if (!current) return;
    switch (*current) {
        case Screen::Destination:
            showScreen(Screen::Sources);
            break;
        case Screen::Sources:
            if (nasUsersViewDisplayed) {
                showScreen(Screen::Users);
            } else {
                view_->closeWindow();
                sendBackToVantorFromQVTransfer();
            }
            break;
        case Screen::Users:
            view_->closeWindow();
            sendBackToVantorFromQVTransfer();
            break;
        case Screen::Status:
            // Back is not offered on the status screen; the area stays empty.
            break;
    }
}

bool QVTransferPrivate::windowShouldClose() {
    view_->stopModal();
    transferWindowShouldClose = true;
    closeAskedByWindow = true;
    auto self = shared_from_this();
    dispatcher().async(qvt::platform::QueuePriority::High, [self] {
        // Once an upload has handled a file, its own end unmounts and tells the host.
        if (!self->inProcessSourceFilesArray.empty()) return;
        self->unmountEveryMountedShare();
        self->sendCancelledQVTransfer();
    });
    return transferWindowShouldClose;
}

void QVTransferPrivate::windowWillClose() {
    view_->stopModal();
    const bool asked = std::exchange(closeAskedByWindow, false);
    // The window never leaves a share mounted behind it. An upload that has ended, failed
    // files included, needs its shares no more once the window goes (a retry of the failed
    // files lives in the window); a window closed by Back before any upload lets go of what
    // the sign-in mounted (a close through the close button did that already). A running
    // upload keeps its shares: its own end lets go of them. Done here, not in the background:
    // the host may end the process as soon as the window is gone.
    const qvt::engine::UploadState state = job().state();
    const bool ended = state == qvt::engine::UploadState::Completed;
    const bool beforeAnyUpload = !asked && state == qvt::engine::UploadState::Idle;
    if (ended || beforeAnyUpload) unmountEveryMountedShare();
}

void QVTransferPrivate::quitTransferYES() {
    view_->endModal(qvt::Dialog::QuitConfirmation);
    transferWindowShouldClose = true;
}

void QVTransferPrivate::quitTransferNO() {
    view_->endModal(qvt::Dialog::QuitConfirmation);
    transferWindowShouldClose = false;
}
