// The host's handle on the wizard: each operation goes to the controller behind it.
#include "qvtransfer/QVTransfer.h"

#include "session/qvtransfer_private.h"
#include "session/services.h"

QVTransfer::QVTransfer(std::shared_ptr<QVTransferPrivate> d) : d(std::move(d)) {}

QVTransfer::~QVTransfer() = default;

std::shared_ptr<QVTransfer> QVTransfer::initWithDevice(const qvt::Record& device) {
    return QVTransferPrivate::hostInterface(
        QVTransferPrivate::initWithDevice(device, qvt::Services::defaults()));
}

std::shared_ptr<QVTransfer> QVTransferPrivate::hostInterface(
    std::shared_ptr<QVTransferPrivate> controller) {
    if (!controller) return nullptr;
    return std::shared_ptr<QVTransfer>(new QVTransfer(std::move(controller)));
}

void QVTransfer::setDelegate(const std::shared_ptr<QVTransferDelegate>& delegate) {
    d->setDelegate(delegate);
}

void QVTransfer::startFileTransfer() {
    d->startFileTransfer();
}

void QVTransfer::resumeFileTransferAfterRestart() {
    d->resumeFileTransferAfterRestart();
}

void QVTransfer::resumeFileTransferAfterRestart(const std::string& userName,
                                                const std::string& password) {
    d->resumeAccount.set(std::make_pair(userName, password));
    d->resumeFileTransferAfterRestart();
}

bool QVTransfer::hasUploadToResume() const {
    return d->hasUploadToResume();
}

void QVTransfer::suspendForEndOfSession() {
    d->suspendForEndOfSession();
}

void QVTransfer::discovereDevicesForTransfer(const qvt::Record& devices) {
    d->discovereDevicesForTransfer(devices);
}
