// What the controller needs from a front end. The Qt window implements it, so does the console
// front end, and tests use a scripted one; the controller never touches a widget itself.
//
// The screens get their contents as values (session/view_models.h); the questions the
// controller asks return the user's answer. Controls outside those (headings, the Next and
// Upload buttons, ...) are named by the controller's outlet names ("uploadWindowHeading",
// "chooseSourceFilesNextButton", ...); a front end ignores names it does not show.
#pragma once

#include <string>

#include "session/view_models.h"
#include "session/wizard_types.h"

namespace qvt {

class QVTransferView {
  public:
    virtual ~QVTransferView() = default;

    // ---- The window ----
    // Brings the window to the front and activates the application.
    virtual void bringToFront() = 0;
    // Closes the window (as a program would; this does not ask windowShouldClose).
    virtual void closeWindow() = 0;
    // Minimises the window to the dock/task bar; the upload goes on behind it.
    virtual void minimizeWindow() {}
    // Stops the source screen's drop area from handing dropped names to the controller, once
    // the session has ended.
    virtual void detachSourceDropTarget() {}
    // Shows `screen` in the main area, or an empty area when `screen` is nullptr.
    virtual void showScreen(const Screen* screen) = 0;

    // ---- The screens' contents (any thread; a front end shows them on its own thread) ----
    virtual void showUsers(const UsersScreen& screen) = 0;
    virtual void showSources(const SourcesScreen& screen) = 0;
    virtual void showDestinations(const DestinationScreen& screen) = 0;
    virtual void showStatus(const StatusSnapshot& status) = 0;
    virtual void showFailedList(const FailedList& list) = 0;
    // Brings up the failed-files window with the list given last; it stays until one of its
    // buttons or endModal(Dialog::UploadErrors) closes it. Front ends without one ignore it.
    virtual void showErrorWindow() {}
    // The folder of the destination outline's selected row ("" when no row is selected).
    virtual std::string selectedDestinationFolder() const { return {}; }

    // ---- The destination tree's new folder (main thread; front ends without a tree ignore
    // them) ----
    // Expands the row of `folderPath` (not its children) as the user's click would, so the
    // controller's outlineViewItemDidExpand hears of it.
    virtual void expandDestinationFolder(const std::string& folderPath) { (void)folderPath; }
    // The row of `folderPath` among the rows shown, counted from 0 at the top; -1 when it is
    // not shown.
    virtual int destinationRowOf(const std::string& folderPath) const {
        (void)folderPath;
        return -1;
    }
    // Selects `row` alone, scrolls it into view, starts editing its name with the text
    // selected, and shows the new folder's cancel button beside it. The end of the edit goes
    // to the controller's textDidEndEditing.
    virtual void editDestinationRow(int row) { (void)row; }
    // After the edit: the name is no longer editable, `row` is selected again, the tree takes
    // the focus and the cancel button is hidden.
    virtual void endDestinationEditing(int row) { (void)row; }
    // Hides the cancel button and brings the names back into view.
    virtual void hideNewFolderCancelButton() {}

    // A file of the upload has arrived whole under `destination` (its final name). Called on
    // the copy thread, once per file; a front end that reports each file keeps it.
    virtual void fileArrived(const std::string& source, const std::string& destination) {
        (void)source;
        (void)destination;
    }

    // ---- Questions: each runs its dialog modally on the main thread (a call from another
    // thread waits for it) and answers what the user chose, or Dismissed when the dialog was
    // ended another way (endModal, stopModal, the window closing) ----
    virtual StopAnswer askStopUpload(const StopQuestion& question) = 0;
    virtual ProtectedFilesAnswer askMoveProtectedFiles(const ProtectedFilesQuestion& question) = 0;
    virtual LostConnectionAnswer askLostConnection() = 0;
    // The device's dialogs during an upload: they return when their Close button is pressed or
    // the controller ends them.
    virtual void showDeviceMissing() = 0;
    virtual void showDeviceFull() = 0;
    // Tells the user why the interrupted upload could not be taken up. The window shows the
    // sentence with a Close button, which closes the window too; the console prints it and
    // ends. Main thread.
    virtual void showResumeProblem(const ResumeProblem& problem) = 0;
    // Tells the user why an action did nothing (the window: a message with a Close button over
    // the screen; the console: the sentence printed). Main thread.
    virtual void showNotice(const Notice& notice) = 0;
    // Ends the modal run of `dialog` and closes it.
    virtual void endModal(Dialog dialog) = 0;
    // Ends whatever modal run is under way.
    virtual void stopModal() = 0;

    // ---- Single controls ----
    virtual void setText(const std::string& control, const std::string& text) = 0;
    virtual void setEnabled(const std::string& control, bool enabled) = 0;
    virtual void setHidden(const std::string& control, bool hidden) = 0;
    virtual void setTag(const std::string& control, int tag) = 0;
    // Moves a control's top edge to `y` and changes its height by `heightDelta` points.
    virtual void moveControl(const std::string& control, double y, double heightDelta) = 0;
    // Gives `control` the keyboard focus at the next turn of the event loop, selecting its
    // text when asked. Front ends without focus ignore it.
    virtual void focus(const std::string& control, bool selectAll) {
        (void)control;
        (void)selectAll;
    }
};

}  // namespace qvt
