// The controller's state as the front end shows it: one value per screen, built at the moment
// it is sent, and the small actions that set a control's value in the controller.
#include <algorithm>
#include <cstdint>
#include <unordered_map>

#include "engine/status_lines.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"
#include "source/source_entry.h"

using qvt::List;
using qvt::Record;
using qvt::Value;

namespace {

// A count cell as the row holds it: a string once counted; the number a row starts with is no
// count yet and shows nothing.
std::string countLabel(const Record& row, const char* key) {
    const Value* value = row.find(key);
    return value && value->isString() ? *value->asString() : std::string();
}

}  // namespace

qvt::UsersScreen QVTransferPrivate::usersScreen() const {
    qvt::UsersScreen screen;
    for (const Value& user : usersArrayController.get())
        if (const Record* r = user.asRecord()) screen.userNames.push_back(r->string("username"));
    screen.selectedIndex = usersPopupSelectedIndex;
    screen.passwordShown = showPasswordField;
    const std::string placeholder = passwordPlaceholder.get();
    screen.passwordPlaceholder = placeholder.empty() ? localePASSWORD_txt : placeholder;
    screen.passwordCleared = userPassword.with([](const std::string& p) { return p.empty(); });
    screen.incorrectPassword = incorrectPassword;
    screen.passwordFocusRing = passwordFieldFocusRing;
    screen.deviceImage = deviceImage;
    screen.usersFetched = finishedfetchingUsers;
    return screen;
}

qvt::SourcesScreen QVTransferPrivate::sourcesScreen() const {
    qvt::SourcesScreen screen;
    const List rows = sourceFilesArray.get();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Record* row = rows[i].asRecord();
        const Record entry = row ? *row : Record{};
        qvt::SourceRow out;
        const Value* box = entry.find("filesSelectCheckbox");
        out.ticked = box && box->toInt64() != 0;
        out.fileName = entry.string("fileName");
        out.fileImage = entry.string("fileImage");
        out.fullFilePath = entry.string("fullFilePath");
        out.counting = entry.string("numberOfFiles") == qvt::source::kCountingPlaceholder;
        if (!out.counting) {
            out.folders = countLabel(entry, "numberOfFolders");
            out.files = countLabel(entry, "numberOfFiles");
            if (const Value* v = entry.find(qvt::source::kFileCountKey))
                out.fileCount = v->toInt64();
            if (const Value* v = entry.find(qvt::source::kFolderCountKey))
                out.folderCount = v->toInt64();
            if (const Value* v = entry.find("fileSize"))
                out.bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(0, v->toInt64()));
        }
        out.nameToolTip = sourceFilesToolTip("fullPathColumn", static_cast<int>(i));
        if (out.counting) screen.allCounted = false;
        screen.rows.push_back(std::move(out));
    }
    screen.removeFilesAfterUpload = removeFilesAfterUpload;
    screen.summary = numberOfFilesAndFolders.get();
    screen.countingText = localeCALCULATING_txt;
    return screen;
}

qvt::DestinationScreen QVTransferPrivate::destinationScreen() const {
    qvt::DestinationScreen screen;
    screen.roots = destinationFoldersList.get();
    screen.finished = finishedPopulatingDestinationFolders;
    screen.uploadEnabled = uploadFilesButtonEnable;
    screen.newFolderEnabled = createNewFolderLinkEnabled;
    screen.filesToUpload = job().numberOfFilesCountForTransfer;
    return screen;
}

qvt::StatusSnapshot QVTransferPrivate::statusSnapshot() const {
    const qvt::engine::UploadJob& upload = job();
    qvt::StatusSnapshot s;
    s.state = upload.state();
    s.paused = upload.paused();
    s.pausedByUser = upload.pausedFor(qvt::engine::PauseReason::User);
    s.fileInProgress = !upload.inProcessDestFilePath.get().empty();
    s.deviceMissing = upload.pausedFor(qvt::engine::PauseReason::DeviceMissing);
    s.deviceFull = upload.pausedFor(qvt::engine::PauseReason::DeviceFull);
    s.stillFull = upload.stillFull;
    s.flushingAtEnd = upload.flushingAtEnd;
    s.moving = removeFilesAfterUpload;
    s.failed = upload.failed();
    s.filesDone = upload.progressValue;
    s.filesTotal = upload.numberOfFilesCountForTransfer;
    s.filesArrived = arrivedFileCount();
    s.bytesTotal = totalSourceFilesSize;
    // With what is written of the file in hand; never past the total for it, as a file just
    // handled may be counted in both for a moment.
    const std::uint64_t handled = upload.totalTransferredFilesSize;
    s.bytesDone =
        std::max(handled, std::min(handled + upload.bytesOfFileInHand.load(), s.bytesTotal));
    s.barValue = static_cast<double>(transferProgressValue.load());
    s.barMaximum = static_cast<double>(progressMaxValue.load());
    s.zeroBarValue = static_cast<double>(transferProgressValue2.load());
    s.zeroBarMaximum = static_cast<double>(progressMaxValue2.load());
    s.line1 = progressStatusMsg1.get();
    s.line2 = progressStatusMsg2.get();
    s.subStatus = subProgressStatus.get();
    s.colour = statusTextColor.get();
    const StatusControls controls = statusControls.get();
    s.pauseButtonTag = controls.pauseButtonTag;
    s.closeButtonTitle = controls.closeButtonTitle;
    s.warning = controls.errorWarningMessage;
    s.viewNowTitle = controls.viewNowTitle;
    s.uploadedFilesLabel = controls.uploadedFilesLabel;
    s.uploadedFilesLinkTitle = controls.uploadedFilesLinkTitle;
    s.uploadedFilesShown = !controls.uploadedFilesLinkHidden;
    s.sources = sourceFilesArray.with([](const qvt::List& rows) { return rows.size(); });
    s.destination = selectedDestinationShare.get();
    s.destinationUrl = uploadedFilesUrl.get();
    s.productName = deviceInfo().string("productName");
    for (const Value& value : failedTransferArray.get())
        if (const Record* r = value.asRecord())
            s.failures.push_back({r->string("sourceFilePath"), r->string("destFilePath"),
                                  r->string("localizedError")});
    for (const Value& value : failedBeforeRestart.get())
        if (const Record* r = value.asRecord())
            s.failedBeforeRestart.push_back({r->string("sourceFilePath"), r->string("destFilePath"),
                                             r->string("localizedError")});
    return s;
}

qvt::FailedList QVTransferPrivate::failedList() const {
    qvt::FailedList list;
    for (const Value& value : failedFilesListTreeControllerArray.get())
        if (const Record* row = value.asRecord())
            list.rows.push_back({row->string("fileName"), row->string("fileImage")});
    list.rowHeight = failedListRowHeight;
    list.heading = uploadErrorString.get();
    return list;
}

void QVTransferPrivate::reloadStatus() {
    view()->showStatus(statusSnapshot());
}

std::optional<std::string> QVTransferPrivate::localeText(std::string_view property) const {
    using Member = std::string QVTransferPrivate::*;
#define QVT_LOCALE_MEMBER(name, key) {#name, &QVTransferPrivate::locale##name},
    static const std::unordered_map<std::string_view, Member> members = {
        QVT_LOCALE_TEXTS(QVT_LOCALE_MEMBER)};
#undef QVT_LOCALE_MEMBER
    const auto found = members.find(property);
    if (found != members.end()) return this->*(found->second);
    // A text of the string table that no locale property holds (the accessible names).
    const std::string key(property);
    std::string text = localizedString(key);
    if (text == key) return std::nullopt;
    return text;
}

bool QVTransferPrivate::zeroState() const {
    return isZeroState;
}

void QVTransferPrivate::setUserPassword(const std::string& password) {
    userPassword.set(password);
}

void QVTransferPrivate::setSourceTicked(int row, bool ticked) {
    bool changed = false;
    sourceFilesArray.with([&](List& rows) {
        if (row < 0 || row >= static_cast<int>(rows.size())) return;
        if (Record* entry = rows[static_cast<std::size_t>(row)].asRecord()) {
            entry->set("filesSelectCheckbox", ticked ? 1 : 0);
            changed = true;
        }
    });
    if (changed) processDeselectedFiles(row);
}

void QVTransferPrivate::setRemoveFilesAfterUpload(bool remove) {
    removeFilesAfterUpload = remove;
}

void QVTransferPrivate::setSourceFilesOpenPanel(
    std::function<int(std::vector<std::string>&)> openPanel) {
    sourceFilesOpenPanel = std::move(openPanel);
}
