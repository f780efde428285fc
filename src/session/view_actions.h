// What a front end may ask of the controller: the user's actions on the wizard's screens. A
// front end (the Qt window, the console) holds this interface and the values of
// session/view_models.h, never the controller itself. Call these on the main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvtransfer/Value.h"
#include "session/view_models.h"

namespace qvt {

class QVTransferActions {
  public:
    virtual ~QVTransferActions() = default;

    // ---- Set-up, once, when the front end is built ----
    // The localised text of a locale property ("CANCEL_btn"), or nothing for an unknown one.
    virtual std::optional<std::string> localeText(std::string_view property) const = 0;
    // Whether the device has never been uploaded to (the welcoming variant of the screens).
    virtual bool zeroState() const = 0;
    // The file chooser the front end offers: fills the chosen paths and answers 1 (OK) or 0.
    virtual void setSourceFilesOpenPanel(
        std::function<int(std::vector<std::string>&)> openPanel) = 0;

    // The status screen's values as they are now: its counters move with every file, between
    // the screen's own updates.
    virtual StatusSnapshot statusSnapshot() const = 0;

    // ---- Every wizard screen ----
    virtual void processBackScreens() = 0;
    // Closing the window: answers whether it may close.
    virtual bool windowShouldClose() = 0;
    virtual void windowWillClose() = 0;
    // The quit confirmation's two buttons.
    virtual void quitTransferYES() = 0;
    virtual void quitTransferNO() = 0;

    // ---- Users screen ----
    virtual void selectUser(int selectedIndex) = 0;
    // The password field's text, as typed.
    virtual void setUserPassword(const std::string& password) = 0;
    virtual void verifyUserLoginAndSelectSourceFiles() = 0;

    // ---- Sources screen ----
    virtual void chooseSourceFiles() = 0;
    virtual void concludeDragOperation(const std::vector<std::string>& filenames) = 0;
    // The tick box of a row was set or cleared.
    virtual void setSourceTicked(int row, bool ticked) = 0;
    virtual void processDeleteFiles(int row) = 0;
    virtual void setRemoveFilesAfterUpload(bool remove) = 0;
    virtual void selectDestinationForFileTransfer() = 0;

    // ---- Destination screen ----
    // A node of the tree was expanded: `userInfo` holds its index path under "NSObject".
    virtual void outlineViewItemDidExpand(const Record& userInfo) = 0;
    // The new-folder link; the cancel button beside the new folder; the end of the in-place
    // edit of its name, with the text typed (or the name as it was, when the edit was
    // cancelled).
    virtual void createNewFolderAtDestination() = 0;
    virtual void deleteNewFolder() = 0;
    virtual void textDidEndEditing(const std::string& folderName) = 0;
    virtual void uploadFiles() = 0;

    // ---- Status screen ----
    // The pause/resume and stop buttons, by tag: 0 stop, 3 pause, 4 resume.
    virtual void cancelUploadFiles(int senderTag) = 0;
    virtual void hideStatusWindow() = 0;
    // Closing the status after an upload with failed files: the session ends.
    virtual void terminateTransfer() = 0;
    // The completion screen's links: the failed-files window, and the uploaded files opened
    // in the desktop's file browser.
    virtual void viewTransferErrors() = 0;
    virtual void showUploadedFiles() = 0;

    // ---- The failed-files window ----
    // Switches its list between the names alone and the names with their reasons.
    virtual void showHideTransferErrors() = 0;
    // Its buttons, by tag: 1 dismisses the failures (the session ends), 2 retries them all.
    virtual void retryOrDismissTransfer(int senderTag) = 0;

    // ---- Leaving ----
    // The desktop session ends (logout, shutdown) during an upload: the upload is paused and
    // its state written before this returns, so that it can be taken up after the restart.
    // Unlike a stop, nothing of the record is dropped.
    virtual void suspendForShutdown() = 0;
};

}  // namespace qvt
