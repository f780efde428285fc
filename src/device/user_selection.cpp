// Choosing a user account on a network device and checking its password.
#include <algorithm>

#include "device/device_requests.h"
#include "platform/format.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "session/view.h"

using qvt::List;
using qvt::Record;
using qvt::platform::format;
using qvt::platform::QueuePriority;

namespace {

std::string listDescription(const List& list) {
    return qvt::Value(list).describe();
}

}  // namespace

void QVTransferPrivate::selectNASUser() {
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self] {
        const std::string address = self->deviceInfo().string("ipAddress");
        const auto reply = qvt::device::requestUsers(*self->services().http, address);
        if (reply.users.empty()) {
            self->dispatcher().mainSync([&] {
                self->tellDeviceProblem(reply.problem);
                self->runLostConnectionDialog(1);
            });
        } else {
            self->dispatcher().mainSync(
                [&] { self->processUsersReply(reply.status, reply.users); });
        }
        self->log().write(
            format("QVTransfer: allUsers:%@\n%@", reply.logForm, listDescription(reply.users)));
    });
}

void QVTransferPrivate::processUsersReply(long httpStatus, const List& users) {
    List records;
    userPassword.set("");
    passwordPlaceholder = localePASSWORD_txt;
    passwordFieldFocusRing = true;
    view()->focus("passwordField", false);

    auto userRecord = [](const qvt::Value& v) {
        const Record* r = v.asRecord();
        return Record{{"username", r ? r->string("username") : std::string()},
                      {"is_password", r ? r->string("is_password") : std::string()}};
    };

    if (httpStatus == 200) {
        if (users.size() > 1) {
            for (const auto& u : users) records.push_back(userRecord(u));
            clearMainTransferView();
            showScreen(qvt::Screen::Users);
            nasUsersViewDisplayed = true;
        } else {
            const Record only = userRecord(users.front());
            userName.set(only.string("username"));
            records.push_back(only);
            clearMainTransferView();
            clearMainTransferView();
            if (only.string("is_password") == "true") {
                showScreen(qvt::Screen::Users);
                nasUsersViewDisplayed = true;
            } else {
                // A single account without a password needs no choice and no login.
                populateDestinationFoldersList();
                showScreen(qvt::Screen::Sources);
            }
        }
    }

    std::stable_sort(records.begin(), records.end(), [](const qvt::Value& a, const qvt::Value& b) {
        return a.asRecord()->string("username") < b.asRecord()->string("username");
    });
    usersArrayController.set(records);
    usersPopupSelectedIndex = 0;
    finishedfetchingUsers = true;
    view()->showUsers(usersScreen());
    selectUser(usersPopupSelectedIndex);
}

void QVTransferPrivate::selectUser(int selectedIndex) {
    const List users = usersArrayController.get();
    if (users.empty() || selectedIndex < 0 ||
        static_cast<std::size_t>(selectedIndex) >= users.size())
        return;
    usersPopupSelectedIndex = selectedIndex;
    const Record* user = users[static_cast<std::size_t>(selectedIndex)].asRecord();
    incorrectPassword = false;
    passwordPlaceholder = localePASSWORD_txt;
    passwordFieldFocusRing = true;
    userName.set(user ? user->string("username") : std::string());
    showPasswordField = user && user->string("is_password") == "true";
    userPassword.set("");
    view()->showUsers(usersScreen());
}

void QVTransferPrivate::verifyUserLoginAndSelectSourceFiles() {
    incorrectPassword = false;
    passwordFieldFocusRing = false;
    const std::string password = userPassword.get();
    // The check blocks the window for up to the request's time-out; the device answers fast.
    const auto reply = qvt::device::requestLogin(*services().http, deviceInfo().string("ipAddress"),
                                                 userName.get(), password);
    // What the device said back to a request that carried the password is summed up, never
    // written out: a device may echo the request line.
    log().write(
        qvt::device::maskPassword(format("QVTransfer: verifyUserLoginAndSelectSourceFiles:%@\n%@",
                                         reply.logForm, reply.summary),
                                  password));

    if (!reply.record) {
        tellDeviceProblem(reply.problem);
        runLostConnectionDialog(2);
        return;
    }
    if (qvt::device::loginSucceeded(reply.record)) {
        passwordFieldFocusRing = true;
        populateDestinationFoldersList();
        clearMainTransferView();
        showScreen(qvt::Screen::Sources);
        return;
    }
    // No "status", or anything but "success": a wrong password.
    passwordPlaceholder = localePASSWORD_txt;
    incorrectPassword = true;
    view()->showUsers(usersScreen());
    view()->focus("passwordField", true);
}

void QVTransferPrivate::tellDeviceProblem(qvt::device::ReplyProblem problem) {
    // "Cannot reach" only when nothing answered; an answer too late, too large or not
    // understood is told as what it was.
    const char* key = qvt::device::replyProblemTextKey(problem);
    tellConnectionProblem(*key ? localizedString(key) : localeLOST_CONNECTION_MSG_txt);
}

void QVTransferPrivate::tellConnectionProblem(const std::string& sentence) {
    deviceProblemSentence.set(sentence);
    view()->setText("lostConnectionMessage", sentence);
}

void QVTransferPrivate::runLostConnectionDialog(int retryTag) {
    switch (view()->askLostConnection()) {
        case qvt::LostConnectionAnswer::Retry:
            retryDeviceConnection(retryTag);
            break;
        case qvt::LostConnectionAnswer::Cancel:
            cancelQVTransfer();
            break;
        case qvt::LostConnectionAnswer::Dismissed:
            break;
    }
}

void QVTransferPrivate::retryDeviceConnection(int tag) {
    view()->endModal(qvt::Dialog::LostConnection);
    switch (tag) {
        case 1: {
            finishedfetchingUsers = false;
            selectNASUser();
            const std::string product = deviceInfo().string("productName");
            view()->setText("uploadWindowHeading", format(localeUPLOADING_FILES_TO_txt, product));
            view()->setText("zeroUploadWindowHeading",
                            format(localeUPLOADING_FILES_TO_title, product));
            break;
        }
        case 2:
            verifyUserLoginAndSelectSourceFiles();
            break;
        case 3: {
            auto self = shared_from_this();
            dispatcher().detach([self] { self->populateNASDestinationFoldersList(); });
            break;
        }
        default:
            break;
    }
}

void QVTransferPrivate::discovereDevicesForTransfer(const Record& devices) {
    if (!reconnectingDevice()) return;
    const std::string type = deviceType();
    if (type == "NAS") {
        const std::string serial = deviceInfo().string("serialNumber");
        const List* found = devices.list("NAS");
        if (!found) return;
        for (const auto& entry : *found) {
            const Record* device = entry.asRecord();
            if (!device || device->string("serialNumber") != serial) continue;
            log().write(
                format("QVTransfer: discovereDevicesForTransfer: %@", qvt::describe(*device)));
            // Replace the record as a whole, so other threads see the old or the new one.
            Record updated = selectedDeviceDict.get();
            Record info = deviceInfo();
            info.set("ipAddress", device->string("ipAddress"));
            updated.set("deviceInfo", info);
            selectedDeviceDict.set(updated);
            log().write(format("QVTransfer: discovereDevicesForTransfer: selectedDeviceDict: %@",
                               qvt::describe(updated)));
            resumeTransferAfterDisconnect();
            return;
        }
    } else if (type == "DAS") {
        const List* found = devices.list("DAS");
        if (!found) return;
        const std::string uuid = selectedDASUUID.get();
        for (const auto& entry : *found) {
            const Record* device = entry.asRecord();
            const List* volumes = device ? device->list("volumeArray") : nullptr;
            if (!volumes) continue;
            for (const auto& v : *volumes) {
                const Record* volume = v.asRecord();
                if (volume && volume->string("uuid") == uuid) {
                    // Every device entry holding the volume causes a call: two entries, two
                    // calls.
                    resumeTransferAfterDisconnect();
                    break;
                }
            }
        }
    }
}
