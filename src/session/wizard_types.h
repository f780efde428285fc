// Small types the controller and its front ends share: the screens and dialogs of the wizard,
// a file's copy error and a status colour.
#pragma once

#include <string>

namespace qvt {

// The wizard's screens, in their order.
enum class Screen { Users, Sources, Destination, Status };

// The modal windows of the wizard.
enum class Dialog {
    UploadErrors,         // errorViewWindow: the failed-files list
    LostConnection,       // lostConnectionDialog
    DeviceMissing,        // deviceMissingDialog
    DeviceFull,           // deviceFullDialog
    ProtectedFiles,       // containsSystemFilesDialog
    QuitConfirmation,     // quitDialog
    CancelUploadConfirm,  // cancelUploadConfDialog
};

const char* screenName(Screen s);
const char* dialogName(Dialog d);

// Why one file could not be copied: the platform's code (512 and 640 are the product's write
// errors, anything else an errno value) and its readable description.
struct TransferError {
    int code = 0;
    std::string localizedDescription;
};

// An RGB colour of 8-bit channels with an alpha fraction.
struct Colour {
    int red = 0, green = 0, blue = 0;
    double alpha = 1.0;
    bool operator==(const Colour&) const = default;
};

}  // namespace qvt
