// What the controller needs from a front end. The Qt window implements it, so does the console
// front end, and tests use a scripted one; the controller never touches a widget itself.
//
// Controls are named by the controller's outlet names ("uploadWindowHeading", "passwordField",
// "statusCloseButton", ...). A front end ignores names it does not show.
#pragma once

#include <string>

#include "session/qvtransfer_private.h"

namespace qvt {

class QVTransferView {
  public:
    virtual ~QVTransferView() = default;

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

    // Runs `dialog` modally on the main thread and returns the code it was ended with.
    virtual int runModal(Dialog dialog) = 0;
    // Ends the modal run of `dialog` with `code` and closes it.
    virtual void endModal(Dialog dialog, int code) = 0;
    // Ends whatever modal run is under way.
    virtual void stopModal() = 0;

    virtual void setText(const std::string& control, const std::string& text) = 0;
    // The text a control shows now ("" for an unknown control or one without text).
    virtual std::string text(const std::string& control) const {
        (void)control;
        return {};
    }
    virtual void setEnabled(const std::string& control, bool enabled) = 0;
    virtual void setHidden(const std::string& control, bool hidden) = 0;
    virtual void setTag(const std::string& control, int tag) = 0;
    virtual void setValue(const std::string& control, double value) = 0;
    // Moves a control's top edge to `y` and changes its height by `heightDelta` points.
    virtual void moveControl(const std::string& control, double y, double heightDelta) = 0;
    // Puts `control` on `anchor`'s line, `gap` points after the end of `anchor`'s text, and
    // moves it left as far as needed for it to end at `maxRight` at most. Text widths are known
    // to the view alone; a view without geometry ignores it.
    virtual void placeAfterText(const std::string& /*control*/, const std::string& /*anchor*/,
                                double /*gap*/, double /*maxRight*/) {}
    // Reloads a list, table, tree or popup from the controller's state.
    virtual void reload(const std::string& control) = 0;
    // The folder of the destination outline's selected row ("" when no row is selected).
    virtual std::string selectedDestinationFolder() const { return {}; }
    // Gives `control` the keyboard focus at the next turn of the event loop, selecting its
    // text when asked. Front ends without focus ignore it.
    virtual void focus(const std::string& control, bool selectAll) {
        (void)control;
        (void)selectAll;
    }
};

}  // namespace qvt
