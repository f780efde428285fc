// The upload wizard's controller. A host creates it from a device record, sets a delegate and
// calls startFileTransfer() (a new session) or resumeFileTransferAfterRestart().
//
//   auto wizard = QVTransfer::initWithDevice(deviceRecord);
//   wizard->setDelegate(myDelegate);
//   wizard->startFileTransfer();
//
// The controller holds the whole wizard's state; its operations are grouped by subsystem in
// the library's sources. Methods run on the main (GUI) thread unless noted.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "qvtransfer/Guarded.h"
#include "qvtransfer/LocaleTexts.h"
#include "qvtransfer/QVTransferDelegate.h"
#include "qvtransfer/Value.h"

namespace qvt {
class QVTransferView;
class QVTransferMountDestination;
struct Services;
namespace platform {
class Log;
class Clock;
class Dispatcher;
}  // namespace platform

// The wizard's screens, in their order.
enum class Screen { Users, Sources, Destination, Status };

// The modal windows of the wizard.
enum class Dialog {
    UploadErrors,          // errorViewWindow: the failed-files list
    LostConnection,        // lostConnectionDialog
    DeviceMissing,         // deviceMissingDialog
    DeviceFull,            // deviceFullDialog
    ProtectedFiles,        // containsSystemFilesDialog
    QuitConfirmation,      // quitDialog
    CancelUploadConfirm,   // cancelUploadConfDialog
};

const char* screenName(Screen s);
const char* dialogName(Dialog d);

// An RGB colour of 8-bit channels with an alpha fraction.
struct Colour {
    int red = 0, green = 0, blue = 0;
    double alpha = 1.0;
    bool operator==(const Colour&) const = default;
};
}  // namespace qvt

class QVTransfer : public std::enable_shared_from_this<QVTransfer> {
public:
    // Creates the controller for `device`, or nothing when its interface cannot be loaded.
    static std::shared_ptr<QVTransfer> initWithDevice(const qvt::Record& device);
    // The same with the platform services given (tests inject clocks, views and fakes).
    static std::shared_ptr<QVTransfer> initWithDevice(const qvt::Record& device,
                                                      const qvt::Services& services);
    ~QVTransfer();
    QVTransfer(const QVTransfer&) = delete;
    QVTransfer& operator=(const QVTransfer&) = delete;

    // ---- Host interface ----
    void setDelegate(const std::shared_ptr<QVTransferDelegate>& delegate);
    void startFileTransfer();
    void resumeFileTransferAfterRestart();
    void discovereDevicesForTransfer(const qvt::Record& devices);

    // ---- Localised texts ----
    void setupLocaleTexts();
    // Looks `key` up in the library's own string table; a missing key yields the key itself.
    std::string localizedString(const std::string& key) const;

    // ---- Screens, back navigation and closing ----
    void clearMainTransferView();
    // The screen now shown, or nothing when the area is empty.
    const qvt::Screen* currentTransferView() const;
    void showScreen(qvt::Screen screen);
    void processBackScreens();
    void populateDefaultsFolderArray();
    bool windowShouldClose();
    void windowWillClose();
    void quitTransferYES();
    void quitTransferNO();

    // ---- Delegate messages (sent through these so every sender checks the same way) ----
    void sendFileTransferStatusUpdate(const std::string& progressStatusText);
    void sendBackToVantorFromQVTransfer();
    void sendCancelledQVTransfer();

    // ---- Device access ----
    void selectNASUser();

    // ---- Source list ----
    void populateDefaultSourceFilesList();

    // ---- Destination ----
    void populateDestinationFoldersList();

    // ---- Mount service ----
    void unmountSharesVolumes(const std::vector<std::string>& paths);

    // ---- Properties ----
    // Host link
    std::weak_ptr<QVTransferDelegate> delegatedObject;
    std::atomic<bool> delegateRespondsToFileTransferStatusUpdate{false};

    // Device
    qvt::Guarded<qvt::Record> selectedDeviceDict;
    qvt::Data deviceImage;
    qvt::Guarded<std::string> selectedDASUUID;
    qvt::Guarded<std::string> selectedDestinationShare;
    std::string mountDir;
    std::unique_ptr<qvt::QVTransferMountDestination> mountObject;
    qvt::Guarded<std::string> userName;
    qvt::Guarded<std::string> userPassword;
    std::atomic<bool> showPasswordField{false};
    std::atomic<bool> incorrectPassword{false};
    std::atomic<bool> finishedfetchingUsers{false};

    // Paths
    std::string userHomeDirectory;
    std::string transferDataFilePath;
    qvt::Guarded<std::string> inProcessDestFilePath;

    // Mode flags
    std::atomic<bool> isZeroState{false};
    std::atomic<bool> filesAddedAtZeroState{true};
    std::atomic<bool> removeFilesAfterUpload{false};
    std::atomic<bool> uploadCancelled{false};
    std::atomic<bool> uploadPaused{false};
    std::atomic<bool> resumedAfterRestart{false};
    std::atomic<bool> finishedPopulatingDestinationFolders{false};
    std::atomic<bool> isStatusWindowHidden{false};
    std::atomic<bool> isFileTransferFailed{false};
    std::atomic<bool> isFileTransferCompleted{false};
    std::atomic<bool> nasUsersViewDisplayed{false};
    std::atomic<bool> uploadFilesButtonEnable{false};
    std::atomic<bool> reconnectingDevice{false};
    std::atomic<bool> deviceFull{false};
    std::atomic<bool> transferWindowShouldClose{true};
    std::atomic<bool> excludeFile{false};

    // Counters
    std::atomic<std::uint64_t> totalSourceFilesSize{0};
    std::atomic<std::uint64_t> totalTransferredFilesSize{0};
    std::atomic<std::int64_t> totalNumberOfSourceFolders{0};
    std::atomic<std::int64_t> totalNumberOfSourceFiles{0};
    std::atomic<std::int64_t> numberOfFilesCountForTransfer{0};
    std::atomic<std::int64_t> minorOSVersion{0};
    std::atomic<std::int64_t> progressMaxValue{100};
    std::atomic<std::int64_t> progressMaxValue2{100};
    std::atomic<std::int64_t> progressValue{1};
    std::atomic<std::int64_t> transferProgressValue{5};
    std::atomic<std::int64_t> transferProgressValue2{5};

    // Status texts
    qvt::Guarded<std::string> progressStatus;
    qvt::Guarded<std::string> subProgressStatus;
    qvt::Guarded<std::string> progressStatusMsg1;
    qvt::Guarded<std::string> progressStatusMsg2;
    qvt::Guarded<std::string> uploadErrorString;
    qvt::Guarded<std::string> numberOfFilesAndFolders;
    qvt::Guarded<qvt::Colour> statusTextColor;

    // Timing
    qvt::Guarded<qvt::Date> uploadstartDateTime;
    qvt::Guarded<qvt::Date> pausedstartDateTime;

    // Lists (SourceEntry, FolderNode and FailedTransferRecord entries are records)
    qvt::Guarded<qvt::List> sourceFilesArray;
    qvt::Guarded<qvt::List> transferredSourceFilesArray;
    qvt::Guarded<std::vector<std::string>> inProcessSourceFilesArray;
    qvt::Guarded<std::vector<std::string>> excludeSourceFilesArray;
    qvt::Guarded<std::vector<std::string>> excludeSystemFilesList;
    qvt::Guarded<std::vector<std::string>> parseDefaultsSourceFilesList;
    qvt::Guarded<qvt::List> destinationFoldersList;
    qvt::Guarded<qvt::List> createFolderParentChildArray;
    qvt::Guarded<qvt::List> failedTransferArray;
    qvt::Guarded<qvt::List> failedFilesListTreeControllerArray;
    qvt::Guarded<qvt::Record> transferredFileSizeDitionary;

    // Screens: the stack of the main area (the last element is the screen shown).
    std::vector<qvt::Screen> mainTransferView;
    double failedListRowHeight = 37;
    std::string passwordPlaceholder;
    bool uploadedFilesLinkHidden = true;

    // Localised texts: one property per key, e.g. localeCANCEL_btn.
#define QVT_DECLARE_LOCALE_PROPERTY(property, key) std::string locale##property;
    QVT_LOCALE_TEXTS(QVT_DECLARE_LOCALE_PROPERTY)
#undef QVT_DECLARE_LOCALE_PROPERTY

    // ---- Wiring ----
    qvt::QVTransferView* view() const { return view_.get(); }
    const qvt::Services& services() const { return *services_; }
    qvt::platform::Log& log() const;
    qvt::platform::Clock& clock() const;
    qvt::platform::Dispatcher& dispatcher() const;
    // The device record's "deviceType", "deviceInfo" values.
    std::string deviceType() const;
    qvt::Record deviceInfo() const;

    // Builds the view from the loaded interface definition; used by the interface loader.
    bool loadInterface(const std::string& interfaceDefinition);
    // Interface set-up and initial state, run once when the interface is loaded.
    void awakeFromInterface();

private:
    explicit QVTransfer(const qvt::Services& services);

    std::unique_ptr<qvt::Services> services_;
    std::unique_ptr<qvt::QVTransferView> view_;
};

namespace qvt {
// Loads the interface definition named "QVTransfer" from the library's own resources with the
// controller as its owner.
class QVTransferInstantiate {
public:
    static bool initQVTransferForClass(QVTransfer& owner);
};
}  // namespace qvt
