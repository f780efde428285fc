// The wizard's controller behind the public QVTransfer: the whole state of one wizard session
// and its operations, grouped by subsystem in the library's sources. Methods run on the main
// (GUI) thread unless noted. Hosts never see this class; the front ends and the tests do.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/handled_paths.h"
#include "engine/upload_job.h"
#include "platform/guarded.h"
#include "platform/upload_claim.h"
#include "qvtransfer/QVTransfer.h"
#include "qvtransfer/QVTransferDelegate.h"
#include "qvtransfer/Value.h"
#include "session/locale_texts.h"
#include "session/view_actions.h"
#include "session/view_models.h"
#include "session/wizard_types.h"
#include "source/tree_count.h"

namespace qvt::device {
enum class ReplyProblem;
}

namespace qvt {
class QVTransferView;
class QVTransferMountDestination;
struct Services;
namespace platform {
class Log;
class Clock;
class Dispatcher;
class LatestOnlyTask;
}  // namespace platform
}  // namespace qvt

class QVTransferPrivate : public std::enable_shared_from_this<QVTransferPrivate>,
                          public qvt::QVTransferActions {
  public:
    // Creates the controller for `device` with the platform services given (the shipped ones,
    // or a test's clocks, views and fakes), or nothing when its interface cannot be loaded.
    static std::shared_ptr<QVTransferPrivate> initWithDevice(const qvt::Record& device,
                                                             const qvt::Services& services);
    ~QVTransferPrivate();
    // The host's handle on `controller`, as initWithDevice gives it to a host.
    static std::shared_ptr<QVTransfer> hostInterface(std::shared_ptr<QVTransferPrivate> controller);
    QVTransferPrivate(const QVTransferPrivate&) = delete;
    QVTransferPrivate& operator=(const QVTransferPrivate&) = delete;

    // ---- Host interface ----
    void setDelegate(const std::shared_ptr<QVTransferDelegate>& delegate);
    void startFileTransfer();
    void resumeFileTransferAfterRestart();
    // Whether the state file holds an interrupted upload for this device that a resume would
    // take up (a host asks before it offers the resume).
    bool hasUploadToResume() const;
    void discovereDevicesForTransfer(const qvt::Record& devices);

    // ---- The resume's steps (session/resume_after_restart.cpp) ----
    // Reads the state file, mounts the share or volume again and moves the destination there,
    // then starts the upload on the main thread; or tells the user why it cannot.
    void prepareResumeAfterRestart();
    // Adds the pending sources' counts and sizes to the totals.
    void addResumedTotals();
    // Mounts the share of `savedDestination` again; its mount path, or "".
    std::string mountShareForResume(const std::string& savedDestination);
    // Finds or mounts the attached volume of `savedDestination` (the state file's key being its
    // UUID) and answers the destination on it, or "".
    std::string volumeDestinationForResume(const std::string& savedDestination,
                                           const std::string& volumeUuid);
    void failResumeAfterRestart(const std::string& sentence);
    // Takes this process's hold on running an upload (kept until the controller goes, or its
    // upload has ended with nothing left to retry); when another process holds it, nothing is
    // taken and the answer is that process's number (0 when it could not be read). Called as an
    // upload or a resume begins, it counts it in uploadsBegun.
    std::optional<long> claimUploads();
    // Lets the hold go once the upload has ended with every file arrived and its last record is
    // written (main thread): a window left on its finished screen keeps no one from uploading.
    // `upload` is the value of uploadsBegun when that upload ended.
    void releaseClaimOfFinishedUpload(std::uint64_t upload);
    // The sentence that says another process runs an upload, from the text `key`.
    std::string uploadRunningElsewhere(const char* key, long holder);
    // Shows the progress screen and starts the estimator, the state-file loop and the copy.
    void startResumedUpload();
    // Removes the hidden copies a killed upload left where the pending sources go.
    void removeLeftoverPartialCopies();

    // ---- Localised texts ----
    void setupLocaleTexts();
    // Looks `key` up in the library's own string table; a missing key yields the key itself.
    std::string localizedString(const std::string& key) const;

    // ---- Screens, back navigation and closing ----
    void clearMainTransferView();
    // The screen now shown, or nothing when the area is empty.
    const qvt::Screen* currentTransferView() const;
    void showScreen(qvt::Screen screen);
    void processBackScreens() override;
    void populateDefaultsFolderArray();
    bool windowShouldClose() override;
    void windowWillClose() override;
    void quitTransferYES() override;
    void quitTransferNO() override;

    // ---- Delegate messages (sent through these so every sender checks the same way) ----
    void sendFileTransferStatusUpdate(const std::string& progressStatusText);
    void sendBackToVantorFromQVTransfer();
    void sendCancelledQVTransfer();

    // ---- Device access ----
    void selectNASUser();
    // Handles the users reply on the main thread: fills the popup, shows or skips the users
    // screen.
    void processUsersReply(long httpStatus, const qvt::List& users);
    // The users popup's action, with the popup's selected index.
    void selectUser(int selectedIndex) override;
    // The password field is bound to userPassword.
    void setUserPassword(const std::string& password) override;
    void verifyUserLoginAndSelectSourceFiles() override;
    // Asks the user what to do when the device cannot be reached from the login screens;
    // `retryTag` is what Retry starts again: 1 the users request, 2 the login, 3 the shares.
    void runLostConnectionDialog(int retryTag);
    // Puts what went wrong with the device's last answer into the lost-connection dialog.
    void tellDeviceProblem(qvt::device::ReplyProblem problem);
    // The lost-connection dialog's sentence, kept for the front ends that tell it (main).
    void tellConnectionProblem(const std::string& sentence);
    // The lost-connection sheet's retry button: 1 users request, 2 login, 3 shares.
    void retryDeviceConnection(int tag);
    // The lost device has been found again (by the watcher, or by the host's discovery): mounts
    // the destination's share again (a local volume: takes it where it is now) and lets the
    // upload go on.
    void resumeTransferAfterDisconnect();
    // The attached volume of the destination is mounted again at `volumePath` (maybe another
    // mount point than before): the upload goes on there.
    void resumeOnDestinationVolume(const std::string& volumePath);
    // The users behind the popup (UserRecords: "username", "is_password"), in popup order.
    qvt::Guarded<qvt::List> usersArrayController;
    std::atomic<int> usersPopupSelectedIndex{0};
    // Whether the password field draws the default focus ring.
    std::atomic<bool> passwordFieldFocusRing{true};

    // ---- Source list ----
    // Lists the default folders under the home folder and counts them (a detached thread).
    void populateDefaultSourceFilesList();
    // The chooser link's action: runs `sourceFilesOpenPanel` and adds what was chosen.
    void chooseSourceFiles() override;
    // Adds chosen absolute paths not yet listed (a detached thread).
    void processOpenPanelSelectedSourceFiles(const std::vector<std::string>& paths);
    // The drop area's delegate message: adds the dropped absolute paths not yet listed (main).
    void concludeDragOperation(const std::vector<std::string>& filenames) override;
    // The check-box column: sets the row's "filesSelectCheckbox", then processDeselectedFiles.
    void setSourceTicked(int row, bool ticked) override;
    // The check-box column's action, after the table has toggled the row's check box (main).
    void processDeselectedFiles(int row);
    // The delete column's action: takes the row off the totals and the list (main).
    void processDeleteFiles(int row) override;
    // The remove-files-after-upload check box.
    void setRemoveFilesAfterUpload(bool remove) override;
    // The delete itself, with a record {"fileIndex": row} (a detached thread).
    void deleteSizeOfFiles(const qvt::Record& fileIndex);
    // Enables the source screen's Next button while any row is ticked (any thread).
    void checkIfFilesExistsInSourceList();
    void rearrangeSourceFilesList();
    // A row's count has ended: its spinner goes (main).
    void removeTablevIewSubviewWithIDentifier(const std::string& identifier);
    // From a count's end (any thread): one reload of the rows and the summary line is queued
    // on the main thread unless one waits there already, which will show this count too.
    // Thousands of rows counted one after the other would otherwise reload the whole table
    // twice each, and the time grows with the square of the rows.
    void reloadSourcesAfterCount(const std::string& identifier);
    std::atomic<bool> sourcesReloadQueued{false};
    // Where the search for the next counted row starts: after the row counted last.
    std::atomic<std::size_t> countedRowHint{0};
    // What the walks of the sources leave out: the mount folder, where the device's shares are
    // opened (a source that holds it, the home folder, would otherwise copy the device into
    // itself, deeper each time), and the state file's folder. Only a folder of one of their
    // names (or a link) costs a look.
    qvt::source::WalkOptions sourceWalkOptions() const;
    bool isLeftOutOfWalks(const std::string& folder, bool isLink) const;
    // The tool tip of a cell of the source table: the row's path in "fullPathColumn", else "".
    std::string sourceFilesToolTip(const std::string& columnIdentifier, int row) const;
    // Fills excludeSystemFilesList and excludeSourceFilesArray: the listed paths that contain a
    // system-location fragment, once per matching fragment.
    void buildExcludeSourceFilesArray();
    // Counts one TotalsRequest {"fileDict": SourceEntry, "mathType": "add" | "subtract"} into
    // the running totals and the summary line (never on the main thread).
    void calculateTotalNumberOfFilesFoldersAndSize(const qvt::Record& totalsRequest);
    // The file chooser the window installs: fills the chosen paths and answers 1 (OK) or 0.
    std::function<int(std::vector<std::string>&)> sourceFilesOpenPanel;
    void setSourceFilesOpenPanel(std::function<int(std::vector<std::string>&)> openPanel) override;

    // ---- Destination ----
    // Prepares the mount folder and starts filling the destination tree for the device type.
    void populateDestinationFoldersList();
    // The shares of a network device, each mounted, as the tree's roots (a detached thread).
    void populateNASDestinationFoldersList();
    // The mountable volumes of a directly attached device as the tree's roots (a detached
    // thread).
    void populateDASDestinationFoldersList();
    // One node of the destination tree: its child indices from the roots down, the folder it
    // stands for (checked on every access, so a rebuilt tree is never written into the wrong
    // node) and the load of its level that a writer belongs to.
    struct FolderNodeRef {
        std::vector<std::size_t> indexPath;
        std::string folderFullPath;
        std::uint64_t generation = 0;
    };
    // The outline view's expansion notification: `userInfo` holds the expanded item under
    // "NSObject" as its index path (a list of integers). Reloads that node's level on the
    // high-priority queue (main).
    void outlineViewItemDidExpand(const qvt::Record& userInfo) override;
    // Appends the FolderNode of one sub-folder to the children of `folderDictOutlineView`, then
    // re-arranges the tree on the main thread (expansion worker).
    void buildDestinationFilesTree(const std::string& folderName, const std::string& folderFullPath,
                                   const FolderNodeRef& folderDictOutlineView);
    // ---- A new folder at the destination ----
    // The new-folder link (main): makes the folder on a thread of its own.
    void createNewFolderAtDestination() override;
    // Makes the folder inside the selected row's folder under the default name, puts its row
    // first among the parent's children and starts editing its name (its own thread).
    void createNewFolder();
    // The end of the in-place edit: the folder made here takes the typed name on disk, or keeps
    // its name when the rename fails (main).
    void textDidEndEditing(const std::string& folderName) override;
    // The cancel button beside the new folder: takes it off the disk and out of the tree (main).
    void deleteNewFolder() override;
    // Whether `path` is a folder the new-folder link made in this session (and not yet taken
    // back): only those are renamed or removed.
    bool madeAsNewFolder(const std::string& path) const;
    qvt::Guarded<std::vector<std::string>> newFoldersMade;

    // The source screen's Next button (main).
    void selectDestinationForFileTransfer() override;
    // The protected-files dialog's buttons by tag: 1 stays on the sources, 2 goes on (main).
    void cancelOrContinueUpload(int senderTag);
    // Shows the destination screen and resets the transfer state for a new upload (main).
    void showDestinaionSharesToTransfer();
    // Shows the destination tree's current state (main).
    void rearrangeDestFilesList();
    // Set from any thread; the Upload button and the new-folder link follow on the main thread.
    void setUploadFilesButtonEnable(bool enable);
    void setCreateNewFolderLinkEnabled(bool enabled);
    std::atomic<bool> createNewFolderLinkEnabled{false};
    // The latest load of each expanded folder's level, by path: children found by an older load
    // are dropped, so two quick expansions of one node never leave duplicates.
    qvt::Guarded<std::vector<std::pair<std::string, std::uint64_t>>> destinationLevelLoads;
    std::atomic<std::uint64_t> destinationLevelLoadCounter{0};

    // ---- Mount service ----
    // Returns once some mounted volume's path contains `path`; it waits as long as it takes, so
    // call it only right after a mount request. Runs on a background thread.
    bool isVolumeMounted(const std::string& path);
    // Forced unmount of each path, then removal of its mount point folder; errors are ignored.
    void unmountSharesVolumes(const std::vector<std::string>& paths);
    // Unmounts everything this controller mounted, from a copy of the list taken now.
    void unmountEveryMountedShare();
    // Unmounts the recorded mount points that the chosen destination does not lie in.
    void unMountSharesNotInUse();

    // ---- Upload ----
    // The Upload button: takes the destination from the outline's selected row, shows the
    // status screen and starts the upload's four concurrent tasks (main).
    void uploadFiles() override;
    // Why nothing may be uploaded to `destination`, as a sentence for the user; "" when it may.
    // On an attached disk the folder must lie, once its links are followed, on the device's
    // own volume, and no source folder may hold it.
    std::string destinationRefusal(const std::string& destination);
    // The destination folder, as reached now, of the unfinished upload whose record the upload
    // to `newDestination` replaces, and its pending sources in `pending`; "" when there is none
    // or its folder cannot be reached from here.
    std::string replacedUploadDestination(const std::string& newDestination, qvt::List* pending,
                                          std::uint32_t* tag);
    // The source folder `source` that holds `destination` (its real path, "" when unknown), or
    // is it: copying it there would copy its own copy again, without end.
    bool sourceHoldsDestination(const std::string& source, const std::string& realDestination);
    // The copy loop over sourceFilesArray; the upload's own thread. The resume and retry paths
    // run it over their own lists.
    void copySourceFiles();
    // The copy loop of an upload taken up after a restart: unticked sources are skipped, and
    // resumedAfterRestart ends with it.
    void copyPendingSourceFiles();
    // Copies one source, a file or a folder with everything below it, to `destFilePath`;
    // returns when all of it has been handled (upload thread). With the move option its files
    // are moved, unless `excludeFile` says the source is protected: then they are copied.
    void transferFile(const std::string& sourcePath, const std::string& destFilePath,
                      const std::string& destDir, bool excludeFile = false);
    // After the destination's disk went missing and came back: the files renamed to their
    // final names since its last flush that did not reach it whole are copied again under the
    // same names (upload thread).
    void copyAgainWhatTheLossTook();
    // Lists a file just renamed to its final name on a local disk until a flush covers it
    // (upload thread).
    void noteArrivalNotFlushed(const std::string& source, const std::string& target);
    // The end's flush of a local disk failed with `error`: the files renamed since its last good
    // flush become failed items (upload thread).
    void failArrivalsNotFlushed(int error);
    // Records the outcome of one handled file; two empty paths and no error end the upload
    // (upload thread).
    void processFileTransferStatus(const std::string& sourcePath, const std::string& destFilePath,
                                   const std::optional<qvt::TransferError>& error);
    // The files that arrived: those this upload copied whole.
    std::uint64_t arrivedFileCount() const;
    // Adds a failed item to the list and the log, without counting it as a handled file.
    // `filesGone` marks the item of a folder that lost that many files before the copy listed
    // them: nothing of it can be copied again.
    void recordFailure(const std::string& sourcePath, const std::string& destFilePath,
                       const qvt::TransferError& error, std::int64_t filesGone = 0);
    // Taken up after a restart: whether the file at `copy`, which this run did not write
    // (`writtenThisRun` false), arrived before the restart. It did when its source is gone:
    // the interrupted upload moved it, or the user tidied it away since, and the record,
    // written every few seconds, may still list it. Such a file is not lost.
    bool arrivedBeforeTheRestart(const std::string& source, const std::string& copy,
                                 bool writtenThisRun);
    // The files in a source folder's copy at `copy` that arrived before the restart.
    std::int64_t filesArrivedBeforeTheRestart(const std::string& source, const std::string& copy);
    // After a source's copy: when the copy met fewer files than the source's count held, the
    // missing ones went away after the count and before the copy listed their folder. Their
    // names are not known any more; the source is a failed item that says how many.
    void reportFilesGoneSinceTheCount(const qvt::Record& row, const std::string& source,
                                      const std::string& destination, std::int64_t met);
    // Removes the hidden copy of the file in hand (an unfinished one) and forgets it.
    // False when the hidden copy could not go yet (its copy still writes it) and is kept in
    // hand for the copy thread to remove.
    bool discardPartialCopy();
    // Whether the destination's volume is gone: its remount identity is empty once the share's
    // connection is lost or the disk has been pulled, and another one when a different volume
    // now sits at its place (a disk unmounted under the upload leaves its mount point folder
    // behind).
    bool destinationVolumeLost();
    // The chosen destination folder, or, when it was removed from a volume (a disk or a share)
    // that is still there, the closest folder above it on that volume; empty when the volume
    // itself is lost.
    std::string destinationOnItsVolume();
    // Notes the hidden copy at `partial`, which could not be removed (its device was away),
    // for removal when an upload next reaches its share or volume.
    void noteCopyLeftByStop(const std::string& partial);
    // Notes the folder `folder` (relative to the share's root) of the network device `device`'s
    // share `share` that a replaced upload was copying `pendingSources` to: it cannot be reached
    // now, and its hidden copies go when an upload next reaches that share.
    void noteReplacedUploadFolder(const std::string& device, const std::string& share,
                                  const std::string& folder, const qvt::List& pendingSources,
                                  std::uint32_t tag);
    // Removes the noted hidden copies on the share or volume `destination` lies on.
    // Answers whether a noted copy there could not be removed yet (and stays noted).
    bool removeCopiesLeftByStops(const std::string& destination);
    // The same for the copies this upload noted, while it runs and its volume is there.
    void removeCopiesLeftNoted();
    // The clash-free name (no folder, no extension) for a path given without its extension.
    std::string getDuplicateFileName(const std::string& pathWithoutExtension);
    // The end-of-upload step: final texts, bars, failed list, messages and the last save (main).
    void finishFileTransfer();
    // Moves one uploaded source to the Trash; failures are logged only.
    void moveSourceToTrash(const std::string& sourcePath);
    // Whether the move option keeps `source` in place: it lies in a protected location.
    bool sourceIsExcluded(const std::string& source) const;
    // After a top-level item of an upload, a resume or a retry: with the move option, the item
    // goes to the Trash unless anything failed, the upload stopped or the item is protected.
    void trashAfterItem(const std::string& source, const std::string& destination);
    // A file below the folder `source` that keeps it from the Trash: any file of a moved tree,
    // one the upload did not handle at its place below `destination` in a copied one. Empty
    // when there is none (or `source` is no folder).
    std::string fileNotUploadedBelow(const std::string& source, const std::string& destination);
    // Entry points of the disconnect and device-full recovery (copy thread): each pauses the
    // upload, shows its dialog and waits for it, then starts its watcher.
    void displayDeviceDisconnect();
    void displayDeviceFullDialog();
    // The watchers (a thread of their own each): the device's answer every 3 seconds (a local
    // volume: the volume of the upload's UUID among the mounted ones), the free space every 30.
    void checkDeviceReachability();
    void checkDeviceFreeSpace();
    void resumeTransferAfterDeviceHasFreeSpace();
    // `path` as it is now: below the volume's current mount point once a lost local volume came
    // back at another one.
    std::string rebasedDestination(const std::string& path) const;

    // ---- Progress and remaining time ----
    // The estimator: samples the bytes at the destination every 3 seconds until the upload ends.
    void calculateRemainingTime();
    // The status screen's hide/close button.
    void hideStatusWindow() override;
    // Splits progressStatus at its line break into progressStatusMsg1 and progressStatusMsg2 and
    // redraws the status screen (main).
    void showProgressStatus();

    // ---- Pause, resume and cancel ----
    void pauseTransfer();
    void resumeTransfer();
    void suspendForShutdown() override;
    // The end of the desktop session for a host's window: an upload under way is suspended
    // as above; with none, what the wizard mounted is let go at once.
    void suspendForEndOfSession();
    void cancelTransfer();
    // Every status-screen button and the stop confirmation's buttons, told apart by tag.
    void cancelUploadFiles(int senderTag) override;
    // The lost-connection dialog's cancel button.
    void cancelQVTransfer();
    // Closing the status after an upload with errors.
    void terminateTransfer() override;

    // ---- Failed transfers and the uploaded files ----
    void viewTransferErrors() override;
    void showHideTransferErrors() override;
    void retryOrDismissTransfer(int senderTag) override;
    // Copies each failed item again to the name its failed attempt had (its own thread).
    void retryFailedTransfers(const qvt::List& retryList);
    // Opens the destination folder in the desktop's file browser.
    void showUploadedFiles() override;

    // ---- Transfer data file ----
    // Builds and writes the state file once.
    void saveQVTransferDataToFile();
    // The last write of an upload suspended for the end of the session: a write under way ends
    // first, and no other starts after this one while the upload stays paused, so a process
    // that ends after it never ends inside a write.
    void saveQVTransferDataToFileForExit();
    // Lets the writes of a new upload through, whatever an earlier suspend sealed.
    void openRecordForWrites();
    // Lets no later write of the state-file loop through until a new upload opens the record:
    // an upload that ended with every file arrived has written its last record.
    void sealRecord();
    // Rewrites the state file every 3 seconds until the upload ends (its own thread).
    void saveQVTransferDataToFileForEachFile();

    // ---- The upload ----
    // Its run-time state (state, pause reasons, counters, the file in hand), in one object.
    qvt::engine::UploadJob& job() const { return *job_; }
    // The upload's flags, read from that state.
    bool uploadPaused() const;
    bool uploadCancelled() const;
    bool isFileTransferCompleted() const;
    bool isFileTransferFailed() const;
    bool reconnectingDevice() const;
    bool deviceFull() const;

    // ---- Properties ----
    // Host link
    std::weak_ptr<QVTransferDelegate> delegatedObject;
    std::atomic<bool> delegateRespondsToFileTransferStatusUpdate{false};

    // Device
    qvt::Guarded<qvt::Record> selectedDeviceDict;
    qvt::Data deviceImage;
    qvt::Guarded<std::string> selectedDASUUID;
    qvt::Guarded<std::string> selectedDestinationShare;
    // The identity of the destination's volume when the upload started (its remount URL), and
    // a local destination's volume's mount point.
    qvt::Guarded<std::string> destinationVolumeIdentity;
    qvt::Guarded<std::string> destinationVolumeRoot;
    // Where a local volume that came back at another mount point was (first) and is (second).
    qvt::Guarded<std::pair<std::string, std::string>> destinationRebase;
    std::string mountDir;
    std::unique_ptr<qvt::QVTransferMountDestination> mountObject;
    qvt::Guarded<std::string> userName;
    qvt::Guarded<std::string> userPassword;
    // The account a host gave for taking up an upload; the keychain is read when there is none.
    qvt::Guarded<std::optional<std::pair<std::string, std::string>>> resumeAccount;
    std::atomic<bool> showPasswordField{false};
    std::atomic<bool> incorrectPassword{false};
    std::atomic<bool> finishedfetchingUsers{false};

    // Paths
    std::string userHomeDirectory;
    std::string transferDataFilePath;
    std::string uploadClaimPath;
    qvt::platform::UploadClaim uploadClaim;
    // Uploads, resumes and retries begun in this controller (main thread): the release of the
    // hold queued at the end of one is not carried out once another has begun.
    std::uint64_t uploadsBegun = 0;

    // Mode flags
    std::atomic<bool> isZeroState{false};
    std::atomic<bool> filesAddedAtZeroState{true};
    std::atomic<bool> removeFilesAfterUpload{false};
    // The tag of the hidden copies of the upload taken up from the record (0: it had none).
    std::atomic<std::uint32_t> resumedPartialCopyTag{0};
    std::atomic<bool> finishedPopulatingDestinationFolders{false};
    std::atomic<bool> isStatusWindowHidden{false};
    std::atomic<bool> nasUsersViewDisplayed{false};
    std::atomic<bool> uploadFilesButtonEnable{false};
    std::atomic<bool> transferWindowShouldClose{true};
    // The window's close button asked (windowShouldClose) for the close now under way; main
    // thread only.
    bool closeAskedByWindow = false;

    // Counters
    std::atomic<std::uint64_t> totalSourceFilesSize{0};
    std::atomic<std::int64_t> totalNumberOfSourceFolders{0};
    std::atomic<std::int64_t> totalNumberOfSourceFiles{0};
    std::atomic<std::int64_t> minorOSVersion{0};
    std::atomic<std::int64_t> progressMaxValue{100};
    std::atomic<std::int64_t> progressMaxValue2{100};
    std::atomic<std::int64_t> transferProgressValue{5};
    std::atomic<std::int64_t> transferProgressValue2{5};

    // Status texts
    qvt::Guarded<std::string> progressStatus;
    qvt::Guarded<std::string> subProgressStatus;
    qvt::Guarded<std::string> progressStatusMsg1;
    qvt::Guarded<std::string> progressStatusMsg2;
    qvt::Guarded<std::string> uploadErrorString;
    // The sentence of the last lost-connection dialog: what went wrong with the device.
    qvt::Guarded<std::string> deviceProblemSentence;
    // Where the uploaded files can be seen, set at the end of an upload: the destination's
    // smb:// URL on a share, its file:// URL on a local volume.
    qvt::Guarded<std::string> uploadedFilesUrl;
    qvt::Guarded<std::string> numberOfFilesAndFolders;
    qvt::Guarded<qvt::Colour> statusTextColor;

    // Held for every build-and-write of the state file, so two writes never overlap.
    std::mutex transferDataFileLock;
    // Set, under that lock, by the last write of an upload suspended for the end of the
    // session (the process may end at any moment after, and a write it ended in the middle of
    // would leave a temporary file behind), and after the last record of an upload that ended
    // with every file arrived (another process may own the file next). Writes stay off until
    // the upload copies again or a new one begins.
    bool recordSealedForExit = false;
    // What the last periodic write put in the file, under that lock: a paused upload, or one
    // waiting for its device or for room, would otherwise write the same file again every few
    // seconds, for hours, with thousands of paths in it. Forgotten when a new upload begins.
    std::optional<qvt::Record> lastRootWritten;
    std::size_t lastHandledCountWritten = 0;
    // The file as that write left it (its identity and size): one removed or replaced since is
    // written again.
    std::string lastFileStampWritten;
    // Counts the writes begun, under that lock: a write that let the lock go while the
    // destination's volume was flushed gives way to any write begun meanwhile, which holds a
    // newer record.
    std::uint64_t transferDataWritesBegun = 0;
    // Builds and writes the record under that lock; `last` seals it (see above).
    void writeTransferData(bool last);
    // Flushes a local destination volume before a record of an upload under way is written;
    // false when the record must not be written (see there). Called with `lock` held.
    bool flushDestinationBeforeRecording(std::unique_lock<std::mutex>& lock, std::uint64_t begun);
    // The delegate's message after each copied file: one send at a time, the newest state.
    std::shared_ptr<qvt::platform::LatestOnlyTask> perFileStatusUpdate;

    // Lists (SourceEntry, FolderNode and FailedTransferRecord entries are records)
    qvt::Guarded<qvt::List> sourceFilesArray;
    qvt::Guarded<qvt::List> transferredSourceFilesArray;
    qvt::HandledPaths inProcessSourceFilesArray;
    qvt::Guarded<std::vector<std::string>> excludeSourceFilesArray;
    qvt::Guarded<std::vector<std::string>> excludeSystemFilesList;
    qvt::Guarded<std::vector<std::string>> parseDefaultsSourceFilesList;
    qvt::Guarded<qvt::List> destinationFoldersList;
    qvt::Guarded<qvt::List> createFolderParentChildArray;
    qvt::Guarded<qvt::List> failedTransferArray;
    // The failed items an upload taken up after a restart had recorded before it: the upload
    // does not show them or try them again, but the console still tells them.
    qvt::Guarded<qvt::List> failedBeforeRestart;
    qvt::Guarded<qvt::List> failedFilesListTreeControllerArray;
    qvt::Guarded<qvt::Record> transferredFileSizeDitionary;

    // Screens: the stack of the main area (the last element is the screen shown).
    std::vector<qvt::Screen> mainTransferView;
    double failedListRowHeight = 37;
    // The failed-files list shows each reason under its file's name (the show/hide button's
    // tag 1) or the names alone (tag 0).
    std::atomic<bool> failedListDetailed{false};
    qvt::Guarded<std::string> passwordPlaceholder;
    // The status screen's controls beyond its texts: the pause button's role, the close
    // button's title, the warning about failed files and the uploaded-files link.
    struct StatusControls {
        int pauseButtonTag = 3;
        std::string closeButtonTitle;
        std::string errorWarningMessage;
        std::string viewNowTitle;
        std::string uploadedFilesLabel;
        std::string uploadedFilesLinkTitle;
        bool uploadedFilesLinkHidden = true;
    };
    qvt::Guarded<StatusControls> statusControls;

    // ---- What the screens show, as values for the front end ----
    qvt::UsersScreen usersScreen() const;
    qvt::SourcesScreen sourcesScreen() const;
    qvt::DestinationScreen destinationScreen() const;
    qvt::StatusSnapshot statusSnapshot() const override;
    qvt::FailedList failedList() const;
    // Sends the status screen's current state to the front end.
    void reloadStatus();
    std::optional<std::string> localeText(std::string_view property) const override;
    bool zeroState() const override;

    // Localised texts: one property per key, e.g. localeCANCEL_btn.
#define QVT_DECLARE_LOCALE_PROPERTY(property, key) std::string locale##property;
    QVT_LOCALE_TEXTS(QVT_DECLARE_LOCALE_PROPERTY)
#undef QVT_DECLARE_LOCALE_PROPERTY

    // ---- Wiring ----
    qvt::QVTransferView* view() const {
        return view_.get();
    }
    const qvt::Services& services() const {
        return *services_;
    }
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
    explicit QVTransferPrivate(const qvt::Services& services);

    std::unique_ptr<qvt::Services> services_;
    std::unique_ptr<qvt::QVTransferView> view_;
    std::unique_ptr<qvt::engine::UploadJob> job_;

    // The disconnect recovery's steps (engine/device_missing.cpp).
    // Runs the resumption unless another one is under way; answers whether it ran.
    bool resumeAfterDisconnectOnce();
    void watchForDestinationVolume();
    void finishReconnection();
    // The copy loop over the source list, for a new upload or one taken up after a restart.
    void walkSourceFiles(bool afterRestart);
    // Held by the one resumption under way.
    std::mutex recoveryMutex;
};

namespace qvt {
// Loads the interface definition named "QVTransfer" from the library's own resources with the
// controller as its owner.
class QVTransferInstantiate {
  public:
    static bool initQVTransferForClass(QVTransferPrivate& owner);
};
}  // namespace qvt
