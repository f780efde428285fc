// The completion screen's link to the uploaded files: the destination folder opened in the
// desktop's file browser.
#include <string>

#include "platform/desktop_open.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "session/view.h"

namespace fmt = qvt::platform;

void QVTransferPrivate::showUploadedFiles() {
    // The URL was taken at the end of the upload, while a share was still mounted: the share's
    // own smb:// URL, which the file browser opens by itself, or the local folder's file:// URL.
    const std::string url = uploadedFilesUrl.get();
    if (url.empty()) return;
    log().write(fmt::format("QVTransfer: showUploadedFiles: %@\n", url));
    const auto& open = services().openUrl;
    if (open && open(url)) return;
    log().write("QVTransfer: showUploadedFiles: the desktop did not open the folder\n");
    // A desktop with no file browser for the URL (no program for smb:// addresses, say): the
    // user is told where the files are rather than left with a link that does nothing.
    view()->showNotice(qvt::Notice{
        fmt::format(localizedString("UPLOADED_FILES_NOT_OPENED_txt"), fmt::folderUrlForPeople(url)),
        localeCLOSE_btn});
}
