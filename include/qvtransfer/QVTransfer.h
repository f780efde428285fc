// The upload wizard's controller, as a host sees it. A host creates it from a device record,
// sets a delegate and calls startFileTransfer() (a new session) or
// resumeFileTransferAfterRestart():
//
//   auto wizard = QVTransfer::initWithDevice(deviceRecord);
//   wizard->setDelegate(myDelegate);
//   wizard->startFileTransfer();
//
// Call it on the thread of the running QApplication. The wizard's own state lives behind the
// private pointer, so the library can change it without changing what a host compiles against.
#pragma once

#include <memory>
#include <string>

#include "qvtransfer/Export.h"
#include "qvtransfer/QVTransferDelegate.h"
#include "qvtransfer/Value.h"
#include "qvtransfer/Version.h"

class QVTransferPrivate;

class QVT_EXPORT QVTransfer {
  public:
    // Creates the controller for `device` (a device record: "deviceType", "isZeroState",
    // "deviceInfo"), or nothing when its interface cannot be loaded.
    static std::shared_ptr<QVTransfer> initWithDevice(const qvt::Record& device);
    ~QVTransfer();
    QVTransfer(const QVTransfer&) = delete;
    QVTransfer& operator=(const QVTransfer&) = delete;

    // The wizard holds its delegate weakly: keep it alive while the wizard may report.
    void setDelegate(const std::shared_ptr<QVTransferDelegate>& delegate);
    // Opens the wizard on its first screen.
    void startFileTransfer();
    // Takes up the upload recorded in the state file for this device. A network device's
    // share is mounted with the account stored in the keychain for it.
    void resumeFileTransferAfterRestart();
    // The same with the account given here and the keychain left unread: for a host that
    // keeps the device's account itself, or runs where no keychain is.
    void resumeFileTransferAfterRestart(const std::string& userName, const std::string& password);
    // Whether the state file holds an interrupted upload for this device that
    // resumeFileTransferAfterRestart() would take up; a host asks it before offering the resume.
    // It reads the file and changes nothing.
    bool hasUploadToResume() const;
    // The desktop session is ending (the host got SIGTERM or SIGHUP) and the process ends when
    // this returns. An upload under way is paused and recorded, as for a restart, so that
    // resumeFileTransferAfterRestart() takes it up later; unlike a stop, nothing of it is
    // dropped. The shares the wizard mounted are let go and their folders removed.
    void suspendForEndOfSession();
    // The host's device discovery: the devices it sees now, as a record.
    void discovereDevicesForTransfer(const qvt::Record& devices);

  private:
    friend class QVTransferPrivate;
    explicit QVTransfer(std::shared_ptr<QVTransferPrivate> d);
    std::shared_ptr<QVTransferPrivate> d;
};
