#include "session/qvtransfer_private.h"
#include "session/resources.h"
#include "session/services.h"

namespace qvt {

bool QVTransferInstantiate::initQVTransferForClass(QVTransferPrivate& owner) {
    // The interface definition ships inside the library; without it there is no window to
    // drive, and the controller is not created.
    const auto definition = readResource(owner.services().interfaceDefinitionPath);
    if (!definition || definition->empty()) return false;
    return owner.loadInterface(*definition);
}

const char* screenName(Screen s) {
    switch (s) {
        case Screen::Users:
            return "nasUsersView";
        case Screen::Sources:
            return "sourceFilesView";
        case Screen::Destination:
            return "destinationFilesView";
        case Screen::Status:
            return "statusView";
    }
    return "";
}

const char* dialogName(Dialog d) {
    switch (d) {
        case Dialog::UploadErrors:
            return "errorViewWindow";
        case Dialog::LostConnection:
            return "lostConnectionDialog";
        case Dialog::DeviceMissing:
            return "deviceMissingDialog";
        case Dialog::DeviceFull:
            return "deviceFullDialog";
        case Dialog::ProtectedFiles:
            return "containsSystemFilesDialog";
        case Dialog::QuitConfirmation:
            return "quitDialog";
        case Dialog::CancelUploadConfirm:
            return "cancelUploadConfDialog";
    }
    return "";
}

}  // namespace qvt
