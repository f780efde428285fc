// The step from the source screen to the destination screen: the mount folder and the start of
// the destination list, the Next button with the move option's confirmation, and the entry into
// the destination screen.
#include <memory>

#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

using qvt::List;
using qvt::Record;
using qvt::Value;

namespace {

constexpr const char* kDestinationOutline = "destinationFolderOutlineView";

}  // namespace

void QVTransferPrivate::populateDestinationFoldersList() {
    finishedPopulatingDestinationFolders = false;
    setCreateNewFolderLinkEnabled(false);

    auto& files = qvt::platform::files();
    const std::string folder = userHomeDirectory + "/.QVTransfer";
    if (!files.exists(folder) && files.createFolder(folder, false) != 0)
        mountDir = "";
    else
        mountDir = folder;

    auto self = shared_from_this();
    const std::string type = deviceType();
    if (type == "NAS") {
        destinationFoldersList.set({});
        dispatcher().mainAsync([self] { self->rearrangeDestFilesList(); });
        dispatcher().detach([self] { self->populateNASDestinationFoldersList(); });
    } else if (type == "DAS") {
        dispatcher().detach([self] { self->populateDASDestinationFoldersList(); });
    }
}

void QVTransferPrivate::selectDestinationForFileTransfer() {
    if (!removeFilesAfterUpload) {
        showDestinaionSharesToTransfer();
        return;
    }
    buildExcludeSourceFilesArray();

    // The dialog confirms every move and says more when system files are among the sources.
    localeSYSTEM_FILE_WARNING1_txt_MAC = localizedString("MOVE_FILE_WARNING_txt");
    if (!excludeSourceFilesArray.get().empty()) {
        localeSYSTEM_FILE_WARNING1_txt_MAC =
            qvt::platform::format("%@\n\n%@", localizedString("SYSTEM_FILE_WARNING1_txt_MAC"),
                                  localizedString("SYSTEM_FILE_WARNING2_txt_MAC"));
    }
    switch (view()->askMoveProtectedFiles({localeSYSTEM_FILE_WARNING1_txt_MAC})) {
        case qvt::ProtectedFilesAnswer::StayOnSources:
            cancelOrContinueUpload(1);
            break;
        case qvt::ProtectedFilesAnswer::Continue:
            cancelOrContinueUpload(2);
            break;
        case qvt::ProtectedFilesAnswer::Dismissed:
            break;
    }
}

void QVTransferPrivate::cancelOrContinueUpload(int senderTag) {
    switch (senderTag) {
        case 1:
            view()->endModal(qvt::Dialog::ProtectedFiles);
            excludeSourceFilesArray.set({});
            break;
        case 2:
            // The system files stay listed: they are copied, not moved.
            view()->endModal(qvt::Dialog::ProtectedFiles);
            showDestinaionSharesToTransfer();
            break;
        default:
            break;
    }
}

void QVTransferPrivate::showDestinaionSharesToTransfer() {
    showScreen(qvt::Screen::Destination);
    view()->focus(kDestinationOutline, false);

    isStatusWindowHidden = false;
    // Not failed, completed, cancelled or paused: a new upload is being set up.
    job().reset();
    statusTextColor.set(qvt::Colour{75, 90, 104, 1.0});
    failedTransferArray.set({});
    inProcessSourceFilesArray.set({});
    job().numberOfFilesCountForTransfer = totalNumberOfSourceFiles.load();

    // Only the ticked rows go on to the upload; the unticked ones are gone from here on.
    sourceFilesArray.with([](List& rows) {
        List ticked;
        for (const Value& row : rows) {
            const Record* r = row.asRecord();
            const Value* box = r ? r->find("filesSelectCheckbox") : nullptr;
            if (box && box->toInt64(0) != 0) ticked.push_back(row);
        }
        rows = std::move(ticked);
    });
    // The screen shows what it has so far, with the number of files to upload.
    rearrangeDestFilesList();
}
